#pragma once
// Property lists (binary and XML) and keyed archives, read and written through libplist.

#include "core/Value.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tpc::core::plist {

// Parses a binary or XML property list. nullopt (with `error` set) unless the whole file is read
// and makes sense: a binary list must pass a full structural check (known markers, every object's
// extent inside the object area with no overlap or gap, references in range, ASCII strings
// without high bytes, UTF-16 strings without lone surrogates, no cycle, every object reached,
// a consistent trailer), an XML list must be well-formed UTF-8 XML (checkXml); containers may
// nest at most 512 deep and a dictionary holds each key once. Integers come back as Int (a
// 64-bit pattern with the top bit set is negative); a UID (keyed archives) comes back as the
// dictionary {"CF$UID": n}.
std::optional<Value> parse(const std::vector<std::uint8_t>& bytes, std::string* error = nullptr);

// toBinary/toXml write a one-key dictionary {"CF$UID": n} as a UID; they skip null values and
// write a null top value as an empty dictionary. Text that libplist would store as something
// else (not valid UTF-8, an embedded NUL; in XML also control characters) is never written:
// the answer is then empty, with `error` set. Callers must not write an empty answer anywhere.
std::vector<std::uint8_t> toBinary(const Value& value, std::string* error = nullptr);
std::string toXml(const Value& value, std::string* error = nullptr);

// An NSKeyedArchiver archive of `root` as a binary property list: "$archiver", "$version",
// "$top" {"root": UID}, "$objects" with "$null" first, shared objects stored once. Dictionary
// keys beginning with '$' are written with one more '$' (decodeKeyedArchive removes it again).
// Empty (with `error` set) when some text cannot be stored unchanged, as for toBinary.
std::vector<std::uint8_t> encodeKeyedArchive(const Value& root, std::string* error = nullptr);
// Decodes a keyed archive; nullopt (with `error` set) when `archive` is not a complete, valid
// one: exactly the keys "$archiver" (NSKeyedArchiver), "$version" (100000), "$top" (only
// "root") and "$objects" ("$null" first), objects of known classes with no field left unread,
// dictionary keys once each. Accepts shared objects and cycles (a cycle is cut, never followed
// forever).
std::optional<Value> decodeKeyedArchive(const Value& archive, std::string* error = nullptr);

// Reads a settings file: a keyed archive, or else a plain binary or XML property list. A top
// dictionary with any of the archive's keys must be a valid keyed archive.
std::optional<Value> readSettingsFile(const std::filesystem::path& file,
                                      std::string* error = nullptr);

// Reads a plain property-list file (binary or XML).
// Strict XML 1.0 well-formedness of a whole document (the parsers used here are lenient): UTF-8
// with allowed characters only, one root element, every element closed, attributes once each,
// known entities only, no DOCTYPE internal subset, nothing but comments, processing
// instructions and white space outside the root. False with `error` set otherwise.
bool checkXml(std::string_view text, std::string* error = nullptr);

std::optional<Value> readFile(const std::filesystem::path& file, std::string* error = nullptr);

// Replaces `file` atomically: temporary file in the same folder, fsync, rename, fsync of the
// folder. `mode` is the new file's permission bits (less the process umask, as for open(2)).
// False (with `error` set) on failure, in which case the old file is untouched and no temporary
// file is left behind.
bool writeFileAtomically(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes,
                         unsigned mode = 0644, std::string* error = nullptr);

} // namespace tpc::core::plist
