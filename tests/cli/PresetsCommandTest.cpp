// `tpc presets list|add|remove|add-item|remove-item|mark|mark-item|sort` on a fake home with
// Firefox installed.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

std::string nameOf(const json& record) {
    return record["Description Dictionary"]["Description"];
}

Names namesOf(const json& records) {
    Names out;
    for (const auto& r : records)
        out.push_back(nameOf(r));
    return out;
}

const json& subRecord(const json& record, const std::string& name) {
    for (const auto& r : record["Sub List Array"])
        if (nameOf(r) == name)
            return r;
    ADD_FAILURE() << name << " is not under " << nameOf(record);
    static const json none = json::object();
    return none;
}

class TpcPresets : public Tpc {
protected:
    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root / "Applications/Firefox.app");
    }

    json presets(std::vector<std::string> args) {
        args.insert(args.begin(), "presets");
        args.push_back("--json");
        return jsonOf(run(args));
    }
};

TEST_F(TpcPresets, AddedPresetsAreNamedByTheirCountAndTheBuiltInOneStays) {
    auto first = presets({"add"});
    ASSERT_EQ(namesOf(first["presets"]), (Names{"One Click Clean", "Preset #1"}));
    const auto& builtIn = first["presets"][0];
    EXPECT_EQ(builtIn["presetName"], "One Click Clean");
    EXPECT_EQ(namesOf(builtIn["Sub List Array"]), (Names{"Firefox", "Clean System Junk"}));
    EXPECT_EQ(first["presets"][1]["Sub List Array"], json::array());

    EXPECT_EQ(namesOf(presets({"add"})["presets"]),
              (Names{"One Click Clean", "Preset #1", "Preset #2"}));

    auto refused = run({"presets", "remove", "One Click Clean"});
    EXPECT_EQ(refused.code, 2);
    EXPECT_NE(refused.err.find("One Click Clean"), std::string::npos);
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1);
    EXPECT_EQ(run({"presets", "remove", "Preset #9"}).code, 2);

    auto removed = presets({"remove", "Preset #1"});
    ASSERT_EQ(namesOf(removed["presets"]), (Names{"One Click Clean", "Preset #2"}));
    EXPECT_EQ(removed["presets"][1]["Value For Default Sort"], 1);

    // Two presets: "Preset #2" is taken, so the next is "Preset #3".
    auto third = presets({"add"});
    ASSERT_EQ(namesOf(third["presets"]), (Names{"One Click Clean", "Preset #2", "Preset #3"}));
    EXPECT_EQ(third["presets"][2]["Value For Default Sort"], 2);
}

TEST_F(TpcPresets, ItemsAreAddedOnceAndMarkingWalksUpAndDown) {
    presets({"add"});
    auto added = presets({"add-item", "Preset #1", "browsers", "Firefox"});
    ASSERT_EQ(namesOf(added["Sub List Array"]), Names{"Firefox"});
    const auto& firefox = added["Sub List Array"][0];
    EXPECT_EQ(firefox["Size"], 0);
    EXPECT_EQ(firefox["Sub List Array"].size(), 10u);

    auto twice = run({"presets", "add-item", "Preset #1", "browsers", "Firefox", "--json"});
    EXPECT_NE(twice.err.find("nothing added"), std::string::npos);
    EXPECT_EQ(namesOf(jsonOf(twice)["Sub List Array"]), Names{"Firefox"});

    // The pop-ups never offer the built-in preset; unknown pages and rows are bad input.
    EXPECT_EQ(run({"presets", "add-item", "One Click Clean", "system", "Trash"}).code, 2);
    EXPECT_EQ(run({"presets", "add-item", "Preset #1", "browsers", "Opera"}).code, 2);

    auto junk = presets({"add-item", "Preset #1", "system", "Trash"});
    ASSERT_EQ(namesOf(junk["Sub List Array"]), (Names{"Firefox", "Clean System Junk"}));
    EXPECT_EQ(namesOf(subRecord(junk, "Clean System Junk")["Sub List Array"]), Names{"Trash"});

    // Unmarking the only marked item unmarks its category; marking it marks the category again.
    auto off = presets({"mark-item", "Preset #1", "Clean System Junk/Trash", "0"});
    EXPECT_EQ(subRecord(off, "Clean System Junk")["Mark"], 0);
    EXPECT_EQ(off["Mark"], 1);
    auto on = presets({"mark-item", "Preset #1", "Clean System Junk/Trash", "1"});
    EXPECT_EQ(subRecord(on, "Clean System Junk")["Mark"], 1);

    // A category's click reaches every item; one item marked marks its category.
    auto none = presets({"mark-item", "Preset #1", "Firefox", "0"});
    for (const auto& item : subRecord(none, "Firefox")["Sub List Array"])
        EXPECT_EQ(item["Mark"], 0) << nameOf(item);
    auto one = presets({"mark-item", "Preset #1", "Firefox/Cookies", "1"});
    EXPECT_EQ(subRecord(one, "Firefox")["Mark"], 1);
    EXPECT_EQ(subRecord(subRecord(one, "Firefox"), "Cookies")["Mark"], 1);
    EXPECT_EQ(subRecord(subRecord(one, "Firefox"), "Sessions")["Mark"], 0);
    EXPECT_EQ(run({"presets", "mark-item", "Preset #1", "Firefox/Stash", "1"}).code, 2);

    EXPECT_EQ(presets({"mark", "Preset #1", "0"})["Mark"], 0);

    // A category goes with its last item.
    auto left = presets({"remove-item", "Preset #1", "Clean System Junk/Trash"});
    EXPECT_EQ(namesOf(left["Sub List Array"]), Names{"Firefox"});

    auto byName = presets({"sort", "name"});
    EXPECT_EQ(namesOf(byName["presets"]), (Names{"One Click Clean", "Preset #1"}));
    auto reversed = presets({"sort", "name"});
    EXPECT_EQ(namesOf(reversed["presets"]), (Names{"Preset #1", "One Click Clean"}));
    EXPECT_EQ(reversed["presets"][0]["Sorted In Direction"], "Sorted Descending");
    auto sub = presets({"sort", "--sub", "One Click Clean", "name"});
    EXPECT_EQ(namesOf(sub["Sub List Array"]), (Names{"Clean System Junk", "Firefox"}));
    EXPECT_EQ(run({"presets", "sort", "colour"}).code, 2);
}

} // namespace
} // namespace tpc::test
