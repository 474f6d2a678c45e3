// Safari's "Cookies": counting the cookie files, rewriting them without the cookies that are not
// kept, and leaving damaged files alone.

#include "SafariHarness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sys/stat.h>

namespace tpc::browsers::safari::sftest {
namespace {

std::int64_t sizeOf(const fs::path& p) {
    return static_cast<std::int64_t>(fs::file_size(p));
}

CookieFile readCookies(const fs::path& p) {
    auto file = read(readBytes(p));
    EXPECT_TRUE(file) << p;
    return file.value_or(CookieFile{});
}

std::vector<std::string> domainsIn(const CookieFile& file) {
    std::vector<std::string> domains;
    for (const auto& page : file.pages)
        for (const auto& c : page.cookies)
            domains.push_back(c.domain);
    return domains;
}

// A cookie with fields that differ from the plain test cookie in every way.
Cookie unusual(const std::string& domain) {
    auto c = cookie(domain, "session");
    c.version = 3;
    c.flags = Cookie::kSecure | Cookie::kHttpOnly;
    c.hasPort = 1;
    c.port = 8443;
    c.path = "/account/";
    c.value = "s=\xe2\x9c\x93;x";
    c.comment = "why";
    c.commentURL = "https://kept.example/why";
    c.expiry = 1234567890.0625;
    c.creation = 765432100.5;
    return c;
}

// --- Counting ---------------------------------------------------------------------------------

TEST(SafariCookiesCount, TheCookiesOfBothFilesAndTheirSizes) {
    Harness h;
    EXPECT_EQ(h.cleaner->count("Cookies").value(), CountPair{});
    writeBytes(h.containerCookieFile(), write(cookieFile({{cookie("c.example", "1")}})));
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{1, sizeOf(h.containerCookieFile())}));
    writeBytes(h.cookieFile(),
               write(cookieFile({{cookie("a.example", "1"), cookie("a.example", "2")},
                                 {cookie("b.example", "3")}})));
    EXPECT_EQ(h.cleaner->count("Cookies").value(),
              (CountPair{4, sizeOf(h.cookieFile()) + sizeOf(h.containerCookieFile())}));
}

TEST(SafariCookiesCount, AZeroLengthFileCountsNothingAndIsLeftAsItIs) {
    Harness h;
    writeFile(h.cookieFile(), "");
    ageFile(h.cookieFile());
    const auto before = stamp(h.cookieFile());
    EXPECT_EQ(h.cleaner->count("Cookies").value(), CountPair{});
    h.cleaner->remove("Cookies");
    EXPECT_EQ(stamp(h.cookieFile()), before);
    EXPECT_TRUE(h.log.lines().empty());
    // Beside a file with cookies, it adds nothing.
    writeBytes(h.containerCookieFile(), write(cookieFile({{cookie("c.example", "1")}})));
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{1, sizeOf(h.containerCookieFile())}));
}

TEST(SafariCookiesCount, ALinkInPlaceOfTheFileIsNotRead) {
    Harness h;
    const auto elsewhere = h.dir / "elsewhere.binarycookies";
    writeBytes(elsewhere, write(cookieFile({{cookie("a.example", "1")}})));
    fs::create_directories(h.cookieFile().parent_path());
    fs::create_symlink(elsewhere, h.cookieFile());
    EXPECT_EQ(h.cleaner->count("Cookies").value(), CountPair{});
    const auto before = stamp(elsewhere);
    h.cleaner->remove("Cookies");
    EXPECT_EQ(stamp(elsewhere), before);
    EXPECT_TRUE(fs::is_symlink(h.cookieFile()));
}

// --- Deleting ---------------------------------------------------------------------------------

TEST(SafariCookiesDelete, ExactlyTheKeptCookiesRemainAsTheyWereInTheirOrderAndPages) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "k1.example");
    h.cookies->keep(CookieBrowser::Safari, "k2.example");
    const Bytes policy = {'b', 'p', 'l', 'i', 's', 't', '0', '0', 0xAA, 0x55}; // kept byte for byte
    auto original = cookieFile({{unusual("k1.example"), cookie("x.example", "1")},
                                {cookie("y.example", "2"), cookie("k2.example", "3")},
                                {cookie("gone.example", "a")},
                                {cookie("k1.example", "4"), unusual("k2.example")}});
    original.policy = policy;
    writeBytes(h.cookieFile(), write(original));
    ageFile(h.cookieFile());
    const auto before = stamp(h.cookieFile());

    h.cleaner->remove("Cookies");

    EXPECT_NE(stamp(h.cookieFile()), before);
    auto expected = cookieFile({{unusual("k1.example")},
                                {cookie("k2.example", "3")},
                                {cookie("k1.example", "4"), unusual("k2.example")}});
    expected.policy = policy; // and the page left empty is gone
    EXPECT_TRUE(readCookies(h.cookieFile()).sameContent(expected));
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{4, sizeOf(h.cookieFile())}));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST(SafariCookiesDelete, ALeadingDotIsStrippedBeforeTheKeepListIsAsked) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "example.com");
    writeBytes(
        h.cookieFile(),
        write(cookieFile({{cookie(".example.com", "dot"), cookie("..example.com", "two"),
                           cookie("example.com", "none"), cookie(".www.example.com", "w")}})));

    h.cleaner->remove("Cookies");

    EXPECT_EQ(domainsIn(readCookies(h.cookieFile())),
              (std::vector<std::string>{".example.com", "..example.com", "example.com"}));
    // The kept domain matches exactly: a subdomain is not kept by it.
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Safari).empty());
}

TEST(SafariCookiesDelete, AllCookiesGoneLeavesNoPagesAndOnlyKeptOnesLeaveTheFileAlone) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "kept.example");
    auto original = cookieFile({{cookie("a.example", "1")}, {cookie("b.example", "2")}});
    writeBytes(h.cookieFile(), write(original));
    writeBytes(h.containerCookieFile(), write(cookieFile({{cookie("kept.example", "1")}})));
    ageFile(h.containerCookieFile());
    const auto before = stamp(h.containerCookieFile());
    h.cleaner->remove("Cookies");
    EXPECT_EQ(stamp(h.containerCookieFile()), before);
    const auto after = readCookies(h.cookieFile());
    EXPECT_TRUE(after.pages.empty());
    EXPECT_EQ(after.policy, original.policy);
    // A file without cookies counts nothing, whatever its size.
    ASSERT_GT(sizeOf(h.cookieFile()), 0);
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{1, sizeOf(h.containerCookieFile())}));
}

TEST(SafariCookiesDelete, BothFilesAreCleanedAndThePermissionsKept) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "kept.example");
    writeBytes(h.cookieFile(), write(cookieFile({{cookie("a.example", "1")}})));
    writeBytes(h.containerCookieFile(),
               write(cookieFile({{cookie("kept.example", "k"), cookie("b.example", "2")}})));
    fs::permissions(h.containerCookieFile(), fs::perms::owner_read | fs::perms::owner_write);

    h.cleaner->remove("Cookies");

    EXPECT_TRUE(domainsIn(readCookies(h.cookieFile())).empty());
    EXPECT_EQ(domainsIn(readCookies(h.containerCookieFile())),
              std::vector<std::string>{"kept.example"});
    EXPECT_EQ(fs::status(h.containerCookieFile()).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    // No temporary file is left beside them.
    int entries = 0;
    for ([[maybe_unused]] const auto& e :
         fs::directory_iterator(h.containerCookieFile().parent_path()))
        ++entries;
    EXPECT_EQ(entries, 1);
}

TEST(SafariCookiesDelete, ADamagedFileIsLeftUntouchedAndCountsNothing) {
    Harness h;
    auto good = write(cookieFile({{cookie("a.example", "1"), cookie("b.example", "2")}}));
    const std::vector<Bytes> damaged = {
        Bytes(good.begin(), good.begin() + static_cast<long>(good.size() / 2)), // truncated
        Bytes(good.begin(), good.end() - 1),                                    // policy cut
        Bytes{'g', 'a', 'r', 'b', 'a', 'g', 'e', '\n'},
    };
    for (const auto& bytes : damaged) {
        writeBytes(h.cookieFile(), bytes);
        ageFile(h.cookieFile());
        const auto before = stamp(h.cookieFile());
        EXPECT_EQ(h.cleaner->count("Cookies").value(), CountPair{});
        h.cleaner->remove("Cookies");
        EXPECT_EQ(stamp(h.cookieFile()), before);
        h.cleaner->refreshCookies();
        EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Safari).empty());
    }
    EXPECT_EQ(h.logLines("Safari cookie file is damaged and was left as it is: ").size(), 3u);
}

// Damage the reader lets through because it does not need the value to list cookies: a wrong
// checksum, the page's closing bytes, a string cut short by a NUL (its rest belongs to nothing).
// A rewrite from such a reading would drop those bytes: the file is left as it is.
TEST(SafariCookiesDelete, AFileWithBytesTheReaderDoesNotAccountForIsNotRewritten) {
    Harness h;
    const auto good = write(cookieFile({{cookie("a.example", "1"), cookie("b.example", "2")}}));
    ASSERT_TRUE(isWhole(good));
    const std::size_t pageEnd = 12 + (std::size_t(good[8]) << 24 | std::size_t(good[9]) << 16 |
                                      std::size_t(good[10]) << 8 | good[11]);
    std::vector<Bytes> damaged(3, good);
    damaged[0][pageEnd + 3] ^= 0x40; // the checksum
    damaged[1][12 + 8 + 8] = 0x01;   // the zero bytes closing the page's offset table
    const std::string value = "value-of-1";
    auto at = std::search(good.begin(), good.end(), value.begin(), value.end());
    ASSERT_NE(at, good.end());
    damaged[2][static_cast<std::size_t>(at - good.begin()) + 3] = 0; // the value cut short
    for (const auto& bytes : damaged) {
        ASSERT_TRUE(read(bytes));
        ASSERT_FALSE(isWhole(bytes));
        writeBytes(h.cookieFile(), bytes);
        ageFile(h.cookieFile());
        const auto before = stamp(h.cookieFile());
        h.cleaner->remove("Cookies");
        EXPECT_EQ(stamp(h.cookieFile()), before);
    }
    EXPECT_EQ(h.logLines("Safari cookie file is damaged and was left as it is: ").size(), 3u);
}

// A few hundred deterministic mutants (every other byte changed in turn): the clean either leaves
// the file byte for byte or writes a whole file that holds every kept cookie and nothing else.
TEST(SafariCookiesDelete, MutantsAreLeftAloneOrRewrittenWholeKeepingTheKeptCookies) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "kept.example");
    const auto good = write(cookieFile(
        {{cookie("kept.example", "k"), cookie("a.example", "1")}, {cookie("b.example", "2")}}));
    int rewritten = 0;
    for (std::size_t at = 0; at < good.size(); at += 2) {
        Bytes bytes = good;
        bytes[at] = static_cast<std::uint8_t>(bytes[at] + 1 + at % 7);
        std::vector<Cookie> kept;
        if (auto before = read(bytes))
            for (const auto& page : before->pages)
                for (const auto& c : page.cookies)
                    if (CookieLists::stripLeadingDots(c.domain) == "kept.example")
                        kept.push_back(c);
        writeBytes(h.cookieFile(), bytes);
        h.cleaner->remove("Cookies");
        const auto after = readBytes(h.cookieFile());
        if (after == bytes)
            continue;
        ++rewritten;
        ASSERT_TRUE(isWhole(after)) << "byte " << at;
        std::vector<Cookie> left;
        const auto afterFile = read(after);
        for (const auto& page : afterFile->pages)
            left.insert(left.end(), page.cookies.begin(), page.cookies.end());
        EXPECT_EQ(left, kept) << "byte " << at;
    }
    EXPECT_GT(rewritten, 0);
}

TEST(SafariCookiesDelete, NothingIsDeletedWhenTheKeepListCouldNotBeRead) {
    Harness h(platform::Layout::MacOS, "this is not a property list");
    ASSERT_FALSE(h.cookies->cookieDeletesAllowed());
    writeBytes(h.cookieFile(), write(cookieFile({{cookie("a.example", "1")}})));
    ageFile(h.cookieFile());
    const auto before = stamp(h.cookieFile());
    h.cleaner->remove("Cookies");
    EXPECT_EQ(stamp(h.cookieFile()), before);
    EXPECT_EQ(h.logLines("Safari cookies were not deleted").size(), 1u);
}

TEST(SafariCookiesDelete, CorruptedFilesAreNeverRewritten) {
    Harness h;
    const auto base = write(
        cookieFile({{cookie("a.example", "1"), unusual("b.example")}, {cookie("c.example", "2")}}));
    std::mt19937 rng(99);
    int readable = 0, unreadable = 0;
    for (int round = 0; round < 120; ++round) {
        auto bytes = base;
        for (unsigned n = 1 + rng() % 4; n > 0; --n)
            bytes[rng() % bytes.size()] = static_cast<std::uint8_t>(rng());
        if (rng() % 3 == 0)
            bytes.resize(rng() % bytes.size());
        writeBytes(h.cookieFile(), bytes);
        ageFile(h.cookieFile());
        const auto before = stamp(h.cookieFile());
        const bool isReadable = read(bytes).has_value();
        h.cleaner->count("Cookies").value();
        h.cleaner->remove("Cookies");
        if (isReadable) {
            ++readable;
            EXPECT_TRUE(read(readBytes(h.cookieFile()))) << "round " << round;
        } else {
            ++unreadable;
            EXPECT_EQ(stamp(h.cookieFile()), before) << "round " << round;
        }
    }
    EXPECT_GT(readable, 0);
    EXPECT_GT(unreadable, 0);
}

// --- The delete list --------------------------------------------------------------------------

TEST(SafariCookiesList, TheRefreshListsEveryDomainOnceWithoutDotsAndNotTheKeptOnes) {
    Harness h;
    h.cookies->keep(CookieBrowser::Safari, "kept.example");
    writeBytes(h.cookieFile(),
               write(cookieFile({{cookie(".b.example", "1"), cookie("b.example", "2")},
                                 {cookie("kept.example", "3"), cookie("A.example", "4")}})));
    writeBytes(h.containerCookieFile(), write(cookieFile({{cookie("..c.example", "5")}})));
    h.cleaner->refreshCookies();
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Safari),
              (std::vector<std::string>{"A.example", "b.example", "c.example"}));
}

TEST(SafariCookiesList, AfterADeleteOnlyWhatTheFilesStillHoldIsListed) {
    Harness h;
    writeBytes(h.cookieFile(), write(cookieFile({{cookie("a.example", "1")}})));
    h.cleaner->refreshCookies();
    ASSERT_EQ(h.cookies->disAllowed(CookieBrowser::Safari), std::vector<std::string>{"a.example"});
    h.cookies->keep(CookieBrowser::Safari, "a.example");
    writeBytes(h.cookieFile(),
               write(cookieFile({{cookie("a.example", "1"), cookie(".z.example", "2")}})));
    h.cleaner->refreshCookies();
    ASSERT_EQ(h.cookies->disAllowed(CookieBrowser::Safari), std::vector<std::string>{"z.example"});

    h.cleaner->remove("Cookies");

    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Safari).empty());
    EXPECT_EQ(h.cookies->allowed(CookieBrowser::Safari), std::vector<std::string>{"a.example"});
    EXPECT_EQ(domainsIn(readCookies(h.cookieFile())), std::vector<std::string>{"a.example"});
}

} // namespace
} // namespace tpc::browsers::safari::sftest
