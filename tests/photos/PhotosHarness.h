#pragma once
// The photo-library engine on a fake home: the whole application started headless, with running
// applications the test decides on, and a fake library in the home's Pictures folder.

#include "core/TaskFlags.h"
#include "erase/AccessChecker.h"
#include "photos/PhotoKeys.h"
#include "photos/PhotosDriver.h"
#include "photos/PhotosModule.h"
#include "platform/Services.h"
#include "support/EngineHarness.h"
#include "support/FakePhotoLibrary.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

namespace tpc::test::photos {

namespace fs = std::filesystem;
using tpc::photos::NewDir;
using tpc::photos::NewDirRef;
using tpc::photos::PhotosDriver;

// Answers whether the photo application runs as the test says.
class SettableRunningApps final : public platform::RunningApps {
public:
    bool isRunning(const std::string& bundleId) override {
        asked = bundleId;
        return running.load();
    }
    int terminate(const std::string&) override { return 0; }
    std::atomic<bool> running{false};
    std::string asked;
};

// Refuses the removal of one path, as when the user may not delete it (root passes every
// permission test, so the answer is made up).
class RefusingAccess final : public erase::AccessChecker {
public:
    explicit RefusingAccess(std::string refused) : refused_(std::move(refused)) {}
    bool canRemoveEntry(const std::string& path) const override { return path != refused_; }
    bool canWrite(const std::string& path) const override { return path != refused_; }

private:
    std::string refused_;
};

class PhotosHarness : public EngineHarness<AbortingFrontend> {
public:
    PhotosHarness() : EngineHarness(core::Category::IPhoto) { start(); }
    ~PhotosHarness() override { stop(); }

    PhotosDriver& driver() { return app->module<tpc::photos::PhotosModule>()->driver(); }
    fs::path pictures() const { return home() / "Pictures"; }
    // The library in the Pictures folder (written by the test).
    FakePhotoLibrary library{home() / "Pictures/iPhoto Library"};

    // The page's Scan and Clean buttons, run until their worker has ended (a clean may end
    // keeping its running flag).
    void scanLibrary(PhotosDriver* which = nullptr) {
        (which ? *which : driver()).buttonScanLibraryClicked(core::Sender::Button);
        serveUntil([this] { return app->tasks().idle(); });
    }
    void cleanLibrary(PhotosDriver* which = nullptr) {
        (which ? *which : driver()).buttonCleanLibraryClicked(core::Sender::Button);
        serveUntil([this] { return app->tasks().idle(); });
    }
    // The default library found, then scanned.
    void openAndScan() {
        driver().openPage();
        scanLibrary();
    }

    const tpc::photos::IPhotoPageState& page() { return driver().pageState(); }
    std::vector<std::string> rootNames() {
        std::vector<std::string> names;
        for (const auto& root : driver().results().roots())
            names.push_back(root->name);
        return names;
    }
    // The iPhoto button's subtitles, in order ("" for a cleared one).
    std::vector<std::string> subtitles() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(FrontendEvent::Type::Subtitle))
            if (e.button == core::MainButton::IPhoto)
                out.push_back(e.text.value_or(""));
        return out;
    }
    NewDirRef photo(int key) {
        for (const auto& root : driver().results().roots())
            for (const auto& p : root->photos())
                if (p->contents->getString(tpc::photos::keys::ImageKey) == std::to_string(key))
                    return p;
        return nullptr;
    }

    std::shared_ptr<SettableRunningApps> running = std::make_shared<SettableRunningApps>();

protected:
    void configure(platform::PlatformOptions& o) override { o.runningApps = running; }
};

} // namespace tpc::test::photos
