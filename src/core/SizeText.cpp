#include "core/SizeText.h"

#include "core/Keys.h"

#include <cstdio>

namespace tpc::core {

namespace {

std::string formatUnits(float amount, const char* unit) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.2f %s", static_cast<double>(amount), unit);
    return buf;
}

} // namespace

std::string getFormattedStringForSize(std::uint64_t bytes) {
    // Single precision on purpose: the texts (999,999 bytes is "1000.00 KB") depend on it.
    const float count = static_cast<float>(bytes);
    if (bytes == 0)
        return "0.00 KB";
    if (bytes < 1000000ULL)
        return formatUnits(count / 1000.0f, "KB");
    if (bytes < 1000000000ULL)
        return formatUnits(count / 1000000.0f, "MB");
    return formatUnits(count / 1000000000.0f, "GB");
}

Value checkForNil(const Value& value) {
    return value.isNull() ? Value(0) : value;
}

void setSize(const DictRef& rec, std::uint64_t bytes) {
    if (!rec)
        return;
    rec->set(keys::Size, Value(bytes));
    rec->set(keys::SizeFormattedString, getFormattedStringForSize(bytes));
}

} // namespace tpc::core
