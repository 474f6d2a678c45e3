// The settings store: one keyed archive per settings dictionary, unreadable files kept aside.

#include "core/Settings.h"
#include "core/Clock.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "support/FakeClock.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tpc::core {
namespace {

using test::FakeClock;

namespace fs = std::filesystem;
using test::namesIn;
using test::TempDir;

// FakeClock's default wall time, 1795000000 s after the Unix epoch, in UTC.
constexpr const char* kStamp = "20261118T110640Z";

bool logMentions(const SystemLog& log, const std::string& text) {
    for (const auto& line : log.lines())
        if (line.find(text) != std::string::npos)
            return true;
    return false;
}

DictRef generalDefaults() {
    return DictObj::make({{"presetName", Value("General")},
                          {"presetIndex", Value(-1)},
                          {"File Deletion Option", Value(-1)},
                          {"Prevent Normal Sleep", Value(0)},
                          {"Prevent Forced Sleep", Value(0)},
                          {"Prompt For Enabling System UI Elements", Value(true)}});
}

class SettingsTest : public ::testing::Test {
protected:
    TempDir home;
    fs::path folder = home / "Library/Application Support/Tavrin Software/Tavrin Privacy Cleaner";
    SystemLog log{false};
    FakeClock clock;
    Settings settings{folder, log, clock};
};

TEST_F(SettingsTest, FlushCreatesTheFolderAndLoadReadsItBack) {
    EXPECT_FALSE(settings.folderExists());
    EXPECT_EQ(settings.fileFor("General"), folder / "General.plist");
    auto general = generalDefaults();
    general->set("Schedule", Value(ArrayObj::make({Value(DictObj::make({{"Day", Value(3)}}))})));
    ASSERT_TRUE(settings.flushPresetData(general));
    EXPECT_TRUE(settings.folderExists());
    EXPECT_TRUE(settings.fileExists("General"));
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"General.plist"});

    // The file is a keyed archive.
    auto raw = plist::readFile(folder / "General.plist");
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->dict()->getString("$archiver"), "NSKeyedArchiver");

    auto loaded = settings.load("General");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    ASSERT_TRUE(loaded.dict);
    EXPECT_EQ(Value(loaded.dict), Value(general));
    EXPECT_EQ(loaded.dict->getInt("File Deletion Option"), -1);
    EXPECT_EQ(loaded.dict->get("Prompt For Enabling System UI Elements").kind(), Value::Kind::Bool);
    EXPECT_TRUE(loaded.keptAsidePath.empty());
}

TEST_F(SettingsTest, EveryChangeRewritesTheFile) {
    auto general = generalDefaults();
    ASSERT_TRUE(settings.flushPresetData(general));
    general->set("File Deletion Option", Value(4));
    ASSERT_TRUE(settings.flushPresetData(general));
    auto loaded = settings.load("General");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    EXPECT_EQ(loaded.dict->getInt("File Deletion Option"), 4);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"General.plist"});
}

TEST_F(SettingsTest, EachDictionaryNamesItsOwnFile) {
    auto presets = DictObj::make({{"presetName", Value("Presets")},
                                  {"presetIndex", Value(0)},
                                  {"Array Of Presets", Value::newArray()}});
    auto eraser = DictObj::make({{"presetName", Value("File Eraser")}});
    ASSERT_TRUE(settings.flushPresetData(presets));
    ASSERT_TRUE(settings.flushPresetData(eraser));
    ASSERT_TRUE(settings.flushPresetData(generalDefaults()));
    EXPECT_EQ(namesIn(folder),
              (std::vector<std::string>{"File Eraser.plist", "General.plist", "Presets.plist"}));
    auto loaded = settings.load("File Eraser");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    EXPECT_EQ(loaded.dict->getString("presetName"), "File Eraser");
}

TEST_F(SettingsTest, DictionaryWithoutAUsableNameIsNotSaved) {
    EXPECT_FALSE(settings.flushPresetData(nullptr));
    EXPECT_FALSE(settings.flushPresetData(DictObj::make({{"x", Value(1)}})));
    EXPECT_FALSE(settings.flushPresetData(DictObj::make({{"presetName", Value("")}})));
    EXPECT_FALSE(settings.flushPresetData(DictObj::make({{"presetName", Value(5)}})));
    EXPECT_FALSE(settings.flushPresetData(DictObj::make({{"presetName", Value("../escape")}})));
    EXPECT_FALSE(fs::exists(home / "escape.plist"));
    EXPECT_FALSE(fs::exists(folder) && !fs::is_empty(folder));
}

TEST_F(SettingsTest, MissingFileIsReportedMissingAndTheFolderIsCreated) {
    auto loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Missing);
    EXPECT_FALSE(loaded.dict);
    EXPECT_TRUE(settings.folderExists());
}

TEST_F(SettingsTest, PlainXmlAndBinarySettingsFilesAreRead) {
    auto dict = generalDefaults();
    ASSERT_TRUE(settings.ensureFolder());
    const std::string xml = plist::toXml(Value(dict));
    test::writeFile(folder / "General.plist", xml);
    auto loaded = settings.load("General");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    EXPECT_EQ(Value(loaded.dict), Value(dict));

    const auto bin = plist::toBinary(Value(dict));
    test::writeFile(folder / "Presets.plist", std::string(bin.begin(), bin.end()));
    loaded = settings.load("Presets");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    EXPECT_EQ(loaded.dict->getInt("presetIndex"), -1);
}

TEST_F(SettingsTest, GarbageIsKeptAsideWithATimestampAndNeverDeleted) {
    ASSERT_TRUE(settings.ensureFolder());
    test::writeFile(folder / "General.plist", "garbage \x01\x02\x03 not a plist");
    test::writeFile(folder / "Other.plist", "untouched");

    auto loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_FALSE(loaded.dict);
    const fs::path expected = folder / (std::string("General.plist.unreadable-") + kStamp);
    EXPECT_EQ(loaded.keptAsidePath, expected);
    EXPECT_EQ(test::readFile(expected), "garbage \x01\x02\x03 not a plist");
    EXPECT_FALSE(fs::exists(folder / "General.plist"));
    EXPECT_EQ(test::readFile(folder / "Other.plist"), "untouched");
    EXPECT_TRUE(logMentions(log, expected.string()));

    // The same second again: "-2", then "-3"; nothing is overwritten.
    test::writeFile(folder / "General.plist", "second");
    loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_EQ(loaded.keptAsidePath, fs::path(expected.string() + "-2"));
    test::writeFile(folder / "General.plist", "");
    loaded = settings.load("General");
    EXPECT_EQ(loaded.keptAsidePath, fs::path(expected.string() + "-3"));
    EXPECT_EQ(test::readFile(expected), "garbage \x01\x02\x03 not a plist");
    EXPECT_EQ(test::readFile(expected.string() + "-2"), "second");
    EXPECT_EQ(test::readFile(expected.string() + "-3"), "");
    EXPECT_EQ(namesIn(folder).size(), 4u);

    // Later, a new stamp.
    clock.advance(Clock::seconds(3600));
    test::writeFile(folder / "General.plist", "third");
    loaded = settings.load("General");
    EXPECT_EQ(loaded.keptAsidePath, folder / "General.plist.unreadable-20261118T120640Z");
}

TEST_F(SettingsTest, PropertyListThatIsNotADictionaryIsKeptAside) {
    ASSERT_TRUE(settings.ensureFolder());
    const auto arrayBytes = plist::toBinary(Value(ArrayObj::make({Value(1)})));
    test::writeFile(folder / "General.plist", std::string(arrayBytes.begin(), arrayBytes.end()));
    auto loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_TRUE(fs::exists(loaded.keptAsidePath));

    // A keyed archive whose root is an array.
    const auto archived = plist::encodeKeyedArchive(Value(ArrayObj::make({Value("x")})));
    test::writeFile(folder / "Presets.plist", std::string(archived.begin(), archived.end()));
    loaded = settings.load("Presets");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_EQ(loaded.keptAsidePath, folder / (std::string("Presets.plist.unreadable-") + kStamp));
}

TEST_F(SettingsTest, TruncatedArchiveIsKeptAside) {
    ASSERT_TRUE(settings.flushPresetData(generalDefaults()));
    const std::string whole = test::readFile(folder / "General.plist");
    test::writeFile(folder / "General.plist", whole.substr(0, whole.size() / 2));
    auto loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_EQ(test::readFile(loaded.keptAsidePath), whole.substr(0, whole.size() / 2));
    // The defaults can then be written again.
    ASSERT_TRUE(settings.flushPresetData(generalDefaults()));
    EXPECT_EQ(settings.load("General").status, Settings::LoadStatus::Loaded);
}

// The string length of "File Deletion Option"'s value's key enlarged by one byte: libplist
// alone reads the file and the key's value is lost; the whole file is kept aside instead.
TEST_F(SettingsTest, ArchiveWithOverlappingObjectsIsKeptAsideWhole) {
    ASSERT_TRUE(settings.flushPresetData(generalDefaults()));
    std::string bytes = test::readFile(folder / "General.plist");
    const std::string key = "File Deletion Option"; // 20 bytes: marker 0x5F, then 0x10 0x14
    const auto at = bytes.find(std::string("\x5F\x10\x14") + key);
    ASSERT_NE(at, std::string::npos);
    bytes[at + 2] = 0x15;
    test::writeFile(folder / "General.plist", bytes);

    auto loaded = settings.load("General");
    EXPECT_EQ(loaded.status, Settings::LoadStatus::Unreadable);
    EXPECT_EQ(test::readFile(loaded.keptAsidePath), bytes);
    EXPECT_FALSE(fs::exists(folder / "General.plist"));
}

// A path holding a byte that is not UTF-8 would be stored by libplist as another string (cut
// at the byte): nothing is written and the old file stays.
TEST_F(SettingsTest, TextThatCannotBeStoredUnchangedLeavesTheOldFile) {
    auto eraser = DictObj::make({{"presetName", Value("File Eraser")},
                                 {"Paths", Value(ArrayObj::make({Value("/home/u/ok")}))}});
    ASSERT_TRUE(settings.flushPresetData(eraser));
    const std::string before = test::readFile(folder / "File Eraser.plist");
    eraser->getArray("Paths")->append(Value("/home/u/a\xFF"
                                            "b"));
    EXPECT_FALSE(settings.flushPresetData(eraser));
    EXPECT_TRUE(logMentions(log, "Error saving settings file"));
    EXPECT_TRUE(logMentions(log, "a\\xFFb"));
    EXPECT_EQ(test::readFile(folder / "File Eraser.plist"), before);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"File Eraser.plist"});
}

// What kill -9 during a save leaves: ".<name>.plist.tmp-<pid>-<n>-<hex>". Only those of
// processes that are gone, only regular files, links never followed.
TEST_F(SettingsTest, StaleTemporariesOfDeadProcessesAreRemovedAndNothingElse) {
    ASSERT_TRUE(settings.ensureFolder());
    // A pid that no process has: a child that has been waited for.
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string dead = std::to_string(child);
    const std::string alive = std::to_string(::getppid());
    const std::string mine = std::to_string(::getpid());

    const std::vector<std::string> stale = {".Cookies.plist.tmp-" + dead + "-0-1a2b3c",
                                            ".File Eraser.plist.tmp-" + dead + "-17-ff"};
    const std::vector<std::string> kept = {
        ".Cookies.plist.tmp-" + alive + "-0-abc", // its writer is still running
        ".General.plist.tmp-" + mine + "-3-abc",  // ours
        ".General.plist.tmp-" + dead + "-x-abc",  // not the pattern
        "General.plist.tmp-" + dead + "-0-abc",   // no leading dot
        ".notes.txt.tmp-" + dead + "-0-abc",      // not a settings file
        ".Presets.plist.tmp-" + dead + "-0-ABC",  // upper-case stamp: not ours
        "General.plist",
    };
    for (const auto& name : stale)
        test::writeFile(folder / name, "partial");
    for (const auto& name : kept)
        test::writeFile(folder / name, "keep");
    // A link and a folder with the pattern's name: neither is ours, and the link's target stays.
    test::writeFile(home / "target", "target");
    fs::create_symlink(home / "target", folder / (".Link.plist.tmp-" + dead + "-0-abc"));
    fs::create_directory(folder / (".Dir.plist.tmp-" + dead + "-0-abc"));

    EXPECT_EQ(settings.removeStaleTemporaries(), stale.size());
    for (const auto& name : stale)
        EXPECT_FALSE(fs::exists(folder / name)) << name;
    for (const auto& name : kept)
        EXPECT_EQ(test::readFile(folder / name), "keep") << name;
    EXPECT_TRUE(fs::is_symlink(folder / (".Link.plist.tmp-" + dead + "-0-abc")));
    EXPECT_EQ(test::readFile(home / "target"), "target");
    EXPECT_TRUE(fs::is_directory(folder / (".Dir.plist.tmp-" + dead + "-0-abc")));
    EXPECT_TRUE(logMentions(log, "interrupted save"));
    EXPECT_EQ(settings.removeStaleTemporaries(), 0u);
}

TEST_F(SettingsTest, FolderThatCannotBeCreatedIsLoggedNotThrown) {
    test::writeFile(home / "Library", "a file where a folder should be");
    EXPECT_FALSE(settings.ensureFolder());
    EXPECT_TRUE(logMentions(log, "Error creating settings folder"));
    EXPECT_FALSE(settings.flushPresetData(generalDefaults()));
    EXPECT_EQ(settings.load("General").status, Settings::LoadStatus::Missing);
}

TEST_F(SettingsTest, FailedWriteKeepsTheOldFile) {
    auto general = generalDefaults();
    ASSERT_TRUE(settings.flushPresetData(general));
    const std::string before = test::readFile(folder / "General.plist");

    // Writes fail through a file-size limit (this works for root too).
    general->set("Big", Value(Data(64 * 1024, 0x55)));
    struct sigaction ignore {};
    struct sigaction previous {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(::sigaction(SIGXFSZ, &ignore, &previous), 0);
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit small = saved;
    small.rlim_cur = 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool ok = settings.flushPresetData(general);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::sigaction(SIGXFSZ, &previous, nullptr);

    EXPECT_FALSE(ok);
    EXPECT_TRUE(logMentions(log, "Error saving settings file"));
    EXPECT_EQ(test::readFile(folder / "General.plist"), before);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"General.plist"});
    auto loaded = settings.load("General");
    ASSERT_EQ(loaded.status, Settings::LoadStatus::Loaded);
    EXPECT_FALSE(loaded.dict->has("Big"));
}

TEST_F(SettingsTest, UnwritableFolderKeepsTheOldFile) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root ignores folder permissions (FailedWriteKeepsTheOldFile covers it)";
    auto general = generalDefaults();
    ASSERT_TRUE(settings.flushPresetData(general));
    const std::string before = test::readFile(folder / "General.plist");
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    general->set("File Deletion Option", Value(2));
    const bool ok = settings.flushPresetData(general);
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_FALSE(ok);
    EXPECT_EQ(test::readFile(folder / "General.plist"), before);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"General.plist"});
}

TEST_F(SettingsTest, SettingsFilesAreOnlyReadableByTheUser) {
    ASSERT_TRUE(settings.flushPresetData(generalDefaults()));
    struct stat st {};
    ASSERT_EQ(::stat((folder / "General.plist").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0077, 0u);
}

} // namespace
} // namespace tpc::core
