#pragma once
// The Extensions page's engine on a fake home and root: bundles with their information property
// lists made by the tests, a scripted session login-item list, and the lists read back by name.

#include "core/Keys.h"
#include "core/PropertyList.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskTexts.h"
#include "core/app/AppFixture.h"
#include "extensions/ExtensionsDriver.h"
#include "extensions/ExtensionsModule.h"
#include "support/EngineHarness.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tpc::test::ext {

namespace fs = std::filesystem;
using core::Value;

// The session's login items (taken out by prefix), read back as the paths they lead to.
class FakeSessionLoginItems final : public FakeLoginItems {
public:
    std::vector<std::string> resolvedItemPaths() override { return items; }
};

// Writes a property list (XML) made of `entries`.
inline void writePlist(const fs::path& file, const core::DictRef& entries) {
    writeFile(file, core::plist::toXml(Value(entries)));
}

// A bundle `path` whose "Contents/Info.plist" holds `info`.
inline void makeBundle(const fs::path& path, const core::DictRef& info) {
    writePlist(path / "Contents" / "Info.plist", info);
}

class ExtensionsHarness : public EngineHarness<> {
public:
    explicit ExtensionsHarness(Main kind = Main::Queue)
        : EngineHarness(core::Category::Ext, kind) {}

    fs::path library() const { return home() / "Library"; }
    fs::path system() const { return root() / "Library"; }
    void installApp(const std::string& name) {
        fs::create_directories(root() / "Applications" / (name + ".app"));
    }

    tpc::extensions::ExtensionsDriver& driver() {
        return app->module<tpc::extensions::ExtensionsModule>()->driver();
    }

    // The roots' titles, in list order.
    std::vector<std::string> titles() {
        std::vector<std::string> out;
        for (const auto& r : driver().list()->dicts())
            out.push_back(core::description(r));
        return out;
    }
    core::DictRef category(const std::string& title) {
        for (const auto& r : driver().list()->dicts())
            if (core::description(r) == title)
                return r;
        return nullptr;
    }
    // The item names of a category, in list order.
    std::vector<std::string> items(const std::string& title) {
        std::vector<std::string> out;
        if (auto root = category(title))
            for (const auto& i : core::subList(root)->dicts())
                out.push_back(core::description(i));
        return out;
    }
    core::DictRef item(const std::string& title, const std::string& name) {
        if (auto root = category(title))
            for (const auto& i : core::subList(root)->dicts())
                if (core::description(i) == name)
                    return i;
        return nullptr;
    }

    // Marks the named rows (as `tpc clean extensions --item` does) and cleans; the clean ends
    // with its own rescan.
    void cleanOnly(const std::vector<std::string>& names) {
        EXPECT_TRUE(driver().markOnly(names).empty());
        clean();
    }

    std::shared_ptr<FakeSessionLoginItems> loginItems = std::make_shared<FakeSessionLoginItems>();

protected:
    void configure(platform::PlatformOptions& o) override { o.loginItems = loginItems; }
};

} // namespace tpc::test::ext
