// The Cookies.binarycookies reader and writer: layout, round trips, and files that are truncated,
// garbage or inconsistent.

#include "SafariHarness.h"

#include "browsers/safari/BinaryCookies.h"
#include "core/PropertyList.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>

namespace tpc::browsers::safari::sftest {
namespace {

std::uint32_t be32(const Bytes& b, std::size_t at) {
    return std::uint32_t(b.at(at)) << 24 | std::uint32_t(b.at(at + 1)) << 16 |
           std::uint32_t(b.at(at + 2)) << 8 | std::uint32_t(b.at(at + 3));
}
std::uint32_t le32(const Bytes& b, std::size_t at) {
    return std::uint32_t(b.at(at)) | std::uint32_t(b.at(at + 1)) << 8 |
           std::uint32_t(b.at(at + 2)) << 16 | std::uint32_t(b.at(at + 3)) << 24;
}
void setLE(Bytes& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(v >> (8 * i));
}
void setBE(Bytes& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(v >> (8 * (3 - i)));
}
void putLE(Bytes& b, std::uint32_t v) {
    b.resize(b.size() + 4);
    setLE(b, b.size() - 4, v);
}
void putBE(Bytes& b, std::uint32_t v) {
    b.resize(b.size() + 4);
    setBE(b, b.size() - 4, v);
}
void putDouble(Bytes& b, double d) {
    auto bits = std::bit_cast<std::uint64_t>(d);
    for (int i = 0; i < 8; ++i)
        b.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
}
std::string cString(const Bytes& b, std::size_t at) {
    std::string s;
    while (b.at(at) != 0)
        s.push_back(static_cast<char>(b.at(at++)));
    return s;
}

// A cookie with every field in use and unusual values in each.
Cookie fullCookie(int i) {
    Cookie c;
    c.version = 0x00010000u + static_cast<std::uint32_t>(i);
    c.flags = (i % 2 ? Cookie::kSecure : 0u) | (i % 3 ? Cookie::kHttpOnly : 0u) | 0x100u;
    c.hasPort = i % 2 ? 1u : 0u;
    c.port = c.hasPort ? static_cast<std::uint16_t>(8000 + i) : 0;
    c.domain = i % 4 == 0 ? ".example.com" : "host" + std::to_string(i) + ".example.org";
    c.name = "name_" + std::to_string(i);
    c.path = i % 2 ? "/" : "/deep/path/" + std::to_string(i);
    c.value = i == 3 ? "" : "v\xc3\xa9=" + std::string(static_cast<std::size_t>(i * 7), 'x');
    if (i % 3 == 0)
        c.comment = "comment " + std::to_string(i);
    if (i % 5 == 0)
        c.commentURL = i % 2 ? "" : "https://example.com/policy";
    c.expiry = 1e9 + i * 0.125;
    c.creation = -1.5 * i;
    return c;
}

CookieFile severalPages() {
    return cookieFile({{fullCookie(0), fullCookie(1), fullCookie(2)},
                       {fullCookie(3)},
                       {fullCookie(4), fullCookie(5), fullCookie(6), fullCookie(7)},
                       {fullCookie(8), fullCookie(9), fullCookie(10)}});
}

// A one-cookie file laid out by hand as the format describes it, the record's strings in the
// order value, path, name, domain, with a port, no comments and an odd checksum.
Bytes handFile() {
    const std::vector<std::string> strings = {"the-value", "/p", "sid", ".hand.example"};
    const std::size_t header = 56 + 2;
    std::size_t size = header;
    std::vector<std::uint32_t> at;
    for (const auto& s : strings) {
        at.push_back(static_cast<std::uint32_t>(size));
        size += s.size() + 1;
    }
    Bytes r;
    putLE(r, static_cast<std::uint32_t>(size));
    putLE(r, 7);                // version
    putLE(r, 5);                // secure and HttpOnly
    putLE(r, 1);                // has a port
    putLE(r, at[3]);            // domain
    putLE(r, at[2]);            // name
    putLE(r, at[1]);            // path
    putLE(r, at[0]);            // value
    putLE(r, 0);                // no comment
    putLE(r, 0);                // no comment URL
    putDouble(r, 123456789.75); // expiry
    putDouble(r, 98765.5);      // creation
    r.push_back(0xBB);          // port 443 little-endian
    r.push_back(0x01);
    for (const auto& s : strings) {
        r.insert(r.end(), s.begin(), s.end());
        r.push_back(0);
    }
    Bytes page;
    putBE(page, 0x00000100);
    putLE(page, 1);
    putLE(page, 16);
    putLE(page, 0);
    page.insert(page.end(), r.begin(), r.end());
    Bytes file = {'c', 'o', 'o', 'k'};
    putBE(file, 1);
    putBE(file, static_cast<std::uint32_t>(page.size()));
    file.insert(file.end(), page.begin(), page.end());
    putBE(file, 0xDEADBEEF);
    file.insert(file.end(), {0x07, 0x17, 0x20, 0x05});
    const Bytes policy = {'b', 'p', 'l', 'i', 's', 't', '0', '0', 0x01, 0x02};
    putBE(file, static_cast<std::uint32_t>(policy.size()));
    file.insert(file.end(), policy.begin(), policy.end());
    return file;
}

// --- Writing and reading back ---------------------------------------------------------------

TEST(BinaryCookiesWrite, AFileReadsBackWithEveryFieldOfEveryCookieOnEveryPage) {
    const auto original = severalPages();
    const auto bytes = write(original);
    const auto back = read(bytes);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->sameContent(original));
    EXPECT_EQ(back->cookieCount(), 11u);
    // The same content writes the same bytes again.
    EXPECT_EQ(write(*back), bytes);

    // An empty file has no pages and the default policy.
    const auto empty = write(CookieFile::create());
    EXPECT_EQ(be32(empty, 4), 0u);
    EXPECT_EQ(be32(empty, 8), 0u); // checksum of no pages
    const auto emptyBack = read(empty);
    ASSERT_TRUE(emptyBack);
    EXPECT_EQ(emptyBack->cookieCount(), 0u);
    EXPECT_EQ(emptyBack->policy, defaultAcceptPolicy());
}

TEST(BinaryCookiesWrite, TheLayoutIsTheDocumentedOne) {
    auto c = fullCookie(1); // secure, HttpOnly, with a port
    c.comment = "note";
    const auto bytes = write(cookieFile({{c}}));

    ASSERT_GE(bytes.size(), 12u);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "cook");
    EXPECT_EQ(be32(bytes, 4), 1u);
    const std::uint32_t pageSize = be32(bytes, 8);
    const std::size_t page = 12;
    EXPECT_EQ(be32(bytes, page), 0x00000100u);
    EXPECT_EQ(le32(bytes, page + 4), 1u);
    EXPECT_EQ(le32(bytes, page + 8), 16u); // the first record follows the offsets and 4 zeros
    EXPECT_EQ(le32(bytes, page + 12), 0u);

    const std::size_t rec = page + 16;
    const std::uint32_t recSize = le32(bytes, rec);
    EXPECT_EQ(page + 16 + recSize, page + pageSize);
    EXPECT_EQ(le32(bytes, rec + 4), c.version);
    EXPECT_EQ(le32(bytes, rec + 8), c.flags);
    EXPECT_EQ(le32(bytes, rec + 12), 1u);
    EXPECT_EQ(cString(bytes, rec + le32(bytes, rec + 16)), c.domain);
    EXPECT_EQ(cString(bytes, rec + le32(bytes, rec + 20)), c.name);
    EXPECT_EQ(cString(bytes, rec + le32(bytes, rec + 24)), c.path);
    EXPECT_EQ(cString(bytes, rec + le32(bytes, rec + 28)), c.value);
    EXPECT_EQ(cString(bytes, rec + le32(bytes, rec + 32)), "note");
    EXPECT_EQ(le32(bytes, rec + 36), 0u); // no comment URL
    double expiry = 0, creation = 0;
    std::memcpy(&expiry, bytes.data() + rec + 40, 8);
    std::memcpy(&creation, bytes.data() + rec + 48, 8);
    EXPECT_EQ(expiry, c.expiry);
    EXPECT_EQ(creation, c.creation);
    EXPECT_EQ(bytes.at(rec + 56) | bytes.at(rec + 57) << 8, c.port);

    // Checksum: the page's bytes at offsets 0, 4, 8, ...
    const std::size_t end = page + pageSize;
    std::uint32_t sum = 0;
    for (std::size_t i = page; i < end; i += 4)
        sum += bytes[i];
    EXPECT_EQ(be32(bytes, end), sum);
    EXPECT_EQ(pageChecksum(bytes.data() + page, pageSize), sum);
    EXPECT_EQ(Bytes(bytes.begin() + static_cast<long>(end) + 4,
                    bytes.begin() + static_cast<long>(end) + 8),
              (Bytes{0x07, 0x17, 0x20, 0x05}));

    // The default policy, length-prefixed, to the end of the file.
    const auto policySize = be32(bytes, end + 8);
    EXPECT_EQ(end + 12 + policySize, bytes.size());
    auto policy =
        core::plist::parse(Bytes(bytes.begin() + static_cast<long>(end) + 12, bytes.end()));
    ASSERT_TRUE(policy && policy->isDict());
    EXPECT_EQ(policy->dict()->getInt("NSHTTPCookieAcceptPolicy"), 2);
}

TEST(BinaryCookiesWrite, TextTheFormatCannotHoldIsRefused) {
    auto c = fullCookie(2), d = fullCookie(2);
    c.value = std::string("a\0b", 3);
    d.commentURL = std::string("\0", 1);
    EXPECT_THROW(write(cookieFile({{c}})), std::invalid_argument);
    EXPECT_THROW(write(cookieFile({{d}})), std::invalid_argument);
}

// --- Reading what others wrote ----------------------------------------------------------------

TEST(BinaryCookiesRead, AHandBuiltFileWithStringsInAnotherOrderAndAPortReads) {
    const auto bytes = handFile();
    const auto file = read(bytes);
    ASSERT_TRUE(file);
    ASSERT_EQ(file->cookieCount(), 1u);
    Cookie expected{.version = 7,
                    .flags = 5,
                    .hasPort = 1,
                    .port = 443,
                    .domain = ".hand.example",
                    .name = "sid",
                    .path = "/p",
                    .value = "the-value",
                    .comment = std::nullopt,
                    .commentURL = std::nullopt,
                    .expiry = 123456789.75,
                    .creation = 98765.5};
    EXPECT_EQ(file->pages[0].cookies[0], expected);
    EXPECT_EQ(file->checksum, 0xDEADBEEFu); // any checksum is accepted
    EXPECT_EQ(file->policy, (Bytes{'b', 'p', 'l', 'i', 's', 't', '0', '0', 0x01, 0x02}));

    // Written again, it means the same and gets its checksum right.
    const auto rewritten = write(*file);
    const auto back = read(rewritten);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->sameContent(*file));
    EXPECT_EQ(back->checksum, pageChecksum(rewritten.data() + 12, be32(rewritten, 8)));
}

TEST(BinaryCookiesRead, EveryTruncationAndGarbageIsUnreadable) {
    const auto bytes = write(severalPages());
    for (std::size_t n = 0; n < bytes.size(); ++n)
        EXPECT_FALSE(read(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(n))))
            << "prefix of " << n << " bytes";
    auto longer = bytes;
    longer.push_back(0);
    EXPECT_FALSE(read(longer)) << "a byte after the policy";

    const std::string sqlite = "SQLite format 3";
    EXPECT_FALSE(read(Bytes(sqlite.begin(), sqlite.end())));
    EXPECT_FALSE(read(core::plist::toBinary(core::Value(core::DictObj::make({{"a", 1}})))));
}

// Positions in a written one-cookie file: page at 12, its first offset at 20, the record at 28.
constexpr std::size_t kPage = 12, kFirstOffset = 20, kRecord = 28;

TEST(BinaryCookiesRead, InconsistentSizesAndOffsetsAreUnreadable) {
    const auto good = write(cookieFile({{fullCookie(2)}}));
    ASSERT_TRUE(read(good));
    auto poked = [&](auto change) {
        auto b = good;
        change(b);
        return read(b).has_value();
    };
    // The page count, a page size, the page's start bytes and its cookie count.
    EXPECT_FALSE(poked([](Bytes& b) { setBE(b, 4, 2); }));
    EXPECT_FALSE(poked([](Bytes& b) { setBE(b, 4, 0xFFFFFFFF); }));
    EXPECT_FALSE(poked([](Bytes& b) { setBE(b, 8, be32(b, 8) + 1); }));
    EXPECT_FALSE(poked([](Bytes& b) { setBE(b, 8, 4); }));
    EXPECT_FALSE(poked([](Bytes& b) { setBE(b, kPage, 0x00000200); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kPage + 4, 2); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kPage + 4, 0xFFFFFFFF); }));
    // A record offset inside the offset table, or past the page.
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kFirstOffset, 8); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kFirstOffset, 0xFFFFFFF0); }));
    // A record size too small for its header, or reaching past the page.
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord, 20); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord, le32(b, kRecord) + 1); }));
    // A string offset inside the header, past the record, or a comment offset likewise.
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord + 16, 8); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord + 20, le32(b, kRecord)); }));
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord + 32, 0xFFFFFFFF); }));
    // A port announced where the strings begin.
    EXPECT_FALSE(poked([](Bytes& b) { setLE(b, kRecord + 12, 1); }));
    // The last string without its NUL.
    EXPECT_FALSE(poked([](Bytes& b) { b.at(kRecord + le32(b, kRecord) - 1) = 'x'; }));
    // The footer, and a policy length that does not match.
    const std::size_t end = kPage + be32(good, 8);
    EXPECT_FALSE(poked([&](Bytes& b) { b.at(end + 4) = 0x08; }));
    EXPECT_FALSE(poked([&](Bytes& b) { setBE(b, end + 8, be32(b, end + 8) - 1); }));
    // Values the reader does not need are accepted as they are.
    EXPECT_TRUE(poked([&](Bytes& b) { setBE(b, end, 12345); }));
    EXPECT_TRUE(poked([](Bytes& b) { setLE(b, kPage + 12, 0xABCD); }));
    EXPECT_TRUE(poked([](Bytes& b) { setLE(b, kRecord + 4, 0xABCD); }));
}

TEST(BinaryCookiesRead, RandomCorruptionNeverCrashesAndWhatReadsWritesBackStably) {
    const auto base = write(severalPages());
    std::mt19937 rng(20240611);
    int readable = 0;
    for (int round = 0; round < 4000; ++round) {
        auto b = base;
        switch (rng() % 5) {
        case 0: // flip a few bytes
            for (unsigned n = 1 + rng() % 8; n > 0; --n)
                b[rng() % b.size()] ^= static_cast<std::uint8_t>(1 + rng() % 255);
            break;
        case 1: // truncate
            b.resize(rng() % b.size());
            break;
        case 2: { // insert bytes
            auto at = b.begin() + static_cast<long>(rng() % b.size());
            b.insert(at, 1 + rng() % 16, static_cast<std::uint8_t>(rng()));
            break;
        }
        case 3: { // a word set to an edge value, at a random or a structural position
            static const std::uint32_t edges[] = {
                0, 1, 4, 16, 56, 58, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFC, 0x100};
            std::size_t at = rng() % 2 ? rng() % (b.size() - 4) : (rng() % 16) * 4;
            setLE(b, at, edges[rng() % std::size(edges)]);
            break;
        }
        default: // one byte in the first page's header or first record
            b[std::min<std::size_t>(b.size() - 1, rng() % 96)] = static_cast<std::uint8_t>(rng());
            break;
        }
        const auto file = read(b);
        if (!file)
            continue;
        ++readable;
        const auto again = write(*file);
        const auto back = read(again);
        ASSERT_TRUE(back) << "round " << round;
        EXPECT_EQ(write(*back), again) << "round " << round;
    }
    EXPECT_GT(readable, 0); // some mutations only touch values, and those files still read
}

} // namespace
} // namespace tpc::browsers::safari::sftest
