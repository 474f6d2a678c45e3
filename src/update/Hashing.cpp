#include "update/Hashing.h"

#include "update/Download.h"

#include <openssl/evp.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tpc::update {

std::optional<std::string> md5(std::string_view bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr) != 1)
        return std::nullopt;
    static const char* const hex = "0123456789abcdef";
    std::string out;
    out.reserve(length * 2);
    for (unsigned int i = 0; i < length; ++i) {
        out += hex[digest[i] >> 4];
        out += hex[digest[i] & 0x0f];
    }
    return out;
}

std::optional<std::string> md5(const std::optional<core::Data>& data) {
    if (!data)
        return std::nullopt;
    return md5(std::string_view(reinterpret_cast<const char*>(data->data()), data->size()));
}

std::optional<std::string> hashString(const std::string& text) {
    if (text.starts_with("http")) {
        const auto body = download(escapeBlanks(text));
        return body ? md5(std::string_view(*body)) : std::nullopt;
    }
    std::error_code ec;
    if (!std::filesystem::is_regular_file(text, ec))
        return std::nullopt;
    std::ifstream in(text, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream contents;
    contents << in.rdbuf();
    if (in.bad())
        return std::nullopt;
    return md5(std::string_view(contents.str()));
}

} // namespace tpc::update
