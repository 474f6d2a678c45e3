#include "platform/RecentFiles.h"

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

} // namespace
} // namespace tpc::platform
