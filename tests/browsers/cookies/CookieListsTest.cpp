// The cookie keep and delete lists: loading and creating the "Cookies" file, refusing cookie
// deletes when the keep lists cannot be read, refreshing, moving, searching, keeping by domain.

#include "browsers/CookieLists.h"
#include "core/Clock.h"
#include "core/PropertyList.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "support/FakeClock.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

using test::FakeClock;

namespace fs = std::filesystem;
using core::ArrayObj;
using core::DictObj;
using core::DictRef;
using core::Value;
using test::TempDir;
using Strings = std::vector<std::string>;

constexpr auto Safari = CookieBrowser::Safari;
constexpr auto Firefox = CookieBrowser::Firefox;
constexpr auto Chrome = CookieBrowser::Chrome;
constexpr auto Opera = CookieBrowser::Opera;

// FakeClock's default wall time, in UTC, as the store stamps kept-aside files.
constexpr const char* kStamp = "20261118T110640Z";

const Strings kAllKeys = {"Array Safari Cookies Disallowed",  "Array Safari Cookies Allowed",
                          "Array Firefox Cookies Disallowed", "Array Firefox Cookies Allowed",
                          "Array Chrome Cookies Disallowed",  "Array Chrome Cookies Allowed",
                          "Array Opera Cookies Disallowed",   "Array Opera Cookies Allowed"};

Value strings(const Strings& list) {
    auto array = ArrayObj::make();
    for (const auto& s : list)
        array->append(Value(s));
    return Value(array);
}

Strings stringsOf(const DictRef& dict, const std::string& key) {
    Strings out;
    if (auto array = dict->getArray(key))
        for (const auto& v : *array)
            out.push_back(v.toString("<not a string>"));
    return out;
}

class CookieListsTest : public ::testing::Test {
protected:
    TempDir home;
    fs::path folder = home / "settings/Tavrin Software/Tavrin Privacy Cleaner";
    fs::path file = folder / "Cookies.plist";
    core::SystemLog log{false};
    test::FakeClock clock;
    core::Settings settings{folder, log, clock};

    // A CookieLists over the same folder, loaded.
    std::unique_ptr<CookieLists> loaded() {
        auto lists = std::make_unique<CookieLists>(settings, log);
        lists->loadCookies();
        return lists;
    }

    // The file as a reader would see it.
    DictRef onDisk() const {
        auto v = core::plist::readSettingsFile(file);
        return v && v->isDict() ? v->dict() : nullptr;
    }

    void writeArchive(const Value& v) {
        ASSERT_TRUE(settings.ensureFolder());
        const auto bytes = core::plist::encodeKeyedArchive(v);
        test::writeFile(file, std::string(bytes.begin(), bytes.end()));
    }

    bool logMentions(const std::string& text) const {
        for (const auto& line : log.lines())
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    }

    std::vector<fs::path> keptAside() const {
        std::vector<fs::path> out;
        for (const auto& e : fs::directory_iterator(folder))
            if (e.path().filename().string().rfind("Cookies.plist.unreadable-", 0) == 0)
                out.push_back(e.path());
        return out;
    }
};

// ---- Loading and creating the file ---------------------------------------------------------

TEST_F(CookieListsTest, NoFolderCreatesTheFileWithEightEmptyLists) {
    ASSERT_FALSE(fs::exists(folder));
    auto lists = loaded();
    EXPECT_TRUE(lists->cookieDeletesAllowed());
    auto dict = onDisk();
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->getString("presetName"), "Cookies");
    EXPECT_EQ(dict->get("presetIndex").kind(), Value::Kind::Int);
    EXPECT_EQ(dict->getInt("presetIndex"), -2);
    EXPECT_EQ(dict->size(), 10u);
    for (const auto& key : kAllKeys) {
        ASSERT_TRUE(dict->getArray(key)) << key;
        EXPECT_TRUE(dict->getArray(key)->empty()) << key;
    }
    EXPECT_EQ(Value(lists->dict()), Value(dict));
    EXPECT_TRUE(log.lines().empty());
}

// The eight lists, empty, with `changes` applied.
DictRef fullDict(std::initializer_list<std::pair<const std::string, Value>> changes = {}) {
    auto dict = DictObj::make({{"presetName", Value("Cookies")}, {"presetIndex", Value(-2)}});
    for (const auto& key : kAllKeys)
        dict->set(key, strings({}));
    for (const auto& [key, value] : changes)
        dict->set(key, value);
    return dict;
}

TEST_F(CookieListsTest, ListsAreReadFromTheFileAndOtherKeysAreKept) {
    ASSERT_TRUE(settings.flushPresetData(
        fullDict({{"Array Firefox Cookies Allowed", strings({"kept.org", "b.com"})},
                  {"Array Chrome Cookies Disallowed", strings({"x.com", "y.com"})},
                  {"Unrelated", Value(true)}})));

    auto lists = loaded();
    EXPECT_TRUE(lists->cookieDeletesAllowed());
    EXPECT_EQ(lists->allowedActive(Firefox), (Strings{"kept.org", "b.com"}));
    EXPECT_EQ(lists->disAllowedActive(Chrome), (Strings{"x.com", "y.com"}));
    EXPECT_TRUE(lists->allowed(Opera).empty());

    ASSERT_TRUE(lists->save());
    auto back = onDisk();
    ASSERT_TRUE(back);
    EXPECT_EQ(stringsOf(back, "Array Chrome Cookies Disallowed"), (Strings{"x.com", "y.com"}));
    EXPECT_TRUE(back->getBool("Unrelated"));
    EXPECT_TRUE(keptAside().empty());
}

// A list that is missing or holds anything but domains cannot be known to be whole: read as
// far as it goes, a kept domain could be missing from it and its cookies deleted.
TEST_F(CookieListsTest, MissingOrDamagedListRefusesDeletesAndIsKeptAside) {
    const std::vector<std::pair<std::string, DictRef>> cases = {
        {"missing keep list",
         [] {
             auto d = fullDict({{"Array Firefox Cookies Disallowed", strings({"a.com"})}});
             d->remove("Array Firefox Cookies Allowed");
             return d;
         }()},
        {"not a list", fullDict({{"Array Opera Cookies Allowed", Value("not a list")}})},
        {"holds a number", fullDict({{"Array Chrome Cookies Disallowed",
                                      Value(ArrayObj::make({Value("x.com"), Value(7)}))}})},
    };
    for (const auto& [what, dict] : cases) {
        SCOPED_TRACE(what);
        fs::remove_all(folder);
        ASSERT_TRUE(settings.flushPresetData(dict));
        const std::string before = test::readFile(file);

        auto lists = loaded();
        EXPECT_FALSE(lists->cookieDeletesAllowed());
        ASSERT_EQ(keptAside().size(), 1u);
        EXPECT_EQ(test::readFile(keptAside()[0]), before);
        EXPECT_TRUE(logMentions("no cookies will be deleted"));
        // A fresh file with the eight lists takes its place.
        ASSERT_TRUE(onDisk());
        for (const auto& key : kAllKeys)
            EXPECT_TRUE(onDisk()->getArray(key)) << key;
    }
}

// One byte of the saved file changed: the length of the kept domain's string made larger, so
// that it runs into the next object. libplist alone reads such a file and loses the list.
TEST_F(CookieListsTest, StringLengthEnlargedInTheFileRefusesDeletes) {
    ASSERT_TRUE(settings.flushPresetData(
        fullDict({{"Array Firefox Cookies Allowed", strings({"kept.org"})}})));
    std::string bytes = test::readFile(file);
    const std::string marked = std::string(1, '\x58') + "kept.org"; // ASCII string of 8 bytes
    const auto at = bytes.find(marked);
    ASSERT_NE(at, std::string::npos);
    bytes[at] = '\x59';
    test::writeFile(file, bytes);

    auto lists = loaded();
    EXPECT_FALSE(lists->cookieDeletesAllowed());
    ASSERT_EQ(keptAside().size(), 1u);
    EXPECT_EQ(test::readFile(keptAside()[0]), bytes);
}

TEST_F(CookieListsTest, FileWithAnotherPresetNameIsStillSavedAsCookies) {
    // Without the fix the dictionary would be written over "General.plist".
    writeArchive(Value(fullDict(
        {{"presetName", Value("General")}, {"Array Safari Cookies Allowed", strings({"a.com"})}})));
    loaded()->keep(Safari, "b.com");
    EXPECT_FALSE(fs::exists(folder / "General.plist"));
    EXPECT_EQ(onDisk()->getString("presetName"), "Cookies");
    EXPECT_EQ(stringsOf(onDisk(), "Array Safari Cookies Allowed"), (Strings{"a.com", "b.com"}));
}

// ---- Unreadable keep lists: cookie deletes refused ----------------------------------------

TEST_F(CookieListsTest, UnreadableFileRefusesDeletesAndIsKeptAside) {
    const std::string garbage = "\x01\x02 this is not a property list \xff\xfe";
    test::writeFile(file, garbage);

    auto lists = loaded();
    EXPECT_FALSE(lists->cookieDeletesAllowed());

    const fs::path aside = folder / (std::string("Cookies.plist.unreadable-") + kStamp);
    EXPECT_EQ(keptAside(), std::vector<fs::path>{aside});
    EXPECT_EQ(test::readFile(aside), garbage);
    EXPECT_TRUE(logMentions("Cookie keep lists could not be read (kept aside as " + aside.string() +
                            "); no cookies will be deleted"));

    // A fresh, readable file takes its place; the lists work, but deletes stay refused.
    ASSERT_TRUE(onDisk());
    EXPECT_EQ(onDisk()->getInt("presetIndex"), -2);
    lists->refreshCookiesList(Chrome, {"a.com"});
    lists->keep(Chrome, "a.com");
    EXPECT_FALSE(lists->cookieDeletesAllowed());
    EXPECT_EQ(stringsOf(onDisk(), "Array Chrome Cookies Allowed"), Strings{"a.com"});
    EXPECT_EQ(test::readFile(aside), garbage);
}

TEST_F(CookieListsTest, FileHoldingNoDictionaryIsUnreadableToo) {
    writeArchive(strings({"a.com"}));
    EXPECT_FALSE(loaded()->cookieDeletesAllowed());
    EXPECT_EQ(keptAside().size(), 1u);
}

TEST_F(CookieListsTest, UnreadableFileThatCannotBeKeptAsideIsNeverWrittenOver) {
    const std::string garbage = "garbage that must survive";
    test::writeFile(file, garbage);
    // Every kept-aside name of this second is taken, so the store cannot move the file.
    const std::string base = (folder / "Cookies.plist.unreadable-").string() + kStamp;
    test::writeFile(base, "older");
    for (int n = 2; n <= 1000; ++n)
        test::writeFile(base + "-" + std::to_string(n), "older");

    auto lists = loaded();
    EXPECT_FALSE(lists->cookieDeletesAllowed());
    EXPECT_TRUE(logMentions("could not be kept aside"));
    EXPECT_EQ(test::readFile(file), garbage);

    lists->refreshCookiesList(Safari, {"a.com"});
    lists->keep(Safari, "b.com");
    lists->sendCookieToKeep(Safari, {0});
    EXPECT_FALSE(lists->save());
    EXPECT_EQ(test::readFile(file), garbage);
    // The lists still work in memory.
    EXPECT_EQ(lists->allowed(Safari), (Strings{"a.com", "b.com"}));
}

// ---- Refresh ------------------------------------------------------------------------------

TEST_F(CookieListsTest, RefreshStripsDotsListsEachDomainOnceSortedAndReplacesTheList) {
    EXPECT_EQ(CookieLists::stripLeadingDots("...a.com."), "a.com.");
    EXPECT_EQ(CookieLists::stripLeadingDots("..."), "");

    auto lists = loaded();
    lists->refreshCookiesList(Chrome, {"gone.net", "b.com"});
    lists->refreshCookiesList(Chrome, {".b.com", "b.com", "..b.com", "Zeta.io", "a.org", "A.com",
                                       "alpha.de", ".", "", "..."});
    EXPECT_EQ(lists->disAllowed(Chrome),
              (Strings{"A.com", "a.org", "alpha.de", "b.com", "Zeta.io"}));
    EXPECT_EQ(lists->disAllowedActive(Chrome), lists->disAllowed(Chrome));
    // Case differences are different domains (exact membership), stored without dots.
    EXPECT_TRUE(lists->disAllowedListContains(Chrome, "A.com"));
    EXPECT_FALSE(lists->disAllowedListContains(Chrome, "a.com"));
    EXPECT_FALSE(lists->disAllowedListContains(Chrome, ".b.com"));
    EXPECT_EQ(stringsOf(onDisk(), "Array Chrome Cookies Disallowed"), lists->disAllowed(Chrome));
}

TEST_F(CookieListsTest, KeptDomainDoesNotComeBackOnRefreshAndBrowsersHaveTheirOwnLists) {
    auto lists = loaded();
    lists->refreshCookiesList(Safari, {"a.com", ".b.com", "c.com"});
    lists->refreshCookiesList(Opera, {"o.com"});
    lists->sendCookieToKeep(Safari, {1});
    ASSERT_EQ(lists->allowed(Safari), Strings{"b.com"});
    lists->refreshCookiesList(Safari, {"a.com", ".b.com", "b.com", "c.com"});
    EXPECT_EQ(lists->disAllowed(Safari), (Strings{"a.com", "c.com"}));
    // The keep list is never rebuilt from the browser: still kept with no cookies left.
    lists->refreshCookiesList(Safari, {});
    EXPECT_TRUE(lists->disAllowed(Safari).empty());
    EXPECT_EQ(lists->allowed(Safari), Strings{"b.com"});
    // Another browser's keep list does not hide the domain.
    lists->refreshCookiesList(Firefox, {"b.com"});
    EXPECT_EQ(lists->disAllowed(Firefox), Strings{"b.com"});
    EXPECT_EQ(lists->disAllowed(Opera), Strings{"o.com"});
    EXPECT_TRUE(lists->allowed(Firefox).empty());
    EXPECT_TRUE(lists->disAllowed(Chrome).empty());
}

TEST_F(CookieListsTest, RefreshBeforeLoadingWritesNothing) {
    CookieLists lists(settings, log);
    lists.refreshCookiesList(Safari, {"a.com"});
    EXPECT_EQ(lists.disAllowed(Safari), Strings{"a.com"});
    EXPECT_FALSE(lists.dict());
    EXPECT_FALSE(lists.save());
    EXPECT_FALSE(fs::exists(file));
}

// ---- Search -------------------------------------------------------------------------------

TEST_F(CookieListsTest, SearchIsACaseInsensitiveSubstringInTheOrderOfTheList) {
    auto lists = loaded();
    lists->refreshCookiesList(Firefox, {"example.com", "shop.EXAMPLE.net", "other.org"});
    lists->searchCookiesToDelete(Firefox, "AMPL");
    EXPECT_EQ(lists->disAllowedActive(Firefox), (Strings{"example.com", "shop.EXAMPLE.net"}));
    lists->searchCookiesToDelete(Firefox, "Her.O");
    EXPECT_EQ(lists->disAllowedActive(Firefox), Strings{"other.org"});
    lists->searchCookiesToDelete(Firefox, "nothing");
    EXPECT_TRUE(lists->disAllowedActive(Firefox).empty());
    EXPECT_EQ(lists->deleteSearchText(Firefox), "nothing");
    EXPECT_EQ(lists->disAllowed(Firefox).size(), 3u); // the full list is untouched

    for (const char* d : {"c.com", "A.com", "b.com"})
        lists->keep(Opera, d);
    lists->searchCookiesToKeep(Opera, "b");
    EXPECT_EQ(lists->allowedActive(Opera), Strings{"b.com"});
    lists->searchCookiesToKeep(Opera, "");
    EXPECT_EQ(lists->allowedActive(Opera), (Strings{"A.com", "b.com", "c.com"}));
}

TEST_F(CookieListsTest, SearchStaysAppliedAcrossRefreshAndMoves) {
    auto lists = loaded();
    lists->searchCookiesToDelete(Chrome, "COM");
    lists->searchCookiesToKeep(Chrome, "net");
    lists->refreshCookiesList(Chrome, {"a.com", "b.net", "c.com", "d.net"});
    EXPECT_EQ(lists->disAllowedActive(Chrome), (Strings{"a.com", "c.com"}));

    // Row 1 of the filtered delete table is c.com, not b.net.
    lists->sendCookieToKeep(Chrome, {1});
    EXPECT_EQ(lists->disAllowed(Chrome), (Strings{"a.com", "b.net", "d.net"}));
    EXPECT_EQ(lists->allowed(Chrome), Strings{"c.com"});
    EXPECT_EQ(lists->disAllowedActive(Chrome), Strings{"a.com"});
    EXPECT_TRUE(lists->allowedActive(Chrome).empty()); // "net" hides c.com

    lists->sendCookieToKeep(Chrome, {0});
    lists->searchCookiesToDelete(Chrome, "");
    lists->sendCookieToKeep(Chrome, {1}); // d.net
    EXPECT_EQ(lists->allowed(Chrome), (Strings{"a.com", "c.com", "d.net"}));
    EXPECT_EQ(lists->allowedActive(Chrome), Strings{"d.net"});

    // Row 0 of the filtered keep table is d.net.
    lists->sendCookieToDelete(Chrome, {0});
    EXPECT_EQ(lists->disAllowed(Chrome), (Strings{"b.net", "d.net"}));
    EXPECT_EQ(lists->allowed(Chrome), (Strings{"a.com", "c.com"}));
}

// ---- Moving rows between the tables -------------------------------------------------------

TEST_F(CookieListsTest, MovesSortTheReceivingListAndPersist) {
    {
        auto lists = loaded();
        lists->keep(Firefox, "m.com");
        lists->refreshCookiesList(Firefox, {"d.com", "a.com", "C.com", "b.com"});
        // Nothing to move changes nothing.
        lists->sendCookieToKeep(Firefox, {});
        lists->sendCookieToDelete(Firefox, {7});
        EXPECT_EQ(lists->allowed(Firefox), Strings{"m.com"});
        // Rows in any order, repeated or missing rows are ignored.
        lists->sendCookieToKeep(Firefox, {3, 0, 3, 99});
        EXPECT_EQ(lists->disAllowed(Firefox), (Strings{"b.com", "C.com"}));
        EXPECT_EQ(lists->allowed(Firefox), (Strings{"a.com", "d.com", "m.com"}));
        lists->sendCookieToDelete(Firefox, {2, 1});
        EXPECT_EQ(lists->disAllowed(Firefox), (Strings{"b.com", "C.com", "d.com", "m.com"}));
        lists->sendCookieToKeep(Firefox, {1});
        EXPECT_EQ(lists->allowedActive(Firefox), (Strings{"a.com", "C.com"}));
        EXPECT_EQ(lists->disAllowedActive(Firefox), (Strings{"b.com", "d.com", "m.com"}));
    }
    auto reloaded = loaded();
    EXPECT_TRUE(reloaded->cookieDeletesAllowed());
    EXPECT_EQ(reloaded->allowedActive(Firefox), (Strings{"a.com", "C.com"}));
    EXPECT_EQ(reloaded->disAllowed(Firefox), (Strings{"b.com", "d.com", "m.com"}));
    EXPECT_TRUE(reloaded->allowed(Safari).empty());
}

// ---- Keep and unkeep by domain ------------------------------------------------------------

TEST_F(CookieListsTest, KeepAndUnkeepAddMoveOrLeaveAlone) {
    auto lists = loaded();
    lists->refreshCookiesList(Chrome, {"a.com", "b.com"});

    lists->keep(Chrome, "..new.org"); // on neither list: added, without dots
    lists->keep(Chrome, ".b.com");    // on the delete list: moved
    lists->keep(Chrome, "new.org");   // already kept: nothing
    lists->keep(Chrome, "...");       // nothing to keep
    EXPECT_EQ(lists->allowedActive(Chrome), (Strings{"b.com", "new.org"}));
    EXPECT_EQ(lists->disAllowedActive(Chrome), Strings{"a.com"});
    EXPECT_TRUE(lists->allowedListContains(Chrome, "b.com"));
    EXPECT_FALSE(lists->allowedListContains(Chrome, "B.com"));

    lists->unkeep(Chrome, ".new.org");  // on the keep list: moved
    lists->unkeep(Chrome, "fresh.net"); // on neither: added to the delete list
    lists->unkeep(Chrome, "a.com");     // already there: nothing
    EXPECT_EQ(lists->allowed(Chrome), Strings{"b.com"});
    EXPECT_EQ(lists->disAllowedActive(Chrome), (Strings{"a.com", "fresh.net", "new.org"}));

    EXPECT_EQ(stringsOf(onDisk(), "Array Chrome Cookies Disallowed"),
              (Strings{"a.com", "fresh.net", "new.org"}));
    EXPECT_EQ(stringsOf(onDisk(), "Array Chrome Cookies Allowed"), Strings{"b.com"});
}

TEST_F(CookieListsTest, CleanedHostLeavesTheDeleteList) {
    auto lists = loaded();
    lists->refreshCookiesList(Opera, {"a.com", "b.com", "c.com"});
    lists->searchCookiesToDelete(Opera, "b");
    lists->removeFromDeleteList(Opera, ".b.com");
    lists->removeFromDeleteList(Opera, "unknown.com");
    EXPECT_EQ(lists->disAllowed(Opera), (Strings{"a.com", "c.com"}));
    EXPECT_TRUE(lists->disAllowedActive(Opera).empty());
    EXPECT_EQ(stringsOf(lists->dict(), "Array Opera Cookies Disallowed"),
              (Strings{"a.com", "c.com"}));
    // Saved by the refresh that follows a clean.
    lists->refreshCookiesList(Opera, {"c.com"});
    EXPECT_EQ(stringsOf(onDisk(), "Array Opera Cookies Disallowed"), Strings{"c.com"});
}

} // namespace
} // namespace tpc::browsers
