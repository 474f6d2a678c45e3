// Firefox's profiles.ini: any text against a profiles folder with a few real profile folders,
// a link to one and a plain file. The answer is always a real folder.

#include "FuzzSupport.h"

#include "browsers/FirefoxProfiles.h"

#include <sys/stat.h>

namespace firefox = tpc::browsers::firefox;
namespace fs = std::filesystem;
using namespace tpc::fuzz;

namespace {

const fs::path& profilesFolder() {
    static const fs::path folder = [] {
        const auto f = scratchFolder() / "firefox";
        fs::create_directories(f / "Profiles" / "a1.default-release");
        fs::create_directories(f / "b2.default");
        fs::create_directories(f / "c3");
        fs::create_symlink(f / "c3", f / "link.default");
        writeBytes(f / "file.default", {});
        return f;
    }();
    return folder;
}

bool realFolder(const fs::path& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto& folder = profilesFolder();
    if (auto profile = firefox::profileFromIni(text, folder))
        check(realFolder(*profile), "profiles.ini led to something that is not a real folder");

    writeBytes(folder / "profiles.ini", Bytes(data, data + size));
    const auto found = firefox::findFirefoxProfile(folder);
    check(found.has_value() && realFolder(*found), "no real profile folder found");
    return 0;
}
