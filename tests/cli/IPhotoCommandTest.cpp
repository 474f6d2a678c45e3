// `tpc iphoto scan` and `tpc iphoto clean` on fake libraries.

#include "TpcFixture.h"

#include "support/FakePhotoLibrary.h"
#include "support/Sql.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;

class TpcIPhoto : public Tpc {
protected:
    FakePhotoLibrary library{home / "Pictures/iPhoto Library"};

    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
        for (int key : {1, 2}) {
            FakePhoto photo;
            photo.key = key;
            photo.caption = "Beach " + std::to_string(key);
            photo.adjustments = {key == 1 ? 6000000.0 : 1000.0};
            library.add(photo);
        }
        library.write();
    }
    json iphoto(std::vector<std::string> args) {
        args.insert(args.begin(), "iphoto");
        args.push_back("--json");
        return jsonOf(run(args));
    }
};

TEST_F(TpcIPhoto, ScanShowsTheCategoriesOfTheDefaultLibrary) {
    const auto out = iphoto({"scan"});
    EXPECT_EQ(out["library"], library.path.string());
    EXPECT_EQ(out["status"], "Scan Complete");
    EXPECT_EQ(out["result"], "There is 6.00 KB occupied by hidden service copies of photos, "
                             "which cannot be deleted automatically by iPhoto");
    EXPECT_EQ(out["subtitle"], "(6.00 KB)");
    ASSERT_EQ(out["categories"].size(), 2u);
    const auto& cropped = out["categories"][0];
    EXPECT_EQ(cropped["name"], "Cropped");
    EXPECT_EQ(cropped["size"], 3000);
    EXPECT_EQ(cropped["items"], 1);
    EXPECT_EQ(cropped["selected"], 0);
    EXPECT_EQ(cropped["photos"][0],
              json({{"ImageKey", "1"},
                    {"Caption", "Beach 1"},
                    {"GUID", "GUID-1"},
                    {"ImagePath", library.imageOf(library.photos[0]).string()},
                    {"OriginalPath", library.originalOf(library.photos[0]).string()},
                    {"size", 3000},
                    {"sizeOriginal", 1000},
                    {"selected", 0}}));
    EXPECT_EQ(out["categories"][1]["name"], "Enhanced");
}

TEST_F(TpcIPhoto, CleanReplacesTheNamedPhotosAndShowsWhatRemains) {
    const auto out = iphoto({"clean", "--category", "Cropped"});
    EXPECT_EQ(out["status"], "Clean Complete");
    ASSERT_EQ(out["categories"].size(), 1u);
    EXPECT_EQ(out["categories"][0]["name"], "Enhanced");
    EXPECT_EQ(readFile(library.originalOf(library.photos[0])), library.photos[0].imageBytes);
    EXPECT_FALSE(fs::exists(library.imageOf(library.photos[0])));
    EXPECT_EQ(rows(library.database(), "PRAGMA integrity_check"), std::vector<std::string>{"ok"});

    const auto moved = dir / "Elsewhere/iPhoto Library";
    fs::create_directories(moved.parent_path());
    fs::rename(library.path, moved);
    const auto rest = iphoto({"clean", "--library", moved.string(), "--photo", "2"});
    EXPECT_EQ(rest["library"], moved.string());
    EXPECT_EQ(rest["result"], "All hidden service copies of photos removed");
    EXPECT_EQ(rest["categories"], json::array());
    EXPECT_EQ(readFile(moved / "Masters/2014/06/01/IMG_2.jpg"), library.photos[1].imageBytes);
}

TEST_F(TpcIPhoto, BadInputCleansNothing) {
    const auto before = readFile(library.albumFile());
    auto r = run({"iphoto", "clean"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("--category NAME, --photo KEY or --all"), std::string::npos) << r.err;
    r = run({"iphoto", "clean", "--category", "Blurred", "--photo", "9"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("\"Blurred\", \"9\""), std::string::npos) << r.err;
    r = run({"iphoto", "scan", "--library", (dir / "nowhere").string()});
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(readFile(library.albumFile()), before);
    EXPECT_TRUE(fs::exists(library.originalOf(library.photos[0])));

    // No default library: nothing to show, which is no error.
    fs::remove_all(library.path);
    const auto none = iphoto({"clean", "--all"});
    EXPECT_EQ(none["library"], nullptr);
    EXPECT_EQ(none["categories"], json::array());
}

} // namespace
} // namespace tpc::test
