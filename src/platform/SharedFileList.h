#pragma once
// Shared file lists as the desktop keeps them in preference files: the list's dictionary holds a
// "Controller" string naming the key, in the same dictionary, of the array of items; each item is
// a dictionary with "Bookmark", "Icon" and "Name" among its keys.

#include "core/Value.h"

#include <cstdint>
#include <string>

namespace tpc::platform {

// plist[listKey][plist[listKey]["Controller"]] when every step is there and is of its type;
// null otherwise.
core::ArrayRef controlledItems(const core::DictRef& plist, const std::string& listKey);

// The length of a list value: a data value's bytes, a string's UTF-16 units as the desktop
// counts them; 0 for anything else.
std::uint64_t lengthOf(const core::Value& value);

// The sum, over the items, of the lengths of their "Bookmark", "Icon" and "Name" values (data
// lengths in bytes, string lengths in UTF-16 units as the desktop counts them); 0 for no items.
std::uint64_t sizeofCustomListItemsArrayElements(const core::ArrayRef& items);

} // namespace tpc::platform
