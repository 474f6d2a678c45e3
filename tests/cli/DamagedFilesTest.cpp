// Damaged files through the real `tpc`: another program's file that cannot be fully read is left
// byte for byte, our own damaged settings are moved aside (never half read and then acted on),
// and what interrupted saves left behind is cleared at start-up.

#include "TpcFixture.h"

#include "browsers/safari/BinaryCookies.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

namespace tpc::test {
namespace {

class TpcDamaged : public Tpc {
protected:
    fs::path linuxSettings = home / ".config/Tavrin Software/Tavrin Privacy Cleaner";

    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
    }

    Result linux(std::vector<std::string> args) {
        args.insert(args.begin(),
                    {"--layout", "linux", "--home", home.string(), "--root", root.string()});
        return tpc(args);
    }

    // The names in `folder` that begin with `prefix`.
    static std::vector<std::string> named(const fs::path& folder, const std::string& prefix) {
        std::vector<std::string> out;
        for (const auto& e : fs::directory_iterator(folder))
            if (e.path().filename().string().starts_with(prefix))
                out.push_back(e.path().filename().string());
        return out;
    }

    // Changes the byte `offset` after the first occurrence of `marker` in `file`.
    static std::string poke(const fs::path& file, const std::string& marker, std::size_t offset,
                            char value) {
        std::string bytes = readFile(file);
        const auto at = bytes.find(marker);
        EXPECT_NE(at, std::string::npos) << marker;
        if (at != std::string::npos)
            bytes[at + offset] = value;
        writeFile(file, bytes);
        return bytes;
    }
};

// A recently-used.xbel that pugixml alone reads (an attribute given twice, a byte that is not
// UTF-8, "--" inside a comment) would be written back as a file that is not well-formed XML at
// all: the clean leaves it byte for byte.
TEST_F(TpcDamaged, DamagedRecentFilesListIsLeftByteForByte) {
    const std::string head =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" "
        "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" "
        "xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    auto bookmark = [](const std::string& href, const std::string& mime) {
        return "<bookmark href=\"" + href +
               "\"><info><metadata owner=\"http://freedesktop.org\"><mime:mime-type type=\"" +
               mime + "\"/></metadata></info></bookmark>\n";
    };
    const std::string files = bookmark("file:///home/u/a.txt", "text/plain");
    const std::string folders = bookmark("file:///home/u/Music", "inode/directory");
    const fs::path xbel = home / ".local/share/recently-used.xbel";
    const std::vector<std::string> damaged = {
        head + "<bookmark href=\"file:///x\" href=\"file:///y\"/>\n" + files + folders +
            "</xbel>\n",
        head + files + "<!-- caf\xE9 -->\n" + folders + "</xbel>\n",
        head + "<!-- a -- b -->\n" + files + folders + "</xbel>\n",
    };
    for (const auto& text : damaged) {
        writeFile(xbel, text);
        auto r = linux({"clean", "system", "--item", "Recent Documents, Applications, Servers"});
        EXPECT_EQ(r.code, 0) << r.err;
        EXPECT_EQ(readFile(xbel), text);
    }
    // The same file undamaged is cleaned of its files and keeps its folders.
    writeFile(xbel, head + files + folders + "</xbel>\n");
    auto r = linux({"clean", "system", "--item", "Recent Documents, Applications, Servers"});
    EXPECT_EQ(r.code, 0) << r.err;
    const std::string cleaned = readFile(xbel);
    EXPECT_EQ(cleaned.find("a.txt"), std::string::npos);
    EXPECT_NE(cleaned.find("file:///home/u/Music"), std::string::npos);
}

// A Safari cookie file whose checksum does not match is not rewritten by a delete.
TEST_F(TpcDamaged, SafariCookieFileThatFailsItsChecksIsLeftByteForByte) {
    using namespace browsers::safari;
    CookieFile file = CookieFile::create();
    Cookie c;
    c.domain = ".gone.example";
    c.name = "n";
    c.path = "/";
    c.value = "v";
    file.pages.push_back(CookiePage{{c}});
    auto bytes = write(file);
    const std::size_t pageEnd = 12 + bytes[11] + (std::size_t(bytes[10]) << 8);
    bytes[pageEnd + 3] ^= 0x10;
    const std::string text(bytes.begin(), bytes.end());
    const fs::path cookies = home / "Library/Cookies/Cookies.binarycookies";
    writeFile(cookies, text);

    auto r = run({"delete", "Safari", "Cookies"});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readFile(cookies), text);
}

// General.plist with one string length enlarged (objects overlap): moved aside on the next run,
// never read in part and written back.
TEST_F(TpcDamaged, StructurallyDamagedGeneralSettingsAreMovedAside) {
    ASSERT_EQ(run({"settings", "set", "File Deletion Option", "2"}).code, 0);
    const fs::path general = folder() / "General.plist";
    ASSERT_TRUE(fs::exists(general));
    // "File Deletion Option" is 20 bytes: marker 0x5F, then the length 0x10 0x14.
    const std::string damaged = poke(general,
                                     "\x5F\x10\x14"
                                     "File Deletion Option",
                                     2, '\x15');

    auto r = run({"settings", "list"});
    EXPECT_EQ(r.code, 0) << r.err;
    const auto aside = named(folder(), "General.plist.unreadable-");
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(readFile(folder() / aside[0]), damaged);
}

// The Firefox keep list damaged the same way: the kept cookie is not deleted.
TEST_F(TpcDamaged, DamagedCookieKeepListDeletesNoCookie) {
    const fs::path profile = home / ".mozilla/firefox/abcd.default-release";
    writeFile(home / ".mozilla/firefox/profiles.ini",
              "[Profile0]\nName=default-release\nIsRelative=1\nPath=abcd.default-release\n"
              "Default=1\n");
    sqlExec(profile / "cookies.sqlite",
            "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL "
            "DEFAULT '', name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, "
            "lastAccessed INTEGER, creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, "
            "inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER DEFAULT 0, rawSameSite "
            "INTEGER DEFAULT 0, schemeMap INTEGER DEFAULT 0);"
            "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', '.gone.example', "
            "'/'), ('k', '2', 'keep.org', '/');");
    ASSERT_EQ(linux({"cookies", "Firefox", "keep", "keep.org"}).code, 0);
    const fs::path list = linuxSettings / "Cookies.plist";
    // "keep.org": an ASCII string of 8 bytes (marker 0x58) made 9 bytes long.
    const std::string damaged = poke(list, "\x58keep.org", 0, '\x59');

    auto r = linux({"delete", "Firefox", "Cookies"});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(hostsIn(profile / "cookies.sqlite"),
              (std::vector<std::string>{".gone.example", "keep.org"}));
    const auto aside = named(linuxSettings, "Cookies.plist.unreadable-");
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(readFile(linuxSettings / aside[0]), damaged);
}

// One byte 0xFF inside a listed path of the eraser list: the list is moved aside, never read as
// a shorter path (which was the home folder) that the clean then erases.
TEST_F(TpcDamaged, EraserListWithABrokenPathErasesNothing) {
    writeFile(home / "Xnotes/todo.txt", "listed");
    writeFile(home / "keep.txt", "keep");
    ASSERT_EQ(linux({"eraser", "add", (home / "Xnotes").string()}).code, 0);
    const fs::path list = linuxSettings / "File Eraser.plist";
    const std::string damaged = poke(list, "/Xnotes", 1, '\xFF');

    EXPECT_EQ(linux({"scan", "eraser"}).code, 0);
    EXPECT_EQ(linux({"clean", "eraser"}).code, 0);
    EXPECT_EQ(readFile(home / "keep.txt"), "keep");
    EXPECT_EQ(readFile(home / "Xnotes/todo.txt"), "listed");
    const auto aside = named(linuxSettings, "File Eraser.plist.unreadable-");
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(readFile(linuxSettings / aside[0]), damaged);
}

// Temporary files that a killed save left are removed at the next start; one of a process that
// still runs, and a link with such a name, are not.
TEST_F(TpcDamaged, StaleSaveTemporariesAreRemovedAtStartUp) {
    ASSERT_EQ(linux({"cookies", "Firefox", "list"}).code, 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string stale = ".Cookies.plist.tmp-" + std::to_string(child) + "-0-1f2e3d";
    const std::string live = ".Cookies.plist.tmp-" + std::to_string(::getpid()) + "-0-1f2e3d";
    const std::string link = ".General.plist.tmp-" + std::to_string(child) + "-1-ab";
    writeFile(linuxSettings / stale, "partial");
    writeFile(linuxSettings / live, "being written");
    writeFile(dir / "target", "target");
    fs::create_symlink(dir / "target", linuxSettings / link);

    ASSERT_EQ(linux({"cookies", "Firefox", "list"}).code, 0);
    EXPECT_FALSE(fs::exists(linuxSettings / stale));
    EXPECT_EQ(readFile(linuxSettings / live), "being written");
    EXPECT_TRUE(fs::is_symlink(linuxSettings / link));
    EXPECT_EQ(readFile(dir / "target"), "target");
}

} // namespace
} // namespace tpc::test
