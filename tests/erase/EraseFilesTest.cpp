// Erasing listed items: folders depth first, links and hard links never overwritten through.
#include "erase/EraseHarness.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

namespace tpc::erase::test {
namespace {

namespace fs = std::filesystem;
using tpc::test::readFile;

class EraseFiles : public ::testing::Test {
protected:
    EraseHarness h;
    Deleter deleter = h.deleter();
};

TEST_F(EraseFiles, AFolderIsErasedDepthFirstEachFileBeforeItsFolder) {
    const fs::path root = fs::canonical(h.dir.path());
    h.makeFile("d/a", 1000);
    h.makeFile("d/.hidden", 10);
    h.makeFile("d/sub/b", 40000);
    h.makeFile("d/sub/deeper/c", 10);
    fs::create_directories(h.path("d/sub/empty"));

    std::vector<std::string> order;
    h.writer.after = [&](const WriterCall& c) {
        if (c.kind != WriterCall::Write || (!order.empty() && order.back() == c.file))
            return;
        for (const auto& earlier : order)
            EXPECT_FALSE(fs::exists(earlier)) << earlier << " removed before " << c.file;
        for (fs::path up = fs::path(c.file).parent_path(); up != root; up = up.parent_path())
            EXPECT_TRUE(fs::is_directory(up)) << up << " still there while " << c.file;
        order.push_back(c.file);
    };
    deleter.eraseFiles({h.path("d")});

    std::sort(order.begin(), order.end());
    EXPECT_EQ(order, (std::vector<std::string>{(root / "d/.hidden").string(),
                                               (root / "d/a").string(), (root / "d/sub/b").string(),
                                               (root / "d/sub/deeper/c").string()}));
    EXPECT_FALSE(fs::exists(h.path("d")));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(EraseFiles, LinksInsideAFolderGoAsLinksAndTheirTargetsStayIntact) {
    const auto file = h.makeFile("outside/file", 70000);
    const auto inner = h.makeFile("outside/dir/inner", 5000);
    h.makeFile("d/real", 100);
    fs::create_symlink(h.path("outside/file"), h.path("d/to-file"));
    fs::create_directory_symlink(h.path("outside/dir"), h.path("d/to-dir"));
    fs::create_symlink(h.path("nowhere"), h.path("d/dangling"));

    h.option = 7;
    deleter.deleteFiles({h.path("d")});

    EXPECT_FALSE(fs::exists(fs::symlink_status(h.path("d"))));
    EXPECT_EQ(readFile(h.path("outside/file")), file);
    EXPECT_EQ(readFile(h.path("outside/dir/inner")), inner);
    for (const auto& w : h.writer.writes())
        ASSERT_EQ(fs::path(w.file).filename(), "real") << "only the real file is written";
}

TEST_F(EraseFiles, ListedLinksGoAsLinksEvenWithATrailingSlash) {
    const auto file = h.makeFile("outside/file", 5000);
    const auto inner = h.makeFile("outside/dir/inner", 5000);
    fs::create_symlink(h.path("outside/file"), h.path("to-file"));
    fs::create_directory_symlink(h.path("outside/dir"), h.path("to-dir"));

    deleter.deleteFiles({h.path("to-file"), h.path("to-dir") + "/"});

    EXPECT_FALSE(fs::exists(fs::symlink_status(h.path("to-file"))));
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.path("to-dir"))));
    EXPECT_EQ(readFile(h.path("outside/file")), file);
    EXPECT_EQ(readFile(h.path("outside/dir/inner")), inner);
    EXPECT_TRUE(h.writer.calls.empty());
}

TEST_F(EraseFiles, AHardLinkedFileLosesOneNameAndKeepsItsBytes) {
    const auto content = h.makeFile("one/name", 70000);
    fs::create_directories(h.path("two"));
    fs::create_hard_link(h.path("one/name"), h.path("two/other"));

    deleter.eraseFiles({h.path("one")});

    EXPECT_FALSE(fs::exists(h.path("one")));
    EXPECT_EQ(readFile(h.path("two/other")), content);
    EXPECT_TRUE(h.writer.calls.empty());
    ASSERT_EQ(h.log.lines().size(), 1u);
    EXPECT_EQ(h.log.lines()[0],
              "Item has other names, removed without overwriting:" + h.path("one/name"));
}

TEST_F(EraseFiles, MissingPathsAreSkippedSilently) {
    h.makeFile("real", 10);
    deleter.eraseFiles({h.path("missing"), h.path("no/such/folder/item"), h.path("real")});
    EXPECT_FALSE(fs::exists(h.path("real")));
    EXPECT_TRUE(h.log.lines().empty());
    EXPECT_TRUE(h.helper.requests.empty());
}

TEST_F(EraseFiles, EmptyFilesFifosAndSocketsAreRemovedWithoutBeingOpened) {
    h.makeFile("empty", 0);
    ASSERT_EQ(mkfifo(h.path("fifo").c_str(), 0600), 0);
    WriteOpenWatch watch(h.dir.path());
    deleter.eraseFiles({h.path("empty"), h.path("fifo")});
    EXPECT_FALSE(fs::exists(h.path("empty")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.path("fifo"))));
    EXPECT_TRUE(watch.opened().empty());
}

TEST_F(EraseFiles, MethodsWithoutPatternsRemoveWithoutOpening) {
    h.makeFile("a", 5000);
    h.makeFile("b", 5000);
    WriteOpenWatch watch(h.dir.path());
    h.option = 9;
    deleter.eraseFiles({h.path("a")});
    h.option = -1;
    deleter.eraseFiles({h.path("b")});
    EXPECT_FALSE(fs::exists(h.path("a")));
    EXPECT_FALSE(fs::exists(h.path("b")));
    EXPECT_TRUE(watch.opened().empty());
}

TEST_F(EraseFiles, AbortMidFileLeavesItAndStopsTheList) {
    const auto later = h.makeFile("later", 100);
    h.makeFile("big", 3 * kBlockSize);
    h.option = 2;
    h.writer.after = [&](const WriterCall& c) {
        if (c.kind == WriterCall::Write)
            h.abort = true;
    };
    deleter.eraseFiles({h.path("big"), h.path("later")});
    EXPECT_TRUE(fs::exists(h.path("big"))) << "the partly overwritten file stays";
    EXPECT_EQ(fs::file_size(h.path("big")), 3 * kBlockSize);
    EXPECT_EQ(readFile(h.path("later")), later);
}

TEST_F(EraseFiles, AbortInsideAFolderLeavesTheFolderAndTheRestUntouched) {
    std::map<std::string, std::string> content;
    for (const char* name : {"a", "b", "c"})
        content[name] = h.makeFile(std::string("d/") + name, 100);
    h.writer.after = [&](const WriterCall&) {
        h.abort = true;
    };
    deleter.eraseFiles({h.path("d")});

    ASSERT_TRUE(fs::is_directory(h.path("d")));
    int intact = 0;
    for (const auto& [name, bytes] : content)
        intact += readFile(h.path("d/" + name)) == bytes;
    EXPECT_EQ(intact, 2) << "one file overwritten, the others never touched";
}

TEST_F(EraseFiles, AFailedRemovalIsLoggedAndTheListGoesOn) {
    h.makeFile("vanishing", 100);
    h.makeFile("next", 100);
    h.writer.after = [&](const WriterCall& c) {
        if (c.kind == WriterCall::Sync)
            fs::remove(h.path("vanishing")); // someone else removes it meanwhile
    };
    deleter.eraseFiles({h.path("vanishing"), h.path("next")});
    EXPECT_FALSE(fs::exists(h.path("next")));
    ASSERT_EQ(h.log.lines().size(), 1u);
    EXPECT_EQ(h.log.lines()[0], "Error removing item:" + h.path("vanishing") +
                                    ", error:No such file or directory, reason:Could not remove " +
                                    h.path("vanishing"));
}

TEST_F(EraseFiles, BadPathsAreLoggedAndNothingIsTouched) {
    const auto keep = h.makeFile("sub/keep", 10);
    deleter.eraseFiles({"", "tpc-no-such-relative-item", h.path("sub") + "/..",
                        h.path("sub") + "/.", std::string("/tmp\0/x", 7)});
    EXPECT_EQ(readFile(h.path("sub/keep")), keep);
    EXPECT_EQ(h.log.lines().size(), 5u);
    for (const auto& line : h.log.lines())
        EXPECT_NE(line.find(", error:Invalid argument, reason:Not an absolute path to an item"),
                  std::string::npos)
            << line;
    EXPECT_TRUE(h.writer.calls.empty());
}

} // namespace
} // namespace tpc::erase::test
