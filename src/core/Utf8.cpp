#include "core/Utf8.h"

#include <cstdint>
#include <cstdio>

namespace tpc::core {

namespace {

// The length of the well-formed sequence starting at `i`, or 0 when there is none.
std::size_t sequenceLength(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) {
        return static_cast<std::uint8_t>(s[k]);
    };
    const std::uint8_t b0 = byte(i);
    if (b0 < 0x80)
        return 1;
    std::size_t len = 0;
    std::uint8_t lo = 0x80;
    std::uint8_t hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        len = 3;
        if (b0 == 0xE0)
            lo = 0xA0; // overlong
        else if (b0 == 0xED)
            hi = 0x9F; // surrogates
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        len = 4;
        if (b0 == 0xF0)
            lo = 0x90; // overlong
        else if (b0 == 0xF4)
            hi = 0x8F; // above U+10FFFF
    } else {
        return 0;
    }
    if (i + len > s.size())
        return 0;
    const std::uint8_t b1 = byte(i + 1);
    if (b1 < lo || b1 > hi)
        return 0;
    for (std::size_t k = 2; k < len; ++k)
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
    return len;
}

} // namespace

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = sequenceLength(text, i);
        if (n == 0)
            return false;
        i += n;
    }
    return true;
}

std::string displayText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = sequenceLength(text, i);
        if (n == 0) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02X",
                          static_cast<unsigned>(static_cast<std::uint8_t>(text[i])));
            out += buf;
            ++i;
            continue;
        }
        out.append(text.substr(i, n));
        i += n;
    }
    return out;
}

} // namespace tpc::core
