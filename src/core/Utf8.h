#pragma once
// UTF-8 checks for text that comes from outside: file names (bytes on Linux), settings files,
// other programs' files. Text that fails them is refused or left alone, never repaired into
// something else.

#include <string>
#include <string_view>

namespace tpc::core {

// Well-formed UTF-8: no stray continuation bytes, no truncated sequences, no overlong forms, no
// surrogates (U+D800..U+DFFF), nothing above U+10FFFF. An embedded NUL is valid UTF-8; callers
// that cannot carry one check for it themselves.
bool isValidUtf8(std::string_view text);

// A printable rendering for messages and logs: invalid bytes are shown as "\xNN", everything
// else as it is. Never use the result to reach a file.
std::string displayText(std::string_view text);

} // namespace tpc::core
