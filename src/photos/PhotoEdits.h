#pragma once
// The names of the edits iPhoto applied to a photo, and the category a set of edits makes.

#include <string>

namespace tpc::photos {

inline constexpr const char* kFixedRedEye = "Fixed Red Eye";
inline constexpr const char* kCropped = "Cropped";
inline constexpr const char* kEnhanced = "Enhanced";
inline constexpr const char* kRotated = "Rotated";

// The edit of an adjustment row's "adjIndex" (its text, read as a number and truncated):
// 2100000 "Fixed Red Eye", 6000000 and 7000000 "Cropped", anything else "Enhanced".
std::string getOpNameForAdjIndex(const std::string& adjIndex);

// The category of an edit list written as ";Name;Name...": the names once each, sorted without
// regard to case, joined with ", " (";Enhanced;Cropped;Enhanced;Rotated" gives
// "Cropped, Enhanced, Rotated"). Empty for a list without names.
std::string getCategoryName(const std::string& edits);

} // namespace tpc::photos
