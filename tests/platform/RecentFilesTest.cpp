#include "platform/RecentFiles.h"

#include "core/PropertyList.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <sys/stat.h>

namespace tpc::platform {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempDir;
using test::writeFile;

std::string bookmark(const std::string& href, const std::string& mime, const std::string& app) {
    return "  <bookmark href=\"" + href +
           "\" added=\"2024-01-02T10:00:00Z\" modified=\"2024-01-02T10:00:00Z\" "
           "visited=\"2024-01-02T10:00:00Z\">\n"
           "    <info>\n"
           "      <metadata owner=\"http://freedesktop.org\">\n"
           "        <mime:mime-type type=\"" +
           mime +
           "\"/>\n"
           "        <bookmark:applications>\n"
           "          <bookmark:application name=\"" +
           app + "\" exec=\"&apos;" + app +
           " %u&apos;\" modified=\"2024-01-02T10:00:00Z\" count=\"1\"/>\n"
           "        </bookmark:applications>\n"
           "      </metadata>\n"
           "    </info>\n"
           "  </bookmark>\n";
}

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<xbel version=\"1.0\"\n"
    "      xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
    "      xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\"\n>\n";

struct RecentFilesFixture : ::testing::Test {
    TempDir dir;
    fs::path file = dir / "share/recently-used.xbel";
    RecentFiles recent{file};

    void writeSample() {
        writeFile(file, kHead + bookmark("file:///home/u/a.txt", "text/plain", "gedit") +
                            bookmark("file:///home/u/Music", "inode/directory", "nautilus") +
                            bookmark("file:///home/u/b%20c.png", "image/png", "eog") +
                            bookmark("file:///home/u/x&amp;y.pdf", "application/pdf", "evince") +
                            bookmark("file:///home/u/Photos", "inode/directory", "nautilus") +
                            bookmark("file:///home/u/d.odt", "application/vnd.oasis", "writer") +
                            "</xbel>\n");
        fs::permissions(file, fs::perms(0644));
    }

    ino_t inode() const {
        struct stat st {};
        EXPECT_EQ(::stat(file.c_str(), &st), 0);
        return st.st_ino;
    }
};

TEST_F(RecentFilesFixture, ReadsBookmarksAndCountsFilesAndFolders) {
    writeSample();
    auto all = recent.read();
    ASSERT_TRUE(all);
    ASSERT_EQ(all->size(), 6u);
    EXPECT_EQ((*all)[0].href, "file:///home/u/a.txt");
    EXPECT_EQ((*all)[0].mimeType, "text/plain");
    EXPECT_EQ((*all)[0].applications, std::vector<std::string>{"gedit"});
    EXPECT_EQ((*all)[3].href, "file:///home/u/x&y.pdf");
    EXPECT_TRUE((*all)[1].isFolder());

    const auto files = recent.count(RecentFiles::isFile);
    EXPECT_EQ(files.count, 4u);
    EXPECT_EQ(files.size, std::string("file:///home/u/a.txt").size() +
                              std::string("file:///home/u/b%20c.png").size() +
                              std::string("file:///home/u/x&y.pdf").size() +
                              std::string("file:///home/u/d.odt").size());
    const auto folders = recent.count(RecentFiles::isFolder);
    EXPECT_EQ(folders.count, 2u);
    EXPECT_EQ(folders.size, std::string("file:///home/u/Music").size() +
                                std::string("file:///home/u/Photos").size());
}

TEST_F(RecentFilesFixture, RemovingFilesKeepsTheFoldersInAWellFormedFile) {
    writeSample();
    EXPECT_EQ(recent.remove(RecentFiles::isFile), 4u);

    const auto text = readFile(file);
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(text.c_str()));
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
    EXPECT_NE(text.find("xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\""),
              std::string::npos);

    auto left = recent.read();
    ASSERT_TRUE(left);
    ASSERT_EQ(left->size(), 2u);
    EXPECT_EQ((*left)[0].href, "file:///home/u/Music");
    EXPECT_EQ((*left)[1].href, "file:///home/u/Photos");
    EXPECT_EQ((*left)[1].applications, std::vector<std::string>{"nautilus"});
    // The kept bookmarks keep all their metadata.
    auto app = doc.child("xbel")
                   .child("bookmark")
                   .child("info")
                   .child("metadata")
                   .child("bookmark:applications")
                   .child("bookmark:application");
    EXPECT_STREQ(app.attribute("exec").value(), "'nautilus %u'");
    EXPECT_STREQ(app.attribute("count").value(), "1");
    EXPECT_EQ(recent.count(RecentFiles::isFile).count, 0u);

    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms(0600));
    EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1); // no temp left
}

TEST_F(RecentFilesFixture, RemovingNothingDoesNotRewrite) {
    writeSample();
    const auto before = inode();
    EXPECT_EQ(recent.remove([](const RecentBookmark& b) { return b.href == "file:///none"; }), 0u);
    EXPECT_EQ(inode(), before);
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms(0644));
}

TEST_F(RecentFilesFixture, MissingMalformedOrLinkedFilesAreLeftAlone) {
    EXPECT_FALSE(recent.read());
    EXPECT_EQ(recent.count(RecentFiles::isFile).count, 0u);
    EXPECT_EQ(recent.remove(RecentFiles::isFile), 0u);
    EXPECT_FALSE(fs::exists(file));

    const std::vector<std::string> broken = {
        kHead + bookmark("file:///a", "text/plain", "gedit"), // never closed
        "<other>" + bookmark("file:///a", "text/plain", "gedit") + "</other>",
        kHead + "</xbel>\n<xbel/>",
        "not xml at all",
    };
    for (const auto& text : broken) {
        writeFile(file, text);
        EXPECT_FALSE(recent.read()) << text;
        EXPECT_EQ(recent.count(RecentFiles::isFile).count, 0u);
        EXPECT_EQ(recent.remove(RecentFiles::isFile), 0u);
        EXPECT_EQ(readFile(file), text);
    }

    fs::remove(file);
    const auto target = dir / "elsewhere.xbel";
    writeFile(target, kHead + bookmark("file:///a", "text/plain", "gedit") + "</xbel>\n");
    fs::create_symlink(target, file);
    EXPECT_FALSE(recent.read());
    EXPECT_EQ(recent.remove(RecentFiles::isFile), 0u);
    EXPECT_TRUE(fs::is_symlink(file));
}

// Damage pugixml alone lets through (an attribute given twice, bytes that are not UTF-8, an
// unknown entity, text after the root, another encoding) and damage it stops at (the end of the
// last tag cut off, a NUL): each file is left byte for byte as it was.
TEST_F(RecentFilesFixture, FilesPugixmlAcceptsLenientlyAreLeftByteForByte) {
    const std::string file1 = bookmark("file:///home/u/a.txt", "text/plain", "gedit");
    const std::string folder = bookmark("file:///home/u/Music", "inode/directory", "nautilus");
    const std::vector<std::pair<std::string, std::string>> broken = {
        {"last end tag cut", kHead + file1 + folder + "</xbel"},
        {"NUL before a folder", kHead + file1 + std::string(1, '\0') + folder + "</xbel>\n"},
        {"byte that is not UTF-8", kHead + file1 + "<!-- \xFF -->" + folder + "</xbel>\n"},
        {"attribute twice", kHead + "<bookmark href=\"file:///x\" href=\"file:///y\"/>" + file1 +
                                folder + "</xbel>\n"},
        {"unknown entity",
         kHead + "<bookmark href=\"file:///x&nbsp;\"/>" + file1 + folder + "</xbel>\n"},
        {"text after the root", kHead + file1 + folder + "</xbel>\ntrailing"},
        {"other encoding",
         "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<xbel>" + file1 + "</xbel>\n"},
    };
    for (const auto& [what, text] : broken) {
        writeFile(file, text);
        EXPECT_FALSE(recent.read()) << what;
        EXPECT_EQ(recent.remove(RecentFiles::isFile), 0u) << what;
        EXPECT_EQ(readFile(file), text) << what;
    }
}

// A few hundred deterministic mutants of a real file (a byte changed at evenly spread positions
// to a few values, and cuts at several lengths): every one is either left byte for byte, or
// rewritten into a well-formed xbel that holds exactly the folder bookmarks the mutant had.
TEST_F(RecentFilesFixture, MutantsAreLeftAloneOrRewrittenWholeKeepingTheFolders) {
    writeSample();
    const std::string good = readFile(file);
    std::vector<std::string> mutants;
    for (std::size_t at = 0; at < good.size(); at += 23)
        for (char c : {'\0', '<', '"', '&', '\xFF'}) {
            std::string m = good;
            m[at] = c;
            mutants.push_back(m);
        }
    for (std::size_t n = 0; n < good.size(); n += 37)
        mutants.push_back(good.substr(0, n));
    int rewritten = 0;
    for (const auto& m : mutants) {
        writeFile(file, m);
        std::vector<RecentBookmark> folders;
        if (auto before = recent.read())
            for (const auto& b : *before)
                if (b.isFolder())
                    folders.push_back(b);
        recent.remove(RecentFiles::isFile);
        const std::string after = readFile(file);
        if (after == m)
            continue;
        ++rewritten;
        std::string error;
        ASSERT_TRUE(core::plist::checkXml(after, &error)) << error;
        auto kept = recent.read();
        ASSERT_TRUE(kept);
        ASSERT_EQ(kept->size(), folders.size());
        for (std::size_t i = 0; i < folders.size(); ++i)
            EXPECT_EQ((*kept)[i].href, folders[i].href);
    }
    EXPECT_GT(rewritten, 0);
}

} // namespace
} // namespace tpc::platform
