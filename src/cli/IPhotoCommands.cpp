// `tpc iphoto scan [--library PATH]` and `tpc iphoto clean [--library PATH] [--category NAME]...
// [--photo KEY]... [--all]`: the iPhoto page's Scan, marks and Clean, run to their end.

#include "cli/Commands.h"

#include "cli/TaskRun.h"
#include "core/SizeText.h"
#include "core/Utf8.h"
#include "photos/PhotoKeys.h"
#include "photos/PhotosModule.h"

#include <filesystem>
#include <memory>
#include <sstream>

namespace tpc::cli {

namespace {

struct IPhotoArgs {
    std::string library;
    std::vector<std::string> categories;
    std::vector<std::string> photos;
    bool all = false;
};

nlohmann::json optionalText(const std::optional<std::string>& text) {
    return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

// A text key of a photo's record, or null when the record has none.
nlohmann::json recordText(const core::DictRef& record, const char* key) {
    const auto* text = record ? record->get(key).string() : nullptr;
    return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

nlohmann::json photoJson(const photos::NewDir& photo) {
    const auto& record = photo.contents;
    return {{"ImageKey", recordText(record, photos::keys::ImageKey)},
            {"Caption", recordText(record, photos::keys::Caption)},
            {"GUID", recordText(record, photos::keys::Guid)},
            {"ImagePath", recordText(record, photos::keys::ImagePath)},
            {"OriginalPath", recordText(record, photos::keys::OriginalPath)},
            {"size", photo.size},
            {"sizeOriginal", photo.sizeOriginal},
            {"selected", photo.selected}};
}

std::string readablePhotos(const photos::PhotosDriver& driver,
                           const std::optional<std::string>& subtitle) {
    std::ostringstream text;
    const auto& page = driver.pageState();
    if (const auto library = driver.chosenLibrary())
        text << "Library: " << core::displayText(library->string()) << "\n";
    else
        text << page.libraryName << "\n" << page.libraryLocation << "\n";
    if (!page.statusLine.empty())
        text << page.statusLine << "\n";
    if (!page.resultLine.empty())
        text << page.resultLine << "\n";
    for (const auto& root : driver.results().roots()) {
        text << (root->selected == 1   ? "[x] "
                 : root->selected == 0 ? "[ ] "
                                       : "[-] ")
             << root->name << "  " << core::getFormattedStringForSize(root->size) << "  ("
             << root->items << (root->items == 1 ? " photo)\n" : " photos)\n");
        for (const auto& photo : root->photos()) {
            const auto& record = photo->contents;
            text << "    " << (photo->selected == 1 ? "[x] " : "[ ] ")
                 << core::displayText(record->getString(photos::keys::ImageKey)) << "  "
                 << core::displayText(record->getString(photos::keys::Caption)) << "  "
                 << core::displayText(record->getString(photos::keys::OriginalPath)) << "  "
                 << core::getFormattedStringForSize(photo->size) << "\n";
        }
    }
    if (subtitle)
        text << "iPhoto: " << *subtitle << "\n";
    return text.str();
}

int printPhotoResult(Session& session, const photos::PhotosDriver& driver) {
    const auto subtitle = session.frontend().subtitle(core::MainButton::IPhoto);
    const auto library = driver.chosenLibrary();
    nlohmann::json categories = nlohmann::json::array();
    for (const auto& root : driver.results().roots()) {
        nlohmann::json photoList = nlohmann::json::array();
        for (const auto& photo : root->photos())
            photoList.push_back(photoJson(*photo));
        categories.push_back({{"name", root->name},
                              {"size", root->size},
                              {"items", root->items},
                              {"sizeSelected", root->sizeSelected},
                              {"itemsSelected", root->itemsSelected},
                              {"selected", root->selected},
                              {"photos", photoList}});
    }
    const nlohmann::json result = {
        {"library", library ? nlohmann::json(library->string()) : nlohmann::json(nullptr)},
        {"status", driver.pageState().statusLine},
        {"result", driver.pageState().resultLine},
        {"subtitle", optionalText(subtitle)},
        {"categories", categories},
    };
    session.print(result, readablePhotos(driver, subtitle));
    return 0;
}

// The library named by --library (a folder that must exist), else the default one.
photos::PhotosDriver& chooseLibrary(Session& session, const std::string& given) {
    auto& driver = session.module<photos::PhotosModule>().driver();
    if (given.empty()) {
        driver.openPage();
        return driver;
    }
    std::error_code ec;
    const auto library = std::filesystem::absolute(given, ec).lexically_normal();
    if (ec || !std::filesystem::is_directory(library, ec))
        throw UsageError("the library \"" + core::displayText(given) + "\" is not a folder");
    driver.clearIPhotoScanResults();
    driver.libraryChosen(library);
    return driver;
}

// One button of the page, run until its worker has ended. A clean that finds its album file
// unreadable ends as a failed scan ends and keeps its running flag, so the end is the worker's.
void runPhotoTask(Session& session, const std::function<void()>& press) {
    runTaskToEnd(session, press, [] { return true; });
}

int scan(Session& session, const IPhotoArgs& args) {
    auto& driver = chooseLibrary(session, args.library);
    if (driver.chosenLibrary())
        runPhotoTask(session, [&driver] { driver.buttonScanLibraryClicked(core::Sender::Button); });
    return printPhotoResult(session, driver);
}

int clean(Session& session, const IPhotoArgs& args) {
    if (!args.all && args.categories.empty() && args.photos.empty())
        throw UsageError("iphoto clean cleans only what is named: give --category NAME, "
                         "--photo KEY or --all");
    auto& driver = chooseLibrary(session, args.library);
    if (!driver.chosenLibrary())
        return printPhotoResult(session, driver);
    runPhotoTask(session, [&driver] { driver.buttonScanLibraryClicked(core::Sender::Button); });
    // A library that failed its checks, or a scan cut short, is not cleaned.
    if (driver.pageState().statusLine != photos::texts::ScanComplete)
        return printPhotoResult(session, driver);

    if (args.all) {
        driver.results().markAllIPhoto(true);
    } else if (auto unknown = driver.markForClean(args.categories, args.photos); !unknown.empty()) {
        std::string names;
        for (const auto& name : unknown)
            names += (names.empty() ? "\"" : ", \"") + core::displayText(name) + "\"";
        throw UsageError("no category or photo " + names + " in the scan's results");
    }
    if (driver.results().selectedTotals().items > 0)
        runPhotoTask(session,
                     [&driver] { driver.buttonCleanLibraryClicked(core::Sender::Button); });
    return printPhotoResult(session, driver);
}

} // namespace

void addIPhotoCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<IPhotoArgs>();
    auto* iphoto =
        app.add_subcommand("iphoto", "Hidden service copies of photos in an iPhoto library");
    iphoto->require_subcommand(1);

    auto* scanCmd = iphoto->add_subcommand("scan", "Scan the library as the page's Scan does");
    scanCmd->add_option("--library", args->library,
                        "the library folder (default: the one in the Pictures folder)");
    scanCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return scan(s, *args);
        };
    });

    auto* cleanCmd = iphoto->add_subcommand(
        "clean", "Scan, mark the named categories or photos, clean them and show what remains");
    cleanCmd->add_option("--library", args->library,
                         "the library folder (default: the one in the Pictures folder)");
    auto* category = cleanCmd->add_option("--category", args->categories,
                                          "every photo of this category (\"Cropped, Rotated\")");
    auto* photo = cleanCmd->add_option("--photo", args->photos, "the photo of this ImageKey");
    auto* all = cleanCmd->add_flag("--all", args->all, "every photo found");
    category->excludes(all);
    photo->excludes(all);
    cleanCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return clean(s, *args);
        };
    });
}

} // namespace tpc::cli
