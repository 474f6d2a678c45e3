#pragma once
// The engine on a fake home and root (macos layout unless asked) for the Browsers page, with fake
// running applications. Browsers are "installed" by making their application folders under the
// root.

#include "browsers/BrowserCleaners.h"
#include "browsers/BrowserDriver.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "support/EngineHarness.h"
#include "support/Sql.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::test::driver {

namespace fs = std::filesystem;
using test::FrontendEvent;
using Type = test::FrontendEvent::Type;

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

inline const char* kMozCookies =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', "
    "name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, "
    "creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER "
    "DEFAULT 0, sameSite INTEGER DEFAULT 0, rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER "
    "DEFAULT 0);";

class DriverHarness : public EngineHarness<> {
public:
    explicit DriverHarness(Main kind = Main::Queue)
        : EngineHarness(core::Category::Browsers, kind) {}

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

    browsers::BrowserDriver& driver() {
        return app->module<tpc::browsers::BrowsersModule>()->driver();
    }

    std::shared_ptr<RecordingApps> apps = std::make_shared<RecordingApps>();

protected:
    void configure(platform::PlatformOptions& o) override { o.runningApps = apps; }
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
