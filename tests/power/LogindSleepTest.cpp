// The linux layout's sleep prevention: the real sd-bus client takes and releases logind inhibitor
// locks from a stand-in logind on a private bus (a dbus-daemon of the test's own), and degrades
// to a logged "not held" without one.

#include "power/LogindSleep.h"
#include "core/SystemLog.h"
#include "presets/PresetsModule.h"
#include "support/EngineHarness.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace tpc::test {
namespace {

using power::LogindSleep;

constexpr const char* kWho = "Tavrin Privacy Cleaner";
constexpr const char* kWhy = "Tavrin Privacy App Cleaning...";

// A bus that accepts everyone and everything, and starts no services of its own.
std::string busConfig(const std::filesystem::path& socket) {
    return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n"
           "  <listen>unix:path=" +
           socket.string() +
           "</listen>\n"
           "  <auth>EXTERNAL</auth>\n"
           "  <policy context=\"default\">\n"
           "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
           "    <allow eavesdrop=\"true\"/>\n"
           "    <allow own=\"*\"/>\n"
           "  </policy>\n"
           "</busconfig>\n";
}

// A message bus of the test's own: a dbus-daemon listening on a socket in a temporary folder.
class PrivateBus {
public:
    // `address` stays empty when the daemon could not be started; `missing` tells whether that
    // is because dbus-daemon is not installed.
    explicit PrivateBus(const std::filesystem::path& dir) {
        writeFile(dir / "bus.conf", busConfig(dir / "bus"));
        int out[2];
        if (pipe2(out, O_CLOEXEC) < 0)
            return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 3);
        std::string config = "--config-file=" + (dir / "bus.conf").string();
        char* argv[] = {const_cast<char*>("dbus-daemon"), config.data(),
                        const_cast<char*>("--nofork"), const_cast<char*>("--print-address=3"),
                        nullptr};
        int err = posix_spawnp(&pid_, "dbus-daemon", &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        if (err != 0) {
            missing = err == ENOENT;
            pid_ = -1;
        }
        // The daemon prints its address once it listens; end-of-file means it gave up.
        char c;
        while (err == 0 && read(out[0], &c, 1) == 1 && c != '\n')
            address += c;
        close(out[0]);
    }
    ~PrivateBus() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }

    std::string address;
    bool missing = false;

private:
    pid_t pid_ = -1;
};

// A stand-in for logind's manager object, served with sd-bus on a thread of its own. Inhibit
// hands out one end of a pipe per lock and keeps the other, so a test sees a lock released when
// its end reads end-of-file.
class StandInLogind {
public:
    struct Lock {
        std::string what, who, why, mode;
        int heldEnd; // the end the stand-in keeps
    };

    explicit StandInLogind(const std::string& address) {
        static const sd_bus_vtable kManager[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("Inhibit", "ssss", "h", onInhibit, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_SIGNAL("PrepareForSleep", "b", 0), SD_BUS_VTABLE_END};
        int r = sd_bus_new(&bus_);
        if (r >= 0)
            r = sd_bus_set_address(bus_, address.c_str());
        if (r >= 0)
            r = sd_bus_set_bus_client(bus_, 1);
        if (r >= 0)
            r = sd_bus_start(bus_);
        if (r >= 0)
            r = sd_bus_add_object_vtable(bus_, nullptr, "/org/freedesktop/login1",
                                         "org.freedesktop.login1.Manager", kManager, this);
        if (r >= 0)
            r = sd_bus_request_name(bus_, "org.freedesktop.login1", 0);
        if (r < 0 || pipe2(wake_, O_CLOEXEC) < 0) {
            sd_bus_flush_close_unref(bus_);
            throw std::runtime_error("cannot serve the stand-in logind");
        }
        thread_ = std::thread([this] { serve(); });
    }
    ~StandInLogind() {
        char c = 1;
        (void)!write(wake_[1], &c, 1);
        thread_.join();
        sd_bus_flush_close_unref(bus_);
        close(wake_[0]);
        close(wake_[1]);
        for (const auto& lock : locks_)
            close(lock.heldEnd);
    }

    // Inhibit calls in this mode are refused with AccessDenied.
    void refuseMode(const std::string& mode) {
        std::lock_guard lock(mutex_);
        refused_ = mode;
    }
    std::vector<Lock> locks() {
        std::lock_guard lock(mutex_);
        return locks_;
    }
    void emitPrepareForSleep(bool start) {
        std::lock_guard lock(mutex_);
        sd_bus_emit_signal(bus_, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                           "PrepareForSleep", "b", static_cast<int>(start));
        sd_bus_flush(bus_);
    }
    // Whether the lock's other end was closed; `waitMs` bounds the wait for it.
    static bool released(const Lock& lock, int waitMs = 2000) {
        pollfd fd{lock.heldEnd, POLLIN, 0};
        char c;
        return poll(&fd, 1, waitMs) == 1 && read(lock.heldEnd, &c, 1) == 0;
    }

private:
    static int onInhibit(sd_bus_message* message, void* self, sd_bus_error* error) {
        auto& logind = *static_cast<StandInLogind*>(self);
        const char *what, *who, *why, *mode;
        int r = sd_bus_message_read(message, "ssss", &what, &who, &why, &mode);
        if (r < 0)
            return r;
        if (logind.refused_ == mode)
            return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "Permission denied");
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0)
            return -errno;
        logind.locks_.push_back({what, who, why, mode, ends[0]});
        r = sd_bus_reply_method_return(message, "h", ends[1]);
        close(ends[1]);
        return r;
    }
    void serve() {
        for (;;) {
            int events, busFd;
            {
                std::lock_guard lock(mutex_);
                while (sd_bus_process(bus_, nullptr) > 0) {
                }
                events = sd_bus_get_events(bus_);
                busFd = sd_bus_get_fd(bus_);
            }
            pollfd fds[2] = {{busFd, static_cast<short>(events), 0}, {wake_[0], POLLIN, 0}};
            if (events < 0 || poll(fds, 2, -1) < 0 || fds[1].revents != 0)
                return;
        }
    }

    std::mutex mutex_; // the bus and what the handler records
    sd_bus* bus_ = nullptr;
    std::vector<Lock> locks_;
    std::string refused_;
    int wake_[2] = {-1, -1};
    std::thread thread_;
};

// A log whose lines a test can wait for (the signal is heard on the backend's own thread).
class WatchedLog {
public:
    WatchedLog() {
        log.addSink([this](const std::string&) {
            std::lock_guard lock(mutex_);
            cv_.notify_all();
        });
    }
    bool waitFor(const std::string& prefix) {
        std::unique_lock lock(mutex_);
        return cv_.wait_for(lock, std::chrono::seconds(5), [&] { return count(prefix) > 0; });
    }
    std::size_t count(const std::string& prefix) const {
        const auto lines = log.lines();
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& l) { return l.rfind(prefix, 0) == 0; });
    }
    core::SystemLog log{false};

private:
    std::mutex mutex_;
    std::condition_variable cv_;
};

class LogindLocks : public ::testing::Test {
protected:
    void SetUp() override {
        bus = std::make_unique<PrivateBus>(dir.path());
        if (bus->missing)
            GTEST_SKIP() << "dbus-daemon is not installed (Debian package dbus-daemon): the logind "
                            "backend cannot be tested against a private bus";
        ASSERT_FALSE(bus->address.empty()) << "dbus-daemon did not start";
    }
    void startLogind() { logind = std::make_unique<StandInLogind>(bus->address); }

    TempDir dir;
    WatchedLog watched;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<StandInLogind> logind;
};

TEST_F(LogindLocks, BothOptionsTakeABlockAndADelayLockHeldThroughPrepareForSleep) {
    startLogind();
    LogindSleep backend(watched.log, bus->address);
    ASSERT_TRUE(backend.registerForSleep(true, true));
    auto locks = logind->locks();
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(locks[0].what, "sleep:idle");
    EXPECT_EQ(locks[0].mode, "block");
    EXPECT_EQ(locks[1].what, "sleep");
    EXPECT_EQ(locks[1].mode, "delay");
    for (const auto& lock : locks) {
        EXPECT_EQ(lock.who, kWho);
        EXPECT_EQ(lock.why, kWhy);
    }

    // The announced sleep is heard, and the delay lock is what keeps the system awake.
    logind->emitPrepareForSleep(true);
    ASSERT_TRUE(watched.waitFor("PrepareForSleep(true)"));
    for (const auto& lock : locks)
        EXPECT_FALSE(StandInLogind::released(lock, 0));

    backend.deregister();
    EXPECT_FALSE(backend.registered());
    for (const auto& lock : locks)
        EXPECT_TRUE(StandInLogind::released(lock));
}

TEST_F(LogindLocks, ARefusedLockIsLoggedAndTheOtherIsStillTaken) {
    startLogind();
    logind->refuseMode("block");
    LogindSleep backend(watched.log, bus->address);
    EXPECT_FALSE(backend.registerForSleep(true, true));
    EXPECT_FALSE(backend.holdsNormalLock());
    EXPECT_TRUE(backend.holdsForcedLock());
    EXPECT_EQ(watched.count("Sleep prevention not held: logind refused the sleep:idle block"), 1u);
    ASSERT_EQ(logind->locks().size(), 1u);

    // A second registration replaces the first: its lock is released, not left behind.
    auto first = logind->locks()[0];
    logind->refuseMode("");
    EXPECT_TRUE(backend.registerForSleep(true, false));
    EXPECT_TRUE(StandInLogind::released(first));
    EXPECT_FALSE(backend.holdsForcedLock());
    auto locks = logind->locks();
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(locks[1].mode, "block");
}

TEST_F(LogindLocks, WithoutLogindOnTheBusOneLineIsLoggedAndNothingIsHeld) {
    LogindSleep backend(watched.log, bus->address);
    EXPECT_FALSE(backend.registerForSleep(true, true));
    EXPECT_FALSE(backend.registered());
    EXPECT_EQ(watched.count("Sleep prevention not held"), 1u);
    backend.deregister();
}

// The program's own preset clean on the linux layout: the stand-in logind sees both locks taken
// when the clean starts and released when it ends.
TEST_F(LogindLocks, APresetCleanHoldsBothLocksForItsWholeRun) {
    startLogind();
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus->address.c_str(), 1);
    EngineHarness<> h(core::Category::Presets);
    auto& app = h.start(platform::Layout::Linux);
    app.general().preventNormalSleep(true);
    app.general().preventForcedSleep(true);
    h.flags().setChangesMade(false);
    h.clean();
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");

    const auto locks = logind->locks();
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(locks[0].mode, "block");
    EXPECT_EQ(locks[1].mode, "delay");
    for (const auto& lock : locks)
        EXPECT_TRUE(StandInLogind::released(lock));
    const auto power = h.frontend.eventsOf(FrontendEvent::Type::Power);
    ASSERT_EQ(power.size(), 2u);
    EXPECT_EQ(power[0].action, "register");
    EXPECT_TRUE(power[0].normal && power[0].forced);
    EXPECT_EQ(power[1].action, "deregister");
    EXPECT_EQ(h.frontend.resultText(), std::optional<std::string>("Cleaning Done"));
}

TEST(LogindWithoutBus, ANoBusIsLoggedAndTheCleanGoesOn) {
    TempDir dir;
    core::SystemLog log(false);
    LogindSleep backend(log, "unix:path=" + (dir / "no-bus").string());
    EXPECT_FALSE(backend.registerForSleep(true, true));
    EXPECT_FALSE(backend.registered());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("Sleep prevention not held: no system bus", 0), 0u);
}

} // namespace
} // namespace tpc::test
