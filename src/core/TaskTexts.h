#pragma once
// The texts a scan leaves on the result line and on its category's main button.

#include <cstdint>
#include <optional>
#include <string>

namespace tpc::core {

// "Total Size To Clean: <size>\nTotal Items To Clean: <count> items".
std::string totalsText(std::uint64_t size, std::uint64_t count);

// The main button's subtitle after a scan: "(<size>)" for more than 1000000 bytes, else
// "(<count> Items found)" when items were found, else "(<size>)" when the size is not 0, else
// none.
std::optional<std::string> foundSubtitle(std::uint64_t size, std::uint64_t count);

// "<count> items", the "Count" text of a row.
std::string itemsText(std::int64_t count);

} // namespace tpc::core
