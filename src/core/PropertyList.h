#pragma once
// Property lists (binary and XML) and keyed archives, read and written through libplist.

#include "core/Value.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::core::plist {

// Parses a binary or XML property list. nullopt (with `error` set) when it is not one, or when
// it nests containers more than 512 deep. Integers come back as Int (a 64-bit pattern with the
// top bit set is negative); a UID (keyed archives) comes back as the dictionary {"CF$UID": n}.
// toBinary/toXml write such a one-key dictionary as a UID again; they skip null values and
// write a null top value as an empty dictionary. Strings end at an embedded NUL (libplist).
std::optional<Value> parse(const std::vector<std::uint8_t>& bytes, std::string* error = nullptr);
std::vector<std::uint8_t> toBinary(const Value& value);
std::string toXml(const Value& value);

// An NSKeyedArchiver archive of `root` as a binary property list: "$archiver", "$version",
// "$top" {"root": UID}, "$objects" with "$null" first, shared objects stored once. Dictionary
// keys beginning with '$' are written with one more '$' (decodeKeyedArchive removes it again).
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
// folder. `mode` is the new file's permission bits (less the process umask, as for open(2)).
// False (with `error` set) on failure, in which case the old file is untouched and no temporary
// file is left behind.
bool writeFileAtomically(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes,
                         unsigned mode = 0644, std::string* error = nullptr);

} // namespace tpc::core::plist
