#pragma once
// Small helpers shared by the Firefox operations: the 32-bit size arithmetic of the counts. A store
// is opened only when it is a regular file at its own name (fs::isRegularFileNoFollow): a link
// standing in for one is treated as missing, so no query ever writes through it.

#include "browsers/sqlite/SQLite.h"

#include <cstdint>
#include <string>

namespace tpc::browsers::firefox {

// The pair of `count` and a size kept in unsigned 32 bits, reported as a signed 32-bit number
// like every SELECT count pair.
CountPair pair32(std::int64_t count, std::uint32_t size);
// Two count pairs added, the sizes in unsigned 32 bits.
CountPair add32(const CountPair& a, const CountPair& b);

// The estimated size of one row of `result` (each cell by its column's declared type).
std::uint32_t rowSize(const SQLiteResult& result, const SQLiteRow& row);

// Decimal integer text ("12", "-3"): the only kind of row id ever written into SQL text.
bool isIntegerText(const std::string& text);

} // namespace tpc::browsers::firefox
