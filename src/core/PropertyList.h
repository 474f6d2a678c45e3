#pragma once
// Property lists (binary and XML) and keyed archives, read and written through libplist.

#include "core/Value.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::core::plist {

// Parses a binary or XML property list. nullopt (with `error` set) when it is not one.
std::optional<Value> parse(const std::vector<std::uint8_t>& bytes, std::string* error = nullptr);
std::vector<std::uint8_t> toBinary(const Value& value);
std::string toXml(const Value& value);

// An NSKeyedArchiver archive of `root` as a binary property list: "$archiver", "$version",
// "$top" {"root": UID}, "$objects" with "$null" first, shared objects stored once.
std::vector<std::uint8_t> encodeKeyedArchive(const Value& root);
// Decodes a keyed archive; nullopt (with `error` set) when `archive` is not a valid one.
// Accepts shared objects and cycles (a cycle is cut, never followed forever).
std::optional<Value> decodeKeyedArchive(const Value& archive, std::string* error = nullptr);

// Reads a settings file: a keyed archive, or else a plain binary or XML property list.
std::optional<Value> readSettingsFile(const std::filesystem::path& file,
                                      std::string* error = nullptr);

// Reads a plain property-list file (binary or XML).
std::optional<Value> readFile(const std::filesystem::path& file, std::string* error = nullptr);

// Replaces `file` atomically: temporary file in the same folder, fsync, rename, fsync of the
// folder. `mode` is the new file's permission bits. False (with `error` set) on failure, in
// which case the old file is untouched.
bool writeFileAtomically(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes,
                         unsigned mode = 0644, std::string* error = nullptr);

} // namespace tpc::core::plist
