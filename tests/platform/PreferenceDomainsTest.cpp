#include "platform/PreferenceDomains.h"

#include "core/PropertyList.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::platform {
namespace {

namespace fs = std::filesystem;
using core::DictObj;
using core::Value;
using test::readFile;
using test::TempDir;
using test::writeFile;

struct PreferenceDomainsFixture : ::testing::Test {
    TempDir dir;
    PreferenceDomains prefs{dir / "Preferences"};
    fs::path file = dir / "Preferences/com.example.app.plist";

    fs::perms mode(const fs::path& p) const { return fs::status(p).permissions() & fs::perms::all; }
    ino_t inode(const fs::path& p) const {
        struct stat st {};
        EXPECT_EQ(::lstat(p.c_str(), &st), 0);
        return st.st_ino;
    }
    void writePlist(const Value& v, fs::perms perms) {
        fs::create_directories(file.parent_path());
        ASSERT_TRUE(core::plist::writeFileAtomically(file, core::plist::toBinary(v)));
        fs::permissions(file, perms);
    }
};

TEST_F(PreferenceDomainsFixture, DomainsNameFilesInTheFolder) {
    EXPECT_EQ(prefs.fileFor("com.example.app"), file);
    EXPECT_EQ(prefs.fileFor("com.example.app.plist"), file);
}

TEST_F(PreferenceDomainsFixture, WriteCreatesAPrivateBinaryFile) {
    ASSERT_TRUE(prefs.write("com.example.app", "Count", "0"));
    EXPECT_EQ(mode(file), fs::perms(0600));
    EXPECT_EQ(readFile(file).substr(0, 8), "bplist00");
    auto dict = prefs.read("com.example.app");
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->get("Count"), Value("0"));

    ASSERT_TRUE(prefs.dictAdd("com.example.app", "Hosts", "a.example", "1"));
    ASSERT_TRUE(prefs.dictAdd("com.example.app", "Hosts", "b.example", "2"));
    ASSERT_TRUE(prefs.dictAdd("com.example.app", "Count", "sub", "x")); // replaces the string
    dict = prefs.read("com.example.app");
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->get("Hosts"), Value(DictObj::make({{"a.example", "1"}, {"b.example", "2"}})));
    EXPECT_EQ(dict->get("Count"), Value(DictObj::make({{"sub", "x"}})));
}

TEST_F(PreferenceDomainsFixture, EditsKeepOtherKeysAndTheFileMode) {
    fs::create_directories(file.parent_path());
    writeFile(file,
              core::plist::toXml(Value(DictObj::make(
                  {{"Keep", 5}, {"Drop", "x"}, {"Nested", Value(DictObj::make({{"k", true}}))}}))));
    fs::permissions(file, fs::perms(0640));

    ASSERT_TRUE(prefs.deleteKey("com.example.app", "Drop"));
    EXPECT_EQ(mode(file), fs::perms(0640));
    EXPECT_EQ(readFile(file).substr(0, 8), "bplist00"); // XML in, binary out
    auto dict = prefs.read("com.example.app");
    ASSERT_TRUE(dict);
    EXPECT_EQ(*core::plist::readFile(file),
              Value(DictObj::make({{"Keep", 5}, {"Nested", Value(DictObj::make({{"k", true}}))}})));

    // Nothing to delete: the file is not rewritten.
    const auto before = inode(file);
    EXPECT_FALSE(prefs.deleteKey("com.example.app", "Drop"));
    EXPECT_EQ(inode(file), before);
    EXPECT_FALSE(prefs.deleteKey("com.example.other", "Drop"));
    EXPECT_FALSE(fs::exists(dir / "Preferences/com.example.other.plist"));
}

TEST_F(PreferenceDomainsFixture, WhatIsNotADictionaryFileIsNeverRewritten) {
    auto untouched = [&](const std::string& what) {
        const auto bytes = readFile(file);
        EXPECT_FALSE(prefs.read("com.example.app")) << what;
        EXPECT_FALSE(prefs.write("com.example.app", "K", "v")) << what;
        EXPECT_FALSE(prefs.dictAdd("com.example.app", "K", "s", "v")) << what;
        EXPECT_FALSE(prefs.deleteKey("com.example.app", "K")) << what;
        EXPECT_EQ(readFile(file), bytes) << what;
    };
    writePlist(Value(core::ArrayObj::make({"K"})), fs::perms(0644));
    untouched("array");
    writeFile(file, "K = v; garbage");
    untouched("garbage");

    fs::remove(file);
    const auto target = dir / "target.plist";
    writeFile(target, core::plist::toXml(Value(DictObj::make({{"K", "v"}}))));
    fs::create_symlink(target, file);
    untouched("link");
    EXPECT_TRUE(fs::is_symlink(file));

    fs::remove(file);
    fs::create_directory(file);
    EXPECT_FALSE(prefs.read("com.example.app"));
    EXPECT_FALSE(prefs.write("com.example.app", "K", "v"));
    EXPECT_TRUE(fs::is_directory(file));
}

// A preference file the reader cannot account for byte by byte (here the length of a string
// made larger, so that it runs into the next object) is never rewritten: libplist alone reads it
// and the edit would write back a different dictionary.
TEST_F(PreferenceDomainsFixture, StructurallyDamagedFileIsNeverRewritten) {
    writePlist(Value(DictObj::make({{"RecentDocuments", Value("gone")}, {"Keep", Value("me")}})),
               fs::perms(0600));
    std::string bytes = readFile(file);
    const auto at = bytes.find("\x52me"); // "me": ASCII string of two bytes
    ASSERT_NE(at, std::string::npos);
    bytes[at] = '\x53';
    writeFile(file, bytes);
    EXPECT_FALSE(prefs.read("com.example.app"));
    EXPECT_FALSE(prefs.deleteKey("com.example.app", "RecentDocuments"));
    EXPECT_FALSE(prefs.write("com.example.app", "K", "v"));
    EXPECT_EQ(readFile(file), bytes);
}

} // namespace
} // namespace tpc::platform
