#pragma once
// The engine on a fake home (linux layout), driven through the File Eraser page's engine.

#include "core/Keys.h"
#include "core/Record.h"
#include "eraser/EraserDriver.h"
#include "eraser/EraserList.h"
#include "support/EngineHarness.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test::eraser {

namespace fs = std::filesystem;
using Type = test::FrontendEvent::Type;

class EraserHarness : public EngineHarness<> {
public:
    explicit EraserHarness(Main kind = Main::Queue)
        : EngineHarness(core::Category::Shredder, kind) {
        fs::create_directories(files());
    }

    // Where the tests make the files they list.
    fs::path files() const { return dir.path() / "files"; }
    std::string at(const std::string& rel) const { return (files() / rel).string(); }

    controller::AppDelegate& start() { return EngineHarness::start(platform::Layout::Linux); }

    tpc::eraser::EraserDriver& driver() {
        return app->module<tpc::eraser::EraserModule>()->driver();
    }
    tpc::eraser::EraserList& list() { return app->module<tpc::eraser::EraserModule>()->list(); }
    core::ArrayRef rows() { return list().arrayFolders(); }

    // The open panel's confirmation, then every thread it started run to its end.
    tpc::eraser::EraserList::AddOutcome add(const std::vector<std::string>& paths) {
        auto outcome = driver().addPaths(paths);
        settle();
        return outcome;
    }
    void scan() {
        driver().buttonScanClicked(core::Sender::Button);
        settle();
    }
    void clean() {
        driver().buttonCleanClicked(core::Sender::Button);
        settle();
    }

    // The row listing `path`, or nullptr.
    core::DictRef row(const std::string& path) {
        const int at = list().findRow(path);
        return at < 0 ? nullptr : rows()->at(static_cast<std::size_t>(at)).dict();
    }
    std::vector<std::string> paths() {
        std::vector<std::string> out;
        for (const auto& r : rows()->dicts())
            out.push_back(core::path(r));
        return out;
    }

protected:
    // The root is the whole temporary folder, the listed files under it.
    void configure(platform::PlatformOptions& o) override { o.root = dir.path(); }
};

} // namespace tpc::test::eraser
