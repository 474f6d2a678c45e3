// Writes the seed corpora, one folder per fuzz target under the folder given, with the project's
// own writers: property lists (binary, XML, keyed archives), cookie files, recent-file lists,
// desktop entries, profiles.ini, user-dirs.dirs, helper frames and preference files.

#include "FuzzSupport.h"

#include "browsers/safari/BinaryCookies.h"
#include "core/PropertyList.h"
#include "erase/HelperWire.h"

#include <cstdio>
#include <limits>

namespace fs = std::filesystem;
namespace core = tpc::core;
namespace plist = tpc::core::plist;
namespace safari = tpc::browsers::safari;
namespace wire = tpc::erase::wire;
using tpc::fuzz::Bytes;

namespace {

fs::path out;

void seed(const std::string& target, const std::string& name, const Bytes& bytes) {
    if (bytes.empty()) {
        std::fprintf(stderr, "seed %s/%s came out empty\n", target.c_str(), name.c_str());
        std::exit(1);
    }
    fs::create_directories(out / target);
    tpc::fuzz::writeBytes(out / target / name, bytes);
}

void seed(const std::string& target, const std::string& name, const std::string& text) {
    seed(target, name, Bytes(text.begin(), text.end()));
}

core::Value sampleTree() {
    auto inner = core::DictObj::make({{"Name", "Caf\xc3\xa9 \xe2\x82\xac"},
                                      {"Count", 42},
                                      {"Negative", -7},
                                      {"Big", std::numeric_limits<std::uint64_t>::max()},
                                      {"Ratio", 0.25},
                                      {"On", true},
                                      {"Off", false},
                                      {"When", core::Date{700000000.5}},
                                      {"Bytes", core::Data{0, 1, 2, 0xff}}});
    auto list = core::ArrayObj::make({"one", 2, 3.5, core::Value(inner)});
    return core::Value(core::DictObj::make({{"Items", core::Value(list)},
                                            {"Inner", core::Value(inner)},
                                            {"Empty", core::Value::newDict()},
                                            {"", "empty key"}}));
}

void plistSeeds() {
    const core::Value values[] = {
        sampleTree(),
        core::Value(core::ArrayObj::make({"a", "b", core::Value::newArray()})),
        core::Value(core::DictObj::make({{"CF$UID", 3}})),
        core::Value(core::DictObj::make({{"NSHTTPCookieAcceptPolicy", 2}})),
        core::Value("just a string \xf0\x9f\x8d\xaa"),
    };
    int i = 0;
    for (const auto& v : values) {
        const auto n = std::to_string(i++);
        seed("fuzz_plist", "binary" + n, plist::toBinary(v));
        seed("fuzz_plist", "xml" + n, plist::toXml(v));
    }
    auto shared = core::Value(core::DictObj::make({{"k", "v"}}));
    auto root = core::DictObj::make({{"a", shared},
                                     {"b", shared},
                                     {"$dollar", 1},
                                     {"list", core::ArrayObj::make({shared, "x"})}});
    seed("fuzz_plist", "archive0", plist::encodeKeyedArchive(core::Value(root)));
    seed("fuzz_plist", "archive1", plist::encodeKeyedArchive(sampleTree()));
}

safari::Cookie cookie(const std::string& domain, const std::string& name, bool port) {
    safari::Cookie c;
    c.version = 0;
    c.flags = safari::Cookie::kSecure;
    c.domain = domain;
    c.name = name;
    c.path = "/";
    c.value = "value-of-" + name;
    c.expiry = 800000000;
    c.creation = 700000000;
    if (port) {
        c.hasPort = 1;
        c.port = 8443;
        c.comment = "a comment";
        c.commentURL = "https://" + domain + "/about";
    }
    return c;
}

void cookieSeeds() {
    auto empty = safari::CookieFile::create();
    seed("fuzz_binarycookies", "empty", safari::write(empty));
    auto one = safari::CookieFile::create();
    one.pages.push_back({{cookie(".example.com", "id", false)}});
    seed("fuzz_binarycookies", "one", safari::write(one));
    auto many = safari::CookieFile::create();
    many.pages.push_back({{cookie(".example.com", "id", false), cookie("ab.org", "s", true)}});
    many.pages.push_back({{cookie("kept.example", "k", true)}});
    seed("fuzz_binarycookies", "pages", safari::write(many));
}

void recentSeeds() {
    seed("fuzz_recent_files", "xbel", std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<xbel version="1.0"
      xmlns:bookmark="http://www.freedesktop.org/standards/desktop-bookmarks"
      xmlns:mime="http://www.freedesktop.org/standards/shared-mime-info"
>
  <!-- a comment -->
  <bookmark href="file:///home/user/report.pdf" added="2024-01-01T10:00:00Z" modified="2024-01-01T10:00:00Z" visited="2024-01-01T10:00:00Z">
    <info>
      <metadata owner="http://freedesktop.org">
        <mime:mime-type type="application/pdf"/>
        <bookmark:applications>
          <bookmark:application name="Document Viewer" exec="&apos;evince %u&apos;" modified="2024-01-01T10:00:00Z" count="1"/>
        </bookmark:applications>
      </metadata>
    </info>
  </bookmark>
  <bookmark href="file:///home/user/Pictures" added="2024-01-02T10:00:00Z">
    <info>
      <metadata owner="http://freedesktop.org">
        <mime:mime-type type="inode/directory"/>
        <bookmark:applications>
          <bookmark:application name="Files" exec="&apos;nautilus %u&apos;" count="2"/>
        </bookmark:applications>
      </metadata>
    </info>
  </bookmark>
</xbel>
)"));
    seed("fuzz_recent_files", "small",
         std::string("<xbel><bookmark href=\"a\"/><bookmark href=\"b\"><info><metadata "
                     "owner=\"http://freedesktop.org\"><mime:mime-type type=\"inode/directory\"/>"
                     "</metadata></info></bookmark></xbel>"));
}

void textSeeds() {
    seed("fuzz_desktop_entry", "app",
         std::string("# comment\n[Desktop Entry]\nType=Application\n"
                     "Name=Text\\sEditor\nExec=/usr/bin/gedit %U\n"
                     "Icon=gedit\n\n[Desktop Action new]\nName=New\n"));
    seed("fuzz_desktop_entry", "quoted",
         std::string("[Desktop Entry]\nType=Application\nName=Quoted\nExec=\"/opt/My "
                     "App/run\\\\\\\"x\" --flag %%f\nNoDisplay=false\n"));
    seed("fuzz_desktop_entry", "hidden",
         std::string("[Desktop Entry]\r\nType=Link\r\nHidden=true\r\nURL=https://example.org\r\n"));

    seed("fuzz_profiles_ini", "install",
         std::string("[Install4F96D1932A9F858E]\nDefault=Profiles/a1.default-release\n"
                     "Locked=1\n\n[Profile0]\nName=default\nIsRelative=1\n"
                     "Path=b2.default\nDefault=1\n\n[General]\nStartWithLastProfile=1\n"
                     "Version=2\n"));
    seed("fuzz_profiles_ini", "single",
         std::string("[General]\nStartWithLastProfile=1\n\n[Profile0]\nName=x\nIsRelative=0\n"
                     "Path=/tmp\n"));

    seed("fuzz_user_dirs", "dirs",
         std::string("# This file is written by xdg-user-dirs-update\n"
                     "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n"
                     "XDG_TEMPLATES_DIR=\"$HOME/\"\nXDG_PICTURES_DIR=\"/srv/pic\\\"s\"\n"
                     "  XDG_DOWNLOAD_DIR=${HOME}/Down\\ loads\n"));
}

void wireSeeds() {
    wire::Message erase = wire::requestMessage(wire::kErase);
    erase.eraseOption = 3;
    erase.uuid = "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";
    erase.path = wire::pathData("/home/user/secret file.txt");
    const wire::Message messages[] = {
        wire::requestMessage(wire::kTest),
        wire::requestMessage(wire::kGetVersionNumber),
        erase,
        wire::requestMessage(wire::kOpsRunning),
        wire::replyMessage(wire::kStarted),
        wire::replyMessage(wire::kRefused),
    };
    Bytes stream;
    int i = 0;
    for (const auto& m : messages) {
        const auto frame = wire::encode(m);
        seed("fuzz_helper_wire", "body" + std::to_string(i++),
             Bytes(frame.begin() + 4, frame.end()));
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    seed("fuzz_helper_wire", "stream", stream);
}

void preferenceSeeds() {
    const auto prefs = core::Value(
        core::DictObj::make({{"AppleLanguages", core::ArrayObj::make({"en", "fr"})},
                             {"NSNavLastRootDirectory", "~/Documents"},
                             {"Recents", core::DictObj::make({{"count", 3}, {"on", true}})}}));
    seed("fuzz_preference_domains", "binary", plist::toBinary(prefs));
    seed("fuzz_preference_domains", "xml", plist::toXml(prefs));
    seed("fuzz_preference_domains", "settings", plist::toBinary(sampleTree()));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    out = argv[1];
    plistSeeds();
    cookieSeeds();
    recentSeeds();
    textSeeds();
    wireSeeds();
    preferenceSeeds();
    return 0;
}
