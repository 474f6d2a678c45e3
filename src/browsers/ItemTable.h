#pragma once
// A browser's catalogue rows by "Description", each with its count and delete operation (the
// auto-quit row has no count), so every cleaner is reached the same way by name.

#include "browsers/sqlite/SQLite.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tpc::browsers {

template <class Cleaner> struct ItemOperations {
    const char* description;
    CountPair (Cleaner::*count)(); // none for the auto-quit row
    void (Cleaner::*remove)();
};

template <class Cleaner> class ItemTable {
public:
    using Item = ItemOperations<Cleaner>;

    // `unlisted`: operations reachable by name that no row shows. `aliases`: other names of a
    // row, as {alias, description} pairs.
    constexpr ItemTable(std::span<const Item> items, std::span<const Item> unlisted = {},
                        std::span<const std::pair<const char*, const char*>> aliases = {})
        : items_(items), unlisted_(unlisted), aliases_(aliases) {}

    const Item* find(const std::string& description) const {
        for (auto list : {items_, unlisted_})
            for (const auto& item : list)
                if (description == item.description)
                    return &item;
        for (const auto& [alias, name] : aliases_)
            if (description == alias)
                return find(name);
        return nullptr;
    }

    std::vector<std::string> descriptions() const {
        std::vector<std::string> names;
        for (const auto& item : items_)
            names.emplace_back(item.description);
        return names;
    }

    // The row's count, or nullopt for an unknown name and for the auto-quit row.
    std::optional<CountPair> count(Cleaner& cleaner, const std::string& description) const {
        const auto* item = find(description);
        if (!item || !item->count)
            return std::nullopt;
        return (cleaner.*item->count)();
    }

    // Runs the row's delete operation; false for an unknown name.
    bool remove(Cleaner& cleaner, const std::string& description) const {
        const auto* item = find(description);
        if (!item)
            return false;
        (cleaner.*item->remove)();
        return true;
    }

private:
    std::span<const Item> items_;
    std::span<const Item> unlisted_;
    std::span<const std::pair<const char*, const char*>> aliases_;
};

} // namespace tpc::browsers
