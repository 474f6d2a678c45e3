#pragma once

#include "core/Value.h"

#include <cstdint>
#include <string>

namespace tpc::core {

// "%.2f KB", "%.2f MB" or "%.2f GB" in decimal units, computed in single precision.
std::string getFormattedStringForSize(std::uint64_t bytes);

// The value, or the number 0 when it is missing.
Value checkForNil(const Value& value);

// Sets "Size" and its "Size Formatted String".
void setSize(const DictRef& rec, std::uint64_t bytes);

} // namespace tpc::core
