#pragma once
// The records of the Extensions manager's two lists: one root per category (the main list), each
// holding the items found for it (its "Sub List Array").

#include "core/Value.h"

#include <cstdint>
#include <string>

namespace tpc::extensions {

struct CategorySource;

// A root as a scan creates it: unmarked, "0.00 KB", in default sort, "Is Root Item", an empty
// "Sub List Array", and a "Description Dictionary" with the category's title and its "Path" or
// "Icon". `position` is its 1-based place in the main list ("Value For Default Sort").
core::DictRef makeCategoryRoot(const CategorySource& source, std::int64_t position);

// An item: unmarked, its on-disk size, in default sort at 1-based `position`, named and located
// by its "Description Dictionary". A login item read from the session's list also carries
// "Has Target File Delete Option" and "Delete Option".
core::DictRef makeExtensionItem(const std::string& name, const std::string& path,
                                std::uint64_t size, std::int64_t position,
                                bool sessionLoginItem = false);

} // namespace tpc::extensions
