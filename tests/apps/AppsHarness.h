#pragma once
// The engine on a fake home and root for the Recents page, with recorded quits; applications are
// "installed" as bundles with an Info.plist (macos) or as desktop entries (linux).

#include "apps/AppCatalogue.h"
#include "apps/AppKeys.h"
#include "apps/AppTraces.h"
#include "apps/RecentsDriver.h"
#include "core/Keys.h"
#include "core/PropertyList.h"
#include "core/Record.h"
#include "support/EngineHarness.h"
#include "support/RecordingRunningApps.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace tpc::test::apps {

namespace fs = std::filesystem;
using core::DictObj;
using core::DictRef;
using core::Value;
namespace ak = tpc::apps::keys;
namespace ck = core::keys;

inline void writePlist(const fs::path& file, const DictRef& dict) {
    fs::create_directories(file.parent_path());
    const auto bytes = core::plist::toBinary(Value(dict));
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

inline DictRef readPlist(const fs::path& file) {
    auto v = core::plist::readFile(file);
    return v ? v->dict() : nullptr;
}

inline std::vector<std::string> names(const core::ArrayRef& list) {
    std::vector<std::string> out;
    for (const auto& r : list->dicts())
        out.push_back(core::description(r));
    return out;
}

class AppsHarness : public EngineHarness<test::RecordingFrontend> {
public:
    AppsHarness() : EngineHarness(core::Category::Recents) {}

    fs::path applications() const { return root() / "Applications"; }
    fs::path caches() const { return platform->caches(); }
    fs::path prefs() const { return platform->preferences(); }

    // A bundle "<folder>/<name>.app" with an Info.plist; an empty id leaves the key out.
    fs::path bundle(const std::string& name, const std::string& id, fs::path folder = {},
                    const std::string& version = "14.1.0", const std::string& signature = "XCEL") {
        const auto path = (folder.empty() ? applications() : folder) / (name + ".app");
        auto info = DictObj::make({{"CFBundleVersion", version}, {"CFBundleSignature", signature}});
        if (!id.empty())
            info->set("CFBundleIdentifier", id);
        writePlist(path / "Contents/Info.plist", info);
        return path;
    }

    tpc::apps::AppCatalogue& catalogue() {
        return app->module<tpc::apps::AppsModule>()->catalogue();
    }
    tpc::apps::AppTraces& traces() { return app->module<tpc::apps::AppsModule>()->traces(); }
    tpc::apps::RecentsDriver& driver() { return app->module<tpc::apps::AppsModule>()->driver(); }
    core::ArrayRef list() { return catalogue().arrayRecents(); }
    DictRef row(const std::string& name) {
        const int i = catalogue().findRow(name);
        return i < 0 ? nullptr : list()->at(static_cast<std::size_t>(i)).dict();
    }

    std::shared_ptr<RecordingRunningApps> running = std::make_shared<RecordingRunningApps>();

protected:
    void configure(platform::PlatformOptions& o) override { o.runningApps = running; }
};

// A record for the traces alone, every option off unless switched on after.
inline DictRef record(const std::string& id, const std::string& path = "/nowhere") {
    auto rec = tpc::apps::AppCatalogue::makeRecord(id, id, path, 0);
    for (const char* flag : ak::kOptionFlags)
        rec->set(flag, 0);
    return rec;
}

} // namespace tpc::test::apps
