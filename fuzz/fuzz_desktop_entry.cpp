// Desktop entries: the key-file parser, the string and Exec rules, and reading an entry from an
// applications folder. The Exec program must survive being written back as an Exec value.

#include "FuzzSupport.h"

#include "platform/DesktopApps.h"
#include "platform/DesktopExec.h"
#include "platform/KeyFile.h"
#include "platform/Platform.h"

#include <memory>

namespace platform = tpc::platform;
using namespace tpc::fuzz;

namespace {

platform::Platform& fakePlatform() {
    static std::unique_ptr<platform::Platform> p = [] {
        platform::PlatformOptions options;
        options.layout = platform::Layout::Linux;
        options.home = scratchFolder() / "home";
        options.root = scratchFolder() / "root";
        options.environment.emplace();
        std::filesystem::create_directories(*options.home / ".local/share/applications/sub");
        return std::make_unique<platform::Platform>(options);
    }();
    return *p;
}

bool trimmed(const std::string& s) {
    return s.empty() ||
           (s.find_first_of(" \t\r\n") != 0 && s.find_last_of(" \t\r\n") != s.size() - 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto keys = platform::KeyFile::parse(text);
    for (const auto& group : keys.groups()) {
        check(group.name.find('\n') == std::string::npos, "a group name spans lines");
        check(keys.group(group.name) != nullptr, "a group cannot be found by its name");
        for (const auto& [key, value] : group.entries) {
            check(!key.empty() && trimmed(key) && trimmed(value), "a key or value is not trimmed");
            check(key.find('\n') == std::string::npos && value.find('\n') == std::string::npos,
                  "a key or value spans lines");
            check(group.value(key).has_value(), "a key cannot be found");
            platform::unescapeString(value);
            const auto program = platform::execProgram(value);
            if (platform::execProgram(platform::execValue(program)) != program)
                fail("an Exec program changes when written back: " + program);
        }
    }

    auto& p = fakePlatform();
    const auto folder = p.xdgDataHome() / "applications";
    const auto file = folder / "sub" / "fuzz.desktop";
    writeBytes(file, Bytes(data, data + size));
    const bool visible = platform::desktopAppVisible(file);
    const auto app = platform::readDesktopApp(p, file);
    if (app) {
        check(app->id == "sub-fuzz", "a desktop file id is not derived from its place");
        check(!app->name.empty() && app->file == file, "a desktop app without name or file");
        check(app->executable.find('/') == std::string::npos, "an executable keeps a folder");
    }
    const auto apps = platform::listDesktopApps(p);
    check(apps.size() == (app && visible ? 1u : 0u), "the list of apps disagrees with the entry");
    return 0;
}
