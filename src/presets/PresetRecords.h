#pragma once
// Building blocks of the preset records, shared by the model's files.

#include "core/Value.h"

#include <cstdint>
#include <string>

namespace tpc::presets::records {

// Row images, stored by name.
inline constexpr const char* kOneClickCleanIcon = "One Click Clean Sub Item.png";
inline constexpr const char* kAddedPresetIcon = "Automatic Clean.png";
inline constexpr const char* kSystemJunkIcon = "Clean System Junk Sub Item.png";

// A new preset record named `name`: marked, size 0, an empty "Sub List Array", "Value For
// Default Sort" the count of `presets` and the sort state of the first preset ("Default Sort"
// when there is none). Not appended.
core::DictRef newPreset(const core::ArrayRef& presets, const std::string& name, const char* icon);

// A deep copy of a category page's row ready to be held by a preset: size 0, every child sized
// 0 and linked to the copy. With `markAll` the copy and its children are marked; otherwise
// their marks stay as on the page.
core::DictRef copyCategoryRecord(const core::DictRef& row, bool markAll);

// Links every child of `record` (and their children) to its holder; `record` itself keeps no
// holder, so marking walks stop there.
void linkCategoryRecord(const core::DictRef& record);

// Whether `preset` holds a category record whose "Description" is `description`.
bool holdsCategory(const core::DictRef& preset, const std::string& description);

// The "Sub List Array" of `preset`, created empty when missing.
core::ArrayRef ensureSubList(const core::DictRef& preset);

// The first row of `rows` whose "Value For Default Sort" is `position`; -1 when none.
int rowWithDefaultPosition(const core::ArrayRef& rows, std::int64_t position);

// The position of `record` in `rows` (same object); -1 when absent.
int indexOf(const core::ArrayRef& rows, const core::DictRef& record);

} // namespace tpc::presets::records
