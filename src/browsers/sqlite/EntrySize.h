#pragma once
// The size estimate behind every count pair, in the two forms the layer needs: from a collected
// cell, and straight from the current row of a stepped statement, without building the cell. Both
// give the same number for the same value.

#include "browsers/sqlite/SQLite.h"

#include <cstdint>
#include <string>
#include <vector>

struct sqlite3_stmt;

namespace tpc::browsers::entrysize {

// The declared column types the estimate tells apart (exact, case-sensitive); any other is None.
// BlobAsText is a "BLOB" column read as text, which sizeKindOf never answers (see BlobRead).
enum class SizeKind { Integer, LongVarChar, Text, Blob, BlobAsText, None };

// How a column declared "BLOB" is read: as its bytes (a single query), or as text like every
// other column (a batch of statements), which sizes it in UTF-16 code units.
enum class BlobRead { AsBytes, AsText };

SizeKind sizeKindOf(const std::string& type);

// The estimate of a collected cell.
std::uint64_t cellEntrySize(const SQLiteCell& cell, SizeKind kind);

// The running size total of a statement's rows, column by column as its declared types say. Built
// once per statement, so a row costs one read per column that has anything to measure.
class RowSizer {
public:
    // Sizes the first `columns` columns by `columnTypes` (a column without a type counts nothing).
    RowSizer(const std::vector<std::string>& columnTypes, int columns, BlobRead blobs);

    // Adds the estimates of the statement's current row to `total` (32 bits, wrapping).
    std::uint32_t addRow(std::uint32_t total, sqlite3_stmt* stmt) const;

private:
    struct Measured {
        int column;
        SizeKind kind;
    };
    // Columns whose estimate depends on the value (INTEGER, TEXT, BLOB).
    std::vector<Measured> measured_;
    // What every row adds whatever its values: 4 per LONGVARCHAR column.
    std::uint32_t fixedPerRow_ = 0;
};

} // namespace tpc::browsers::entrysize
