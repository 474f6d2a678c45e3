#include "browsers/sqlite/EntrySize.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <string_view>

namespace tpc::browsers {

namespace entrysize {

namespace {

// Reads a decimal integer the forgiving way: leading blanks, an optional sign, then digits up to
// the first other character. No digits reads as 0; overflow saturates.
std::int64_t parseForgivingInteger(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // Accumulated as a negative number so that the smallest value fits.
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        const int digit = text[i] - '0';
        if (value < (LLONG_MIN + digit) / 10)
            return negative ? LLONG_MIN : LLONG_MAX;
        value = value * 10 - digit;
    }
    if (negative)
        return value;
    return value == LLONG_MIN ? LLONG_MAX : -value;
}

// Values compared as unsigned: above 2^32 (every negative one included) take 8 bytes, others 4.
std::uint64_t integerEntrySize(std::int64_t value) {
    return static_cast<std::uint64_t>(value) > 0x100000000ULL ? 8 : 4;
}

// The length of UTF-8 text in UTF-16 code units: every byte that starts a character counts one,
// and a four-byte character (outside the Basic Multilingual Plane) counts two.
std::uint64_t utf16UnitsOfUtf8(std::string_view text) {
    std::uint64_t units = 0;
    for (const char ch : text) {
        const auto byte = static_cast<unsigned char>(ch);
        if ((byte & 0xC0) != 0x80)
            ++units;
        if (byte >= 0xF0)
            ++units;
    }
    return units;
}

// A value's UTF-8 text as the library hands it out (and as a collected cell holds it).
std::string_view valueUtf8(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (!text)
        return {};
    return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// The estimate of one column of the current row. Each value is read through the same conversion
// that builds its collected cell, so the lengths agree, but nothing is copied: text is measured
// where the library keeps it. The cell is fetched once and read through its value handle, which
// spares the statement's bookkeeping on every further read.
std::uint64_t columnEntrySize(sqlite3_stmt* stmt, int column, SizeKind kind) {
    sqlite3_value* value = sqlite3_column_value(stmt, column);
    switch (kind) {
    case SizeKind::Integer: {
        const int type = sqlite3_value_type(value);
        if (type == SQLITE_INTEGER)
            return integerEntrySize(sqlite3_value_int64(value));
        // NULL reads as "-", which is 0; reals, text and blobs are read from their text.
        return integerEntrySize(type == SQLITE_NULL ? 0 : parseForgivingInteger(valueUtf8(value)));
    }
    case SizeKind::Text:
    case SizeKind::BlobAsText: {
        const int type = sqlite3_value_type(value);
        if (type == SQLITE_NULL)
            return 1; // the "-" a NULL reads as
        if (type == SQLITE_INTEGER) {
            // Digits are ASCII: as many UTF-16 units as bytes.
            char digits[24];
            const auto end =
                std::to_chars(digits, digits + sizeof digits, sqlite3_value_int64(value)).ptr;
            return static_cast<std::uint64_t>(end - digits);
        }
        const auto text = valueUtf8(value);
        return kind == SizeKind::Text ? text.size() : utf16UnitsOfUtf8(text);
    }
    case SizeKind::Blob:
        // Read as bytes: NULL and an empty blob are both empty.
        if (!sqlite3_value_blob(value))
            return 0;
        return static_cast<std::uint64_t>(sqlite3_value_bytes(value));
    case SizeKind::LongVarChar:
        return 4;
    case SizeKind::None:
        break;
    }
    return 0;
}

} // namespace

SizeKind sizeKindOf(const std::string& type) {
    if (type == "INTEGER")
        return SizeKind::Integer;
    if (type == "LONGVARCHAR")
        return SizeKind::LongVarChar;
    if (type == "TEXT")
        return SizeKind::Text;
    if (type == "BLOB")
        return SizeKind::Blob;
    return SizeKind::None;
}

std::uint64_t cellEntrySize(const SQLiteCell& cell, SizeKind kind) {
    const auto* text = std::get_if<std::string>(&cell);
    const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&cell);
    switch (kind) {
    case SizeKind::Integer:
        return integerEntrySize(text ? parseForgivingInteger(*text) : 0);
    case SizeKind::LongVarChar:
        return 4;
    case SizeKind::Text:
        return text ? text->size() : bytes->size();
    case SizeKind::Blob:
    case SizeKind::BlobAsText:
        return text ? utf16UnitsOfUtf8(*text) : bytes->size();
    case SizeKind::None:
        break;
    }
    return 0;
}

RowSizer::RowSizer(const std::vector<std::string>& columnTypes, int columns, BlobRead blobs) {
    const auto sized = std::min(columnTypes.size(), static_cast<std::size_t>(std::max(columns, 0)));
    for (std::size_t i = 0; i < sized; ++i) {
        SizeKind kind = sizeKindOf(columnTypes[i]);
        if (kind == SizeKind::Blob && blobs == BlobRead::AsText)
            kind = SizeKind::BlobAsText;
        if (kind == SizeKind::LongVarChar)
            fixedPerRow_ = addToSizeTotal(fixedPerRow_, 4);
        else if (kind != SizeKind::None)
            measured_.push_back({static_cast<int>(i), kind});
    }
}

std::uint32_t RowSizer::addRow(std::uint32_t total, sqlite3_stmt* stmt) const {
    // The sum wraps modulo 2^32, so adding the fixed part first changes nothing.
    total = addToSizeTotal(total, fixedPerRow_);
    for (const Measured& m : measured_)
        total = addToSizeTotal(total, columnEntrySize(stmt, m.column, m.kind));
    return total;
}

} // namespace entrysize

std::uint64_t determineSQLiteEntrySize(const SQLiteCell& cell, const std::string& type) {
    return entrysize::cellEntrySize(cell, entrysize::sizeKindOf(type));
}

std::uint32_t addToSizeTotal(std::uint32_t total, std::uint64_t entrySize) {
    return total + static_cast<std::uint32_t>(entrySize);
}

std::int64_t reportedSizeTotal(std::uint32_t total) {
    return static_cast<std::int64_t>(static_cast<std::int32_t>(total));
}

CountPair countPairOf(const SQLiteResult& result) {
    if (!result.ok())
        return {};
    const auto& types = result.columnTypes();
    std::vector<entrysize::SizeKind> kinds;
    kinds.reserve(types.size());
    for (const auto& type : types)
        kinds.push_back(entrysize::sizeKindOf(type));
    std::uint32_t size = 0;
    for (const SQLiteRow& row : result.rows()) {
        const std::size_t cells = row.size();
        for (std::size_t i = 0; i < cells; ++i) {
            if (i < kinds.size())
                size = addToSizeTotal(size, entrysize::cellEntrySize(row[i], kinds[i]));
        }
    }
    return {static_cast<std::int64_t>(result.rows().size()), reportedSizeTotal(size)};
}

} // namespace tpc::browsers
