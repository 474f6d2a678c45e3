#pragma once
// The checks a property list's bytes pass before libplist decodes them: the whole structure of a
// binary list, and XML well-formedness of an XML list (or any other XML file we rewrite).

#include <cstdint>
#include <string>
#include <vector>

namespace tpc::core::plist {

// Containers nested deeper than this are refused when reading (libplist itself recurses and
// would overflow the stack on a hostile file long before a real settings file gets near it).
inline constexpr int kMaxDepth = 512;

// True when every byte of a binary property list is accounted for (see BinaryCheck); false with
// `error` set otherwise. checkXml is declared in core/PropertyList.h.
bool checkBinary(const std::vector<std::uint8_t>& bytes, std::string* error);

} // namespace tpc::core::plist
