#pragma once
// The Exec key of desktop entries: a string value (escapes \s \n \t \r \\) holding a command
// line whose arguments may be double-quoted (escapes \" \` \$ \\ inside quotes) and where "%%"
// is a literal '%'.

#include <string>

namespace tpc::platform {

// A string value with its escapes (\s \n \t \r \\) applied.
std::string unescapeString(const std::string& value);

// The program (first argument) of an Exec value as it is written in the file.
std::string execProgram(const std::string& value);

// The Exec value, as it is written in the file, that runs `program` without arguments.
std::string execValue(const std::string& program);

} // namespace tpc::platform
