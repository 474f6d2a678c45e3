#include "core/TaskTexts.h"

#include "core/SizeText.h"

namespace tpc::core {

std::string totalsText(std::uint64_t size, std::uint64_t count) {
    return "Total Size To Clean: " + getFormattedStringForSize(size) +
           "\nTotal Items To Clean: " + std::to_string(count) + " items";
}

std::optional<std::string> foundSubtitle(std::uint64_t size, std::uint64_t count) {
    if (size > 1000000)
        return "(" + getFormattedStringForSize(size) + ")";
    if (count != 0)
        return "(" + std::to_string(count) + " Items found)";
    if (size != 0)
        return "(" + getFormattedStringForSize(size) + ")";
    return std::nullopt;
}

std::string itemsText(std::int64_t count) {
    return std::to_string(count) + " items";
}

} // namespace tpc::core
