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

// True when `path` can be kept in the list byte for byte: valid UTF-8 (the settings file's
// strings are) without a NUL. Any other path is refused, never stored as something else.
bool storablePath(const std::string& path);

// The last component as a row shows it ("/" for the root).
std::string lastComponent(const std::string& path);

} // namespace tpc::eraser
