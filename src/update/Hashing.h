#pragma once
// MD5 digests of data, of files and of documents read from an address.

#include "core/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace tpc::update {

// md5: the MD5 digest (RFC 1321) of the bytes as 32 lower-case hexadecimal digits; none for no
// data.
std::optional<std::string> md5(const std::optional<core::Data>& data);
std::optional<std::string> md5(std::string_view bytes);

// hashString: the md5 of what `text` names: text beginning with "http" is an address (blanks
// read as "%20"), anything else a file path. None when the contents cannot be read.
std::optional<std::string> hashString(const std::string& text);

} // namespace tpc::update
