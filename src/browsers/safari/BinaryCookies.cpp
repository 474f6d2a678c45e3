#include "browsers/safari/BinaryCookies.h"

#include "core/PropertyList.h"
#include "core/Value.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace tpc::browsers::safari {

namespace {

constexpr std::uint8_t kMagic[4] = {'c', 'o', 'o', 'k'};
constexpr std::uint8_t kFooter[4] = {0x07, 0x17, 0x20, 0x05};
constexpr std::uint32_t kPageStart = 0x00000100; // the bytes 00 00 01 00
constexpr std::size_t kRecordHeader = 56;        // up to and including the creation date
constexpr std::size_t kPortSize = 2;

// A bounded view of bytes: every read is checked against the view's own size.
class View {
public:
    View(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::size_t size() const { return size_; }
    const std::uint8_t* data() const { return data_; }
    bool has(std::size_t offset, std::size_t count) const {
        return offset <= size_ && count <= size_ - offset;
    }
    // The part [offset, offset + count); the caller has checked has(offset, count).
    View sub(std::size_t offset, std::size_t count) const { return {data_ + offset, count}; }

    std::uint32_t be32(std::size_t at) const {
        return std::uint32_t(data_[at]) << 24 | std::uint32_t(data_[at + 1]) << 16 |
               std::uint32_t(data_[at + 2]) << 8 | std::uint32_t(data_[at + 3]);
    }
    std::uint32_t le32(std::size_t at) const {
        return std::uint32_t(data_[at]) | std::uint32_t(data_[at + 1]) << 8 |
               std::uint32_t(data_[at + 2]) << 16 | std::uint32_t(data_[at + 3]) << 24;
    }
    std::uint16_t le16(std::size_t at) const {
        return static_cast<std::uint16_t>(data_[at] | data_[at + 1] << 8);
    }
    double leDouble(std::size_t at) const {
        std::uint64_t bits = 0;
        for (int i = 7; i >= 0; --i)
            bits = bits << 8 | data_[at + static_cast<std::size_t>(i)];
        return std::bit_cast<double>(bits);
    }
    bool equals(std::size_t at, const std::uint8_t (&bytes)[4]) const {
        return has(at, 4) && std::memcmp(data_ + at, bytes, 4) == 0;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

// The NUL-terminated string at `offset` of a record; it must lie after the header and end
// inside the record.
std::optional<std::string> recordString(const View& record, std::size_t headerEnd,
                                        std::uint32_t offset) {
    if (offset < headerEnd || offset >= record.size())
        return std::nullopt;
    const auto* start = record.data() + offset;
    const auto* nul =
        static_cast<const std::uint8_t*>(std::memchr(start, 0, record.size() - offset));
    if (!nul)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(start), static_cast<std::size_t>(nul - start));
}

std::optional<Cookie> readRecord(const View& page, std::size_t offset) {
    if (!page.has(offset, 4))
        return std::nullopt;
    const std::size_t size = page.le32(offset);
    if (size < kRecordHeader || !page.has(offset, size))
        return std::nullopt;
    const View record = page.sub(offset, size);

    Cookie c;
    c.version = record.le32(4);
    c.flags = record.le32(8);
    c.hasPort = record.le32(12);
    std::size_t headerEnd = kRecordHeader;
    if (c.hasPort != 0) {
        if (size < kRecordHeader + kPortSize)
            return std::nullopt;
        c.port = record.le16(kRecordHeader);
        headerEnd += kPortSize;
    }
    c.expiry = record.leDouble(40);
    c.creation = record.leDouble(48);

    std::string* required[] = {&c.domain, &c.name, &c.path, &c.value};
    for (std::size_t i = 0; i < 4; ++i) {
        auto text = recordString(record, headerEnd, record.le32(16 + 4 * i));
        if (!text)
            return std::nullopt;
        *required[i] = std::move(*text);
    }
    std::optional<std::string>* optional[] = {&c.comment, &c.commentURL};
    for (std::size_t i = 0; i < 2; ++i) {
        const std::uint32_t at = record.le32(32 + 4 * i);
        if (at == 0)
            continue;
        auto text = recordString(record, headerEnd, at);
        if (!text)
            return std::nullopt;
        *optional[i] = std::move(*text);
    }
    return c;
}

std::optional<CookiePage> readPage(const View& page) {
    if (page.size() < 8 || page.be32(0) != kPageStart)
        return std::nullopt;
    const std::uint64_t count = page.le32(4);
    // Header, the offsets and the four bytes that close the offset table.
    const std::uint64_t recordsStart = 8 + 4 * count + 4;
    if (recordsStart > page.size())
        return std::nullopt;
    CookiePage result;
    result.cookies.reserve(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t offset = page.le32(8 + 4 * i);
        if (offset < recordsStart)
            return std::nullopt;
        auto cookie = readRecord(page, offset);
        if (!cookie)
            return std::nullopt;
        result.cookies.push_back(std::move(*cookie));
    }
    return result;
}

// Appends little- and big-endian numbers.
void putLE32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
void putBE32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    for (int i = 3; i >= 0; --i)
        out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
void putLEDouble(std::vector<std::uint8_t>& out, double d) {
    const auto bits = std::bit_cast<std::uint64_t>(d);
    for (int i = 0; i < 8; ++i)
        out.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
}

std::uint32_t checked32(std::size_t n, const char* what) {
    if (n > std::numeric_limits<std::uint32_t>::max())
        throw std::invalid_argument(std::string(what) + " too large for a cookie file");
    return static_cast<std::uint32_t>(n);
}

std::vector<std::uint8_t> writeRecord(const Cookie& c) {
    const std::string* strings[] = {&c.domain,
                                    &c.name,
                                    &c.path,
                                    &c.value,
                                    c.comment ? &*c.comment : nullptr,
                                    c.commentURL ? &*c.commentURL : nullptr};
    std::size_t offsets[6] = {};
    std::size_t at = kRecordHeader + (c.hasPort != 0 ? kPortSize : 0);
    for (std::size_t i = 0; i < 6; ++i) {
        if (!strings[i])
            continue;
        if (strings[i]->find('\0') != std::string::npos)
            throw std::invalid_argument("cookie text with an embedded NUL");
        offsets[i] = at;
        at += strings[i]->size() + 1;
    }
    const std::uint32_t size = checked32(at, "cookie record");

    std::vector<std::uint8_t> out;
    out.reserve(size);
    putLE32(out, size);
    putLE32(out, c.version);
    putLE32(out, c.flags);
    putLE32(out, c.hasPort);
    for (auto offset : offsets)
        putLE32(out, static_cast<std::uint32_t>(offset));
    putLEDouble(out, c.expiry);
    putLEDouble(out, c.creation);
    if (c.hasPort != 0) {
        out.push_back(static_cast<std::uint8_t>(c.port));
        out.push_back(static_cast<std::uint8_t>(c.port >> 8));
    }
    for (const auto* text : strings) {
        if (!text)
            continue;
        out.insert(out.end(), text->begin(), text->end());
        out.push_back(0);
    }
    return out;
}

std::vector<std::uint8_t> writePage(const CookiePage& page) {
    std::vector<std::vector<std::uint8_t>> records;
    records.reserve(page.cookies.size());
    for (const auto& cookie : page.cookies)
        records.push_back(writeRecord(cookie));

    std::vector<std::uint8_t> out;
    putBE32(out, kPageStart);
    putLE32(out, checked32(records.size(), "cookie page"));
    std::size_t offset = 8 + 4 * records.size() + 4;
    for (const auto& record : records) {
        putLE32(out, checked32(offset, "cookie page"));
        offset += record.size();
    }
    checked32(offset, "cookie page");
    putLE32(out, 0);
    for (const auto& record : records)
        out.insert(out.end(), record.begin(), record.end());
    return out;
}

// Whether the extents [start, end) cover [from, to) exactly, without gap or overlap, in any order.
bool tiles(std::vector<std::pair<std::uint64_t, std::uint64_t>> extents, std::uint64_t from,
           std::uint64_t to) {
    std::sort(extents.begin(), extents.end());
    for (const auto& [start, end] : extents) {
        if (start != from)
            return false;
        from = end;
    }
    return from == to;
}

// A record's strings (with their NULs) fill everything after its header.
bool recordIsWhole(const View& record) {
    const std::size_t headerEnd = kRecordHeader + (record.le32(12) != 0 ? kPortSize : 0);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> strings;
    for (std::size_t i = 0; i < 6; ++i) {
        const std::uint32_t at = record.le32(16 + 4 * i);
        if (i >= 4 && at == 0)
            continue;
        const auto* start = record.data() + at;
        const auto* nul =
            static_cast<const std::uint8_t*>(std::memchr(start, 0, record.size() - at));
        strings.emplace_back(at, at + static_cast<std::uint64_t>(nul - start) + 1);
    }
    return tiles(std::move(strings), headerEnd, record.size());
}

// The page's offset table ends with four zero bytes and its records fill the rest of it.
bool pageIsWhole(const View& page) {
    const std::uint64_t count = page.le32(4);
    const std::size_t tableEnd = 8 + 4 * static_cast<std::size_t>(count);
    if (page.le32(tableEnd) != 0)
        return false;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> records;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t offset = page.le32(8 + 4 * i);
        const std::size_t size = page.le32(offset);
        if (!recordIsWhole(page.sub(offset, size)))
            return false;
        records.emplace_back(offset, offset + size);
    }
    return tiles(std::move(records), tableEnd + 4, page.size());
}

} // namespace

std::size_t CookieFile::cookieCount() const {
    std::size_t n = 0;
    for (const auto& page : pages)
        n += page.cookies.size();
    return n;
}

CookieFile CookieFile::create() {
    CookieFile file;
    file.policy = defaultAcceptPolicy();
    return file;
}

std::vector<std::uint8_t> defaultAcceptPolicy() {
    return core::plist::toBinary(
        core::Value(core::DictObj::make({{"NSHTTPCookieAcceptPolicy", 2}})));
}

std::uint32_t pageChecksum(const std::uint8_t* page, std::size_t size) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < size; i += 4)
        sum += page[i];
    return sum;
}

std::optional<CookieFile> read(const std::vector<std::uint8_t>& bytes) {
    const View file(bytes.data(), bytes.size());
    if (!file.equals(0, kMagic) || !file.has(4, 4))
        return std::nullopt;
    const std::uint64_t pageCount = file.be32(4);
    std::uint64_t pos = 8 + 4 * pageCount;
    if (pos > file.size())
        return std::nullopt;

    CookieFile result;
    result.pages.reserve(static_cast<std::size_t>(pageCount));
    for (std::size_t i = 0; i < pageCount; ++i) {
        const std::size_t pageSize = file.be32(8 + 4 * i);
        if (!file.has(static_cast<std::size_t>(pos), pageSize))
            return std::nullopt;
        auto page = readPage(file.sub(static_cast<std::size_t>(pos), pageSize));
        if (!page)
            return std::nullopt;
        result.pages.push_back(std::move(*page));
        pos += pageSize;
    }

    const auto at = static_cast<std::size_t>(pos);
    if (!file.has(at, 8) || !file.equals(at + 4, kFooter))
        return std::nullopt;
    result.checksum = file.be32(at);
    // The policy's length, then exactly that many bytes up to the end of the file.
    const std::size_t tail = at + 8;
    if (!file.has(tail, 4) || file.be32(tail) != file.size() - tail - 4)
        return std::nullopt;
    result.policy.assign(bytes.begin() + static_cast<std::ptrdiff_t>(tail + 4), bytes.end());
    return result;
}

bool isWhole(const std::vector<std::uint8_t>& bytes) {
    if (!read(bytes))
        return false;
    const View file(bytes.data(), bytes.size());
    const std::size_t pageCount = file.be32(4);
    std::size_t pos = 8 + 4 * pageCount;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < pageCount; ++i) {
        const std::size_t pageSize = file.be32(8 + 4 * i);
        const View page = file.sub(pos, pageSize);
        if (!pageIsWhole(page))
            return false;
        for (std::size_t k = 0; k < pageSize; k += 4)
            sum += page.data()[k];
        pos += pageSize;
    }
    // How writers treat a sum beyond 32 bits is not known; below that it must match.
    return sum > std::numeric_limits<std::uint32_t>::max() || file.be32(pos) == sum;
}

std::vector<std::uint8_t> write(const CookieFile& file) {
    std::vector<std::vector<std::uint8_t>> pages;
    pages.reserve(file.pages.size());
    for (const auto& page : file.pages)
        pages.push_back(writePage(page));

    std::vector<std::uint8_t> out(std::begin(kMagic), std::end(kMagic));
    putBE32(out, checked32(pages.size(), "cookie file"));
    std::uint32_t checksum = 0;
    for (const auto& page : pages) {
        putBE32(out, checked32(page.size(), "cookie page"));
        checksum += pageChecksum(page.data(), page.size());
    }
    for (const auto& page : pages)
        out.insert(out.end(), page.begin(), page.end());
    putBE32(out, checksum);
    out.insert(out.end(), std::begin(kFooter), std::end(kFooter));
    putBE32(out, checked32(file.policy.size(), "cookie accept policy"));
    out.insert(out.end(), file.policy.begin(), file.policy.end());
    return out;
}

} // namespace tpc::browsers::safari
