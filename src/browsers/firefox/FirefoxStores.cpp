#include "browsers/firefox/FirefoxStores.h"

#include <cstddef>

namespace tpc::browsers::firefox {

CountPair pair32(std::int64_t count, std::uint32_t size) {
    return {count, static_cast<std::int32_t>(size)};
}

CountPair add32(const CountPair& a, const CountPair& b) {
    auto size = static_cast<std::uint32_t>(a.size) + static_cast<std::uint32_t>(b.size);
    return pair32(a.count + b.count, size);
}

std::uint32_t rowSize(const SQLiteResult& result, const SQLiteRow& row) {
    static const std::string noType;
    const auto& types = result.columnTypes();
    std::uint32_t size = 0;
    for (std::size_t i = 0; i < row.size(); ++i)
        size += static_cast<std::uint32_t>(
            determineSQLiteEntrySize(row[i], i < types.size() ? types[i] : noType));
    return size;
}

bool isIntegerText(const std::string& text) {
    std::size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    if (text.size() == start || text.size() > 20)
        return false;
    for (std::size_t i = start; i < text.size(); ++i)
        if (text[i] < '0' || text[i] > '9')
            return false;
    return true;
}

} // namespace tpc::browsers::firefox
