#pragma once
// What the fuzz targets share: a private temporary folder for the readers that only take a path,
// file helpers, a strict comparison of property-list values, and the failure report that stops
// the run (libFuzzer then saves the input as a crash).

#include "core/Value.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::fuzz {

using Bytes = std::vector<std::uint8_t>;

// A folder of this process under $TMPDIR (or /tmp), made on first use and removed at exit.
const std::filesystem::path& scratchFolder();

// Writes `bytes` to `file` (created or truncated, mode 0600); aborts when that fails.
void writeBytes(const std::filesystem::path& file, const Bytes& bytes);
// The file's bytes; nullopt when it cannot be read.
std::optional<Bytes> readBytes(const std::filesystem::path& file);
// Removes everything inside `folder`, keeping the folder.
void emptyFolder(const std::filesystem::path& folder);

// Equal as stored values: the same kinds (a signed and an unsigned integer with the same 64-bit
// pattern or the same value are equal), reals and dates bit for bit (any NaN equals any NaN),
// strings, data, arrays and dictionaries element by element. Dates need only be less than a
// second apart: XML lists store whole seconds, and libplist keeps a date as 32-bit seconds and
// microseconds, so dates beyond that range or precision are not kept exactly.
bool sameValue(const core::Value& a, const core::Value& b);
// Whether a null value occurs anywhere in the tree (the writers leave those out).
bool containsNull(const core::Value& v);

// Prints the failed invariant and aborts, so that libFuzzer keeps the input.
[[noreturn]] void fail(const std::string& what);
inline void check(bool condition, const char* what) {
    if (!condition)
        fail(what);
}

} // namespace tpc::fuzz
