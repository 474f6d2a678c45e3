// A user who may ask the helper to remove items keeps swapping a folder of the requested paths
// for a link to a folder they may not change. Whatever the timing, the helper must remove nothing
// there: the folder is checked when the request comes, and reached again without links when the
// removal runs.

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "helper/OperationTable.h"
#include "helper/Removal.h"
#include "helper/RequestHandler.h"
#include "support/FakeClock.h"
#include "support/TempDir.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <thread>

namespace tpc::test {
namespace {

namespace fs = std::filesystem;
namespace wire = erase::wire;

constexpr int kFiles = 300;
constexpr int kSwaps = 1000;

std::string name(int i) {
    return "f" + std::to_string(i);
}

std::map<std::string, std::size_t> hashes(const fs::path& folder) {
    std::map<std::string, std::size_t> out;
    for (const auto& entry : fs::directory_iterator(folder))
        out[entry.path().filename().string()] = std::hash<std::string>{}(readFile(entry.path()));
    return out;
}

TEST(FolderSwapRace, NothingIsRemovedThroughALinkSwappedIn) {
    TempDir tmp;
    // "victim" stands for a root-owned folder; "req/d" is where the requests point, and is
    // swapped with "req/alt", a link to the victim.
    for (int i = 0; i < kFiles; ++i) {
        writeFile(tmp / "victim" / name(i), "victim " + std::to_string(i) + std::string(200, 'v'));
        writeFile(tmp / "req/d" / name(i), "own " + std::to_string(i));
    }
    fs::create_directory_symlink(tmp / "victim", tmp / "req/alt");
    const auto before = hashes(tmp / "victim");
    ASSERT_EQ(before.size(), static_cast<std::size_t>(kFiles));

    test::FakeClock clock;
    core::SystemLog log(false);
    helper::OperationTable operations(clock);
    helper::RequestHandler handler(helper::RequestHandlerEnv{
        .operations = operations, .log = log, .remove = helper::deleterRemoval(clock, log)});

    const std::string d = (tmp / "req/d").string();
    const std::string alt = (tmp / "req/alt").string();
    std::atomic<int> sent{0};
    std::atomic<bool> swapsDone{false};
    int swapFailures = 0;
    std::thread swapper([&] {
        for (int k = 0; k < kSwaps; ++k) {
            if (::renameat2(AT_FDCWD, d.c_str(), AT_FDCWD, alt.c_str(), RENAME_EXCHANGE) != 0)
                ++swapFailures;
            // Each swap follows a request, while its removal is about to run.
            const int seen = sent.load();
            while (sent.load() == seen)
                std::this_thread::yield();
        }
        swapsDone.store(true);
    });

    int requests = 0;
    int started = 0;
    while (!swapsDone.load()) {
        const bool erase = requests % 2 == 1;
        wire::Message m = wire::requestMessage(erase ? "erase" : "delete");
        m.uuid = "RACE-" + std::to_string(requests);
        m.path = wire::pathData(d + "/" + name(requests % kFiles));
        if (erase)
            m.eraseOption = 1;
        const auto reply = handler.handle(m, "uid 1000 (pid 1)").reply;
        if (reply == helper::kBusyReply) {
            operations.waitIdle();
            continue;
        }
        started += reply == wire::kStarted;
        sent.store(++requests);
    }
    swapper.join();
    operations.waitIdle();

    EXPECT_EQ(swapFailures, 0);
    const auto after = hashes(tmp / "victim");
    int touched = 0;
    for (const auto& [file, hash] : before) {
        const auto now = after.find(file);
        touched += now == after.end() || now->second != hash;
    }
    EXPECT_EQ(touched, 0) << "of " << kFiles << " files behind the link, after " << requests
                          << " requests";
    // The requests did their work where the path really led: after an even number of swaps
    // "req/d" is the real folder again.
    ASSERT_FALSE(fs::is_symlink(tmp / "req/d"));
    EXPECT_GT(started, 0);
    EXPECT_LT(hashes(tmp / "req/d").size(), static_cast<std::size_t>(kFiles));
}

} // namespace
} // namespace tpc::test
