#include "erase/Deleter.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace tpc::erase {

std::string UUIDString() {
    std::array<unsigned char, 16> b{};
    arc4random_buf(b.data(), b.size());
    b[6] = static_cast<unsigned char>((b[6] & 0x0F) | 0x40); // version 4
    b[8] = static_cast<unsigned char>((b[8] & 0x3F) | 0x80); // RFC 4122 variant
    char text[37];
    std::snprintf(text, sizeof text,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

} // namespace tpc::erase
