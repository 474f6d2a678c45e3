#pragma once
// How the eraser list compares paths: lexically (the listed item may be gone), component by
// component, so that "/a/bc" is never taken for something inside "/a/b".

#include <string>

namespace tpc::eraser {

// The path with "." and ".." resolved, repeated "/" collapsed and any trailing "/" removed
// ("/" stays "/"). Nothing on disk is consulted.
std::string normalisedPath(const std::string& path);

// True when `inner` lies strictly below `outer` (both normalised): `outer` is a proper ancestor.
bool liesInside(const std::string& inner, const std::string& outer);

// The last component as a row shows it ("/" for the root).
std::string lastComponent(const std::string& path);

} // namespace tpc::eraser
