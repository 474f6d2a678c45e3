#include "helper/RequestHandler.h"
#include "support/FakeClock.h"

#include "core/SystemLog.h"
#include "helper/Removal.h"
#include "support/TempDir.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>

namespace tpc::test {
namespace {

namespace wire = erase::wire;
using helper::OperationTable;
using helper::RequestHandler;

struct Removal {
    std::string path;
    std::optional<std::uint64_t> method;
};

class RequestHandlerTest : public ::testing::Test {
protected:
    test::FakeClock clock;
    core::SystemLog log{false};
    std::mutex mutex;
    std::vector<Removal> removals;
    // While set, removals run until aborted.
    std::atomic<bool> slow{false};
    OperationTable operations{clock};
    RequestHandler handler{helper::RequestHandlerEnv{
        .operations = operations,
        .log = log,
        .remove =
            [this](const std::string& path, std::optional<std::uint64_t> method,
                   const std::atomic<bool>& abort) {
                while (slow.load() && !abort.load())
                    clock.sleepFor(core::Clock::seconds(0.01));
                std::lock_guard lock(mutex);
                removals.push_back({path, method});
            },
        // The fake clock moves whenever any thread sleeps: a limit far beyond what stopping takes.
        .abortWait = core::Clock::seconds(3600),
    }};

    std::string reply(const wire::Message& m) {
        auto r = handler.handle(m, "uid 1000 (pid 1)");
        EXPECT_TRUE(r.reply);
        EXPECT_FALSE(r.request);
        return r.reply.value_or("");
    }
    static wire::Message removal(const char* request, const std::string& uuid,
                                 const std::string& path,
                                 std::optional<std::uint64_t> option = std::nullopt) {
        wire::Message m = wire::requestMessage(request);
        m.uuid = uuid;
        m.path = wire::pathData(path);
        m.eraseOption = option;
        return m;
    }
    static wire::Message about(const char* request, const std::string& uuid) {
        wire::Message m = wire::requestMessage(request);
        m.uuid = uuid;
        return m;
    }
    bool loggedSomething(const std::string& part) const {
        for (const auto& line : log.lines())
            if (line.find(part) != std::string::npos)
                return true;
        return false;
    }
};

TEST_F(RequestHandlerTest, TestAndVersion) {
    EXPECT_EQ(reply(wire::requestMessage("test")), "ok");
    EXPECT_EQ(reply(wire::requestMessage("Get Version Number")), "1.0");
}

TEST_F(RequestHandlerTest, UnknownOrMissingRequestIsRefused) {
    EXPECT_EQ(reply(wire::requestMessage("format disk")), "refused");
    EXPECT_EQ(reply(wire::Message{}), "refused");
    EXPECT_TRUE(loggedSomething("unknown request"));
}

TEST_F(RequestHandlerTest, DeleteStartsAPlainRemoval) {
    TempDir tmp;
    const std::string path = (tmp / "item").string();
    EXPECT_EQ(reply(removal("delete", "U-1", path)), "started");
    operations.waitIdle();
    ASSERT_EQ(removals.size(), 1u);
    EXPECT_EQ(removals[0].path, path);
    EXPECT_FALSE(removals[0].method);
    // The path itself is not written to the log.
    for (const auto& line : log.lines())
        EXPECT_EQ(line.find(path), std::string::npos) << line;
}

TEST_F(RequestHandlerTest, PathThatIsNotUtf8IsRefusedAndShownEscaped) {
    EXPECT_EQ(reply(removal("delete", "U-8",
                            "/tmp/a\xFF"
                            "b")),
              "refused");
    operations.waitIdle();
    EXPECT_TRUE(removals.empty());
    EXPECT_TRUE(loggedSomething("for \"/tmp/a\\xFFb\" from uid 1000 (pid 1): the path is not "
                                "valid UTF-8"));
}

TEST_F(RequestHandlerTest, EraseCarriesItsMethod) {
    TempDir tmp;
    EXPECT_EQ(reply(removal("erase", "U-2", (tmp / "item").string(), 8)), "started");
    operations.waitIdle();
    ASSERT_EQ(removals.size(), 1u);
    EXPECT_EQ(removals[0].method, 8u);
}

TEST_F(RequestHandlerTest, BadRemovalsAreRefusedAndLogged) {
    TempDir tmp;
    const std::string good = (tmp / "item").string();
    EXPECT_EQ(reply(removal("delete", "U-3", "relative/item")), "refused");
    EXPECT_TRUE(loggedSomething("not an absolute path"));
    EXPECT_EQ(reply(removal("delete", "U-4", good + "/../x")), "refused");
    EXPECT_EQ(reply(removal("delete", "U-5", "/")), "refused");
    EXPECT_EQ(reply(removal("erase", "U-6", good)), "refused"); // no erase option
    EXPECT_TRUE(loggedSomething("no erase option"));
    EXPECT_EQ(reply(removal("delete", "bad uuid!", good)), "refused");
    EXPECT_EQ(reply(removal("delete", std::string(65, 'A'), good)), "refused");
    wire::Message noUuid = removal("delete", "x", good);
    noUuid.uuid.reset();
    EXPECT_EQ(reply(noUuid), "refused");
    wire::Message noPath = about("delete", "U-7");
    EXPECT_EQ(reply(noPath), "refused");
    wire::Message unterminated = removal("delete", "U-8", good);
    unterminated.path->pop_back();
    EXPECT_EQ(reply(unterminated), "refused");
    wire::Message innerZero = removal("delete", "U-9", good);
    innerZero.path->insert(innerZero.path->begin() + 2, 0);
    EXPECT_EQ(reply(innerZero), "refused");

    std::filesystem::create_directory(tmp / "real");
    std::filesystem::create_directory_symlink(tmp / "real", tmp / "link");
    EXPECT_EQ(reply(removal("delete", "U-10", (tmp / "link/item").string())), "refused");
    EXPECT_TRUE(loggedSomething("symbolic link"));

    operations.waitIdle();
    EXPECT_TRUE(removals.empty());
}

TEST_F(RequestHandlerTest, ReusedUuidIsRefused) {
    TempDir tmp;
    EXPECT_EQ(reply(removal("delete", "U-1", (tmp / "a").string())), "started");
    EXPECT_EQ(reply(removal("delete", "U-1", (tmp / "b").string())), "refused");
    operations.waitIdle();
    EXPECT_EQ(removals.size(), 1u);
}

TEST_F(RequestHandlerTest, OpsRunningSaysYesWhileRunningAndNoAfter) {
    TempDir tmp;
    EXPECT_EQ(reply(about("ops running", "nobody")), "no");
    EXPECT_EQ(reply(wire::requestMessage("ops running")), "no");
    slow.store(true);
    EXPECT_EQ(reply(removal("erase", "U-1", (tmp / "a").string(), 2)), "started");
    EXPECT_EQ(reply(about("ops running", "U-1")), "yes");
    slow.store(false);
    operations.waitIdle();
    EXPECT_EQ(reply(about("ops running", "U-1")), "no");
}

TEST_F(RequestHandlerTest, AbortStopsTheOperationThenSaysDone) {
    TempDir tmp;
    slow.store(true);
    EXPECT_EQ(reply(removal("erase", "U-1", (tmp / "a").string(), 8)), "started");
    EXPECT_EQ(reply(about("abort", "U-1")), "done");
    EXPECT_EQ(reply(about("ops running", "U-1")), "no");
    EXPECT_EQ(reply(about("abort", "unknown")), "done");
}

TEST_F(RequestHandlerTest, TooManyOperationsAreTurnedAway) {
    TempDir tmp;
    slow.store(true);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(reply(removal("delete", "U-" + std::to_string(i), (tmp / "a").string())),
                  "started");
    EXPECT_EQ(reply(removal("delete", "U-9", (tmp / "a").string())), "busy");
    operations.abortAll();
    operations.waitIdle();
}

TEST(HelperRemoval, DeletesAndErasesWithTheDeletionEngine) {
    TempDir tmp;
    test::FakeClock clock;
    core::SystemLog log(false);
    auto remove = helper::deleterRemoval(clock, log);
    std::atomic<bool> abort{false};

    writeFile(tmp / "plain", "some data");
    remove((tmp / "plain").string(), std::nullopt, abort);
    EXPECT_FALSE(std::filesystem::exists(tmp / "plain"));

    writeFile(tmp / "folder/inner/file", std::string(70000, 'x'));
    remove((tmp / "folder").string(), 2, abort);
    EXPECT_FALSE(std::filesystem::exists(tmp / "folder"));

    // A link is removed as a link; its target stays.
    writeFile(tmp / "target", "keep");
    std::filesystem::create_symlink(tmp / "target", tmp / "link");
    remove((tmp / "link").string(), 0, abort);
    EXPECT_FALSE(std::filesystem::is_symlink(tmp / "link"));
    EXPECT_EQ(readFile(tmp / "target"), "keep");
}

TEST(HelperRemoval, AbortedEraseLeavesTheFile) {
    TempDir tmp;
    test::FakeClock clock;
    core::SystemLog log(false);
    auto remove = helper::deleterRemoval(clock, log);
    std::atomic<bool> abort{true};
    writeFile(tmp / "file", std::string(100000, 'x'));
    remove((tmp / "file").string(), 8, abort);
    EXPECT_TRUE(std::filesystem::exists(tmp / "file"));
}

} // namespace
} // namespace tpc::test
