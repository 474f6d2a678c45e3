#pragma once
// The saved session is JSON text; only its byte pattern is examined.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tpc::browsers::firefox {

// The 8 bytes that open every saved page entry: {"url":"
inline constexpr std::string_view kSessionEntryPattern = "{\"url\":\"";

// How many times the pattern begins at a position p with 0 <= p <= size - 10 (so a text of 9
// bytes or fewer holds none).
std::int64_t countSessionEntries(std::string_view bytes);

// The whole regular file at `path`, read without following a link at its own name; nullopt
// when it cannot be read completely.
std::optional<std::string> readWholeFile(const std::filesystem::path& path);

} // namespace tpc::browsers::firefox
