#pragma once
// The whole engine on a fake home and root (macos layout unless asked), with a recording front
// end, a fake clock and fake running applications, on either main thread: the queue the command
// line drains, or the immediate one. Browsers are "installed" by making their application folders
// under the root.

#include "browsers/BrowserCleaners.h"
#include "browsers/BrowserDriver.h"
#include "core/AppDelegate.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/RecordingFrontend.h"
#include "core/SizeText.h"
#include "core/SystemLog.h"
#include "platform/Platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::test::driver {

namespace fs = std::filesystem;
using core::FrontendEvent;
using Type = core::FrontendEvent::Type;

class RecordingApps final : public platform::RunningApps {
public:
    bool isRunning(const std::string&) override { return false; }
    int terminate(const std::string& bundleId) override {
        std::lock_guard lock(mutex_);
        terminated_.push_back(bundleId);
        return 1;
    }
    std::vector<std::string> terminated() const {
        std::lock_guard lock(mutex_);
        return terminated_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> terminated_;
};

// A recording front end that can press the progress sheet's abort button the moment a chosen
// status is shown, as a user would.
class AbortingFrontend final : public core::RecordingFrontend {
public:
    std::string abortOnStatus;
    void updateProgress(const core::ProgressMessage& message) override {
        RecordingFrontend::updateProgress(message);
        if (!abortOnStatus.empty() && message.status == abortOnStatus) {
            abortOnStatus.clear();
            pressAbortButton();
        }
    }
};

enum class Main { Queue, Immediate };

inline std::string mainName(const ::testing::TestParamInfo<Main>& info) {
    return info.param == Main::Queue ? "QueueMainThread" : "ImmediateMainThread";
}

// Runs statements on a database, creating it.
inline void sql(const fs::path& db, const std::string& text) {
    fs::create_directories(db.parent_path());
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(db.c_str(), &handle), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle, text.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(handle);
}

// The first column of every row of `query`.
inline std::vector<std::string> column(const fs::path& db, const std::string& query) {
    std::vector<std::string> out;
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(db.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(handle);
        return out;
    }
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(handle, query.c_str(), -1, &st, nullptr) == SQLITE_OK)
        while (sqlite3_step(st) == SQLITE_ROW) {
            auto text = sqlite3_column_text(st, 0);
            out.emplace_back(text ? reinterpret_cast<const char*>(text) : "NULL");
        }
    sqlite3_finalize(st);
    sqlite3_close(handle);
    return out;
}

inline const char* kMozCookies =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', "
    "name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, "
    "creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER "
    "DEFAULT 0, sameSite INTEGER DEFAULT 0, rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER "
    "DEFAULT 0);";

class DriverHarness {
public:
    explicit DriverHarness(Main kind = Main::Queue) : kind_(kind) {
        if (kind == Main::Queue)
            main_ = std::make_unique<core::QueueMainThread>();
        else
            main_ = std::make_unique<core::ImmediateMainThread>();
        fs::create_directories(home());
        fs::create_directories(root());
    }
    ~DriverHarness() { stop(); }

    fs::path home() const { return dir.path() / "home"; }
    fs::path root() const { return dir.path() / "root"; }
    // The default Firefox profile of the macos layout.
    fs::path firefoxProfile() const {
        return home() / "Library/Application Support/Firefox/Profiles/x.default";
    }

    void install(const std::string& browser) {
        fs::create_directories(root() / "Applications" / (browser + ".app"));
    }
    // A linux browser: its executable under the root.
    void installExecutable(const std::string& name) {
        const auto exe = root() / "usr/bin" / name;
        writeFile(exe, "#!/bin/sh\n");
        fs::permissions(exe, fs::perms::owner_all);
    }

    core::AppDelegate& start(platform::Layout layout = platform::Layout::MacOS) {
        platform::PlatformOptions o;
        o.layout = layout;
        o.home = home();
        o.root = root();
        o.environment = std::map<std::string, std::string>{};
        o.runningApps = apps;
        platform = std::make_unique<platform::Platform>(o);
        app = std::make_unique<core::AppDelegate>(
            core::AppServices{frontend, *main_, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = true});
        return *app;
    }

    browsers::BrowserDriver& driver() { return app->browserDriver(); }
    core::TaskFlags& flags() { return app->flags(); }

    // Presses a page button on the main thread and lets the task run to its end.
    void press(const std::function<void()>& button, core::TaskKind kind) {
        button();
        waitForTask(kind);
    }
    void scan() {
        press([this] { driver().buttonScanClicked(core::Sender::Button); }, Scan);
    }
    void clean() {
        press([this] { driver().buttonCleanClicked(core::Sender::Button); }, Clean);
    }

    void waitForTask(core::TaskKind kind) {
        auto done = [this, kind] {
            return !flags().running(core::Category::Browsers, kind) && app->tasks().idle();
        };
        if (kind_ == Main::Queue)
            static_cast<core::QueueMainThread&>(*main_).runUntil(done);
        else
            app->tasks().joinAll();
        ASSERT_TRUE(done());
    }

    // Winds the engine down (the workers' last main-thread requests still served).
    void stop() {
        if (!app)
            return;
        app->flags().abortAllOtherScansAndCleans();
        if (kind_ == Main::Queue)
            static_cast<core::QueueMainThread&>(*main_).runUntil(
                [this] { return app->flags().allScansAndCleansAborted() && app->tasks().idle(); });
        app->tasks().joinAll();
        app.reset();
    }

    // The progress statuses shown, in order.
    std::vector<std::string> statuses() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(Type::Progress))
            if (e.progress.status)
                out.push_back(*e.progress.status);
        return out;
    }
    std::uint64_t increments() const {
        std::uint64_t n = 0;
        for (const auto& e : frontend.eventsOf(Type::Progress))
            n += e.progress.increment.value_or(0);
        return n;
    }
    // The maxima the bar was given, in order.
    std::vector<std::uint64_t> maxima() const {
        std::vector<std::uint64_t> out;
        for (const auto& e : frontend.eventsOf(Type::Progress))
            if (e.progress.maxValue)
                out.push_back(*e.progress.maxValue);
        return out;
    }
    // Subtitles of the Browsers button, in order ("" for a cleared one).
    std::vector<std::string> subtitles() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(Type::Subtitle))
            if (e.button == core::MainButton::Browsers)
                out.push_back(e.text.value_or(""));
        return out;
    }

    static constexpr core::TaskKind Scan = core::TaskKind::Scan;
    static constexpr core::TaskKind Clean = core::TaskKind::Clean;

    TempDir dir;
    std::shared_ptr<RecordingApps> apps = std::make_shared<RecordingApps>();
    AbortingFrontend frontend;
    core::FakeClock clock{core::FakeClock::Mode::Auto};
    core::SystemLog log{false};
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<core::AppDelegate> app;

private:
    Main kind_;
    std::unique_ptr<core::MainThread> main_;
};

// A record's row by Description in a list (nullptr when absent).
inline core::DictRef row(const core::ArrayRef& list, const std::string& name) {
    if (!list)
        return nullptr;
    for (const auto& r : list->dicts())
        if (core::description(r) == name)
            return r;
    return nullptr;
}

inline std::vector<std::string> names(const core::ArrayRef& list) {
    std::vector<std::string> out;
    if (list)
        for (const auto& r : list->dicts())
            out.push_back(core::description(r));
    return out;
}

} // namespace tpc::test::driver
