// Every way the program removes files, run on targets full of what removal code trips over (see
// TortureTree.h), next to a victim tree that must come out of it unchanged: names, kinds, modes,
// contents and link targets. Then a race: a subfolder of the erased folder is swapped for a link
// to the victim, and back, while the erase runs.

#include "support/FakeClock.h"
#include "torture/TortureTree.h"

#include "apps/AppsHarness.h"
#include "browsers/BrowserLocations.h"
#include "browsers/CookieLists.h"
#include "browsers/ItemRunner.h"
#include "core/GeneralPrefs.h"
#include "core/Settings.h"
#include "erase/Deleter.h"
#include "eraser/EraserHarness.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"
#include "support/TempDir.h"
#include "system/SystemHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tpc::test::torture {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

// Runs `tpc` in the linux layout on `home`; its exit code.
int tpc(const fs::path& home, const Strings& args) {
    std::string cmd = quote(TPC_CLI_PATH) + " --layout linux --home " + quote(home.string());
    for (const auto& a : args)
        cmd += " " + quote(a);
    cmd += " </dev/null >/dev/null 2>&1";
    const int status = std::system(cmd.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Writes as the engine does but leaves out the flushes, which only cost time here.
class UnsyncedWriter final : public erase::BlockWriter {
public:
    ssize_t pwrite(int fd, const void* buf, std::size_t count, off_t offset) override {
        return ::pwrite(fd, buf, count, offset);
    }
    int fsync(int) override { return 0; }
};

erase::DeleterEnv unsynced(erase::DeleterEnv env, erase::BlockWriter& writer) {
    env.writer = &writer;
    return env;
}

// The deletion engine alone, with the erase setting of the test.
struct Engine {
    explicit Engine(std::int64_t option) : option(option) {}
    std::atomic<bool> abort{false};
    std::int64_t option;
    test::FakeClock clock;
    core::SystemLog log{false};
    UnsyncedWriter writer;
    erase::Deleter deleter{
        unsynced(erase::DeleterEnv{abort, [this] { return option; }, clock, log}, writer)};
};

class Torture : public ::testing::Test {
protected:
    TempDir dir;
    fs::path victim = dir / "victim";
    std::string victimBefore;

    void SetUp() override {
        buildVictim(victim);
        victimBefore = fingerprint(victim);
    }
    void TearDown() override {
        EXPECT_EQ(fingerprint(victim), victimBefore);
        unlock(dir.path());
    }

    // A new target, measured as the scans measure it: every entry but the folder itself, the
    // victim never (the unreadable folder's contents only where permissions do not apply).
    fs::path target(const fs::path& at) {
        buildTarget(at, victim);
        EXPECT_EQ(tpc::fs::measureTreeNoFollow(at.string()).count, leftovers(at).size());
        return at;
    }

    // What a removal must leave: nothing, or only the folder the current user cannot list, and
    // the target folder itself when only its contents were to go.
    void expectRemoved(const fs::path& root, bool keepsRoot) {
        const Strings allowed = permissionsApply() ? Strings{lockedName()} : Strings{};
        EXPECT_EQ(leftovers(root), allowed) << root;
        if (keepsRoot) {
            EXPECT_TRUE(tpc::fs::isFolderNoFollow(root)) << root;
        } else if (!permissionsApply()) {
            EXPECT_FALSE(tpc::fs::entryExists(root)) << root;
        }
        EXPECT_EQ(fingerprint(victim), victimBefore) << "after removing " << root;
    }
};

TEST_F(Torture, EveryDeleterEntryPointRemovesOnlyTheTarget) {
    {
        SCOPED_TRACE("deleteFiles, plain");
        Engine e(-1);
        e.deleter.deleteFiles({target(dir / "plain").string()});
        expectRemoved(dir / "plain", false);
    }
    {
        SCOPED_TRACE("deleteFiles, erase");
        Engine e(0);
        e.deleter.deleteFiles({target(dir / "erased").string()});
        expectRemoved(dir / "erased", false);
    }
    {
        SCOPED_TRACE("simpleDeleteFiles, each entry");
        Engine e(0);
        e.deleter.simpleDeleteFiles(tpc::fs::listFolderNoFollow(target(dir / "simple")));
        expectRemoved(dir / "simple", true);
    }
    {
        SCOPED_TRACE("eraseFiles, each entry");
        Engine e(3);
        e.deleter.eraseFiles(tpc::fs::listFolderNoFollow(target(dir / "each")));
        expectRemoved(dir / "each", true);
    }
}

class TortureEraser : public Torture, public ::testing::WithParamInterface<int> {};

TEST_P(TortureEraser, TheEraserCleanRemovesOnlyTheListedTargets) {
    tpc::test::eraser::EraserHarness h;
    const auto whole = target(h.files() / "whole");
    const auto contents = target(h.files() / "contents");
    h.start();
    h.app->general().matrixFileDeletionOptionsClicked(GetParam() + 1);
    EXPECT_EQ(h.add({whole.string(), contents.string()}).added, 2u);
    ASSERT_TRUE(h.list().setDeleteOption(h.list().findRow(contents.string()), true));
    h.scan();
    const auto items = std::to_string(2 * leftovers(whole).size()) + " items";
    EXPECT_NE(h.frontend.resultText().value_or("").find(items), std::string::npos)
        << h.frontend.resultText().value_or("") << " expected " << items;

    h.clean();
    expectRemoved(whole, false);
    expectRemoved(contents, true);
    unlock(h.dir.path());
}

// -1: plain removal; 1: a one-pass erase method (every pass is flushed to the disk).
INSTANTIATE_TEST_SUITE_P(Methods, TortureEraser, ::testing::Values(-1, 1));

TEST_F(Torture, TheEraserCleanThroughTpcRemovesOnlyTheListedTarget) {
    const auto home = dir / "home";
    fs::create_directories(home);
    const auto listed = target(dir / "listed");
    ASSERT_EQ(tpc(home, {"eraser", "add", listed.string()}), 0);
    ASSERT_EQ(tpc(home, {"settings", "set", "File Deletion Option", "1"}), 0);
    EXPECT_EQ(tpc(home, {"clean", "eraser"}), 0);
    expectRemoved(listed, false);
}

TEST_F(Torture, TheTrashAndDownloadsCleansEmptyOnlyTheirFolders) {
    tpc::test::sys::JunkFixture f(platform::Layout::Linux);
    const auto trash = f.platform.trash();
    const auto files = target(trash / "files");
    for (const auto& entry : tpc::fs::listFolderNoFollow(files))
        writeFile(trash / "info" / (fs::path(entry).filename().string() + ".trashinfo"),
                  "[Trash Info]\nPath=/x\n");
    EXPECT_EQ(f.count(system::kTrash).count, leftovers(files).size());
    f.clear(system::kTrash);
    expectRemoved(files, true);
    // Only the unreadable item keeps its info entry.
    EXPECT_EQ(leftovers(trash / "info"),
              permissionsApply() ? Strings{std::string(lockedName()) + ".trashinfo"} : Strings{});

    const auto downloads = target(f.platform.downloads());
    EXPECT_EQ(f.count(system::kUserDownloads).count, leftovers(downloads).size());
    f.clear(system::kUserDownloads);
    expectRemoved(downloads, true);
    unlock(f.dir.path());
}

TEST_F(Torture, TheChromiumCacheCleanEmptiesOnlyTheCacheFolder) {
    platform::PlatformOptions options;
    options.layout = platform::Layout::Linux;
    options.home = dir / "home";
    options.root = dir / "root";
    options.environment = std::map<std::string, std::string>{};
    platform::Platform platform(options);
    Engine e(0);
    core::Settings settings(dir / "settings", e.log, e.clock);
    browsers::CookieLists cookies(settings, e.log);
    browsers::ItemRunner chromium({platform, e.deleter, cookies, e.log},
                                  browsers::chromeFamilyDef(browsers::Browser::Chromium));

    const auto cache =
        target(browsers::BrowserLocations(platform).chromeCache(browsers::Browser::Chromium));
    EXPECT_EQ(static_cast<std::size_t>(chromium.count("Internet Cache")->count),
              leftovers(cache).size());
    chromium.remove("Internet Cache");
    expectRemoved(cache, true);
}

TEST_F(Torture, AnApplicationCacheCleanRemovesOnlyThatCache) {
    tpc::test::apps::AppsHarness h;
    h.start(platform::Layout::Linux);
    auto record = tpc::test::apps::record("org.torture.App");
    record->set(tpc::apps::keys::Cache, 1);
    const auto cache = target(h.caches() / "org.torture.App");
    EXPECT_EQ(static_cast<std::size_t>(h.traces().countAppDetailsToClear(record).count),
              leftovers(cache).size());
    h.traces().deleteAppData(record);
    expectRemoved(cache, false);

    // A cache that is a link goes as the link.
    auto linked = tpc::test::apps::record("org.linked.App");
    linked->set(tpc::apps::keys::Cache, 1);
    fs::create_directory_symlink(victim / "dir", h.caches() / "org.linked.App");
    EXPECT_EQ(h.traces().countAppDetailsToClear(linked).count, 1);
    h.traces().deleteAppData(linked);
    EXPECT_FALSE(tpc::fs::entryExists(h.caches() / "org.linked.App"));
    unlock(h.dir.path());
}

// The erased folder holds "swap", a real folder with files named as the victim's, and "link", a
// link to the victim's folder; a thread keeps exchanging the two names while the erase runs.
TEST_F(Torture, SwappingASubfolderForALinkDuringAnEraseNeverReachesTheVictim) {
    const auto names = victimDirNames();
    const std::size_t victimEntries = leftovers(victim / "dir").size();
    constexpr int kRounds = 150;
    int swapsSeen = 0;
    for (int round = 0; round < kRounds; ++round) {
        const auto root = dir / ("race" + std::to_string(round));
        for (int i = 0; i < 4; ++i)
            writeFile(root / "swap" / names[static_cast<std::size_t>(i)], "target");
        writeFile(root / "swap/deeper/n05", "target");
        writeFile(root / "before", "b");
        writeFile(root / "zafter", "z");
        fs::create_directory_symlink(victim / "dir", root / "link");
        // At most what the target holds, whichever way round the names are; a walk that meets the
        // real folder under both names while they are exchanged counts it twice, but never the 42
        // entries behind the link.
        const std::size_t most = leftovers(root).size() + leftovers(root / "swap").size();

        std::atomic<bool> done{false};
        std::atomic<int> swaps{0};
        std::thread swapper([&] {
            const auto a = (root / "swap").string();
            const auto b = (root / "link").string();
            while (!done.load())
                if (::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0)
                    swaps.fetch_add(1);
        });
        const int way = round % 4;
        if (way == 0) {
            EXPECT_LE(tpc::fs::measureTreeNoFollow(root.string()).count, most);
            EXPECT_LE(tpc::fs::measureFolderNoFollow(root.string()).count, most);
        }
        Engine e(way == 1 ? -1 : 0);
        if (way == 2)
            e.deleter.deleteFiles(tpc::fs::listFolderNoFollow(root));
        else
            e.deleter.deleteFiles({root.string()});
        done = true;
        swapper.join();
        swapsSeen += swaps.load();
        ASSERT_EQ(leftovers(victim / "dir").size(), victimEntries) << "round " << round;
    }
    EXPECT_GT(swapsSeen, 0);
}

} // namespace
} // namespace tpc::test::torture
