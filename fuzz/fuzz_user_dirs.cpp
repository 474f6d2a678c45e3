// user-dirs.dirs: any text, for the variables the platform asks for and for the one the first
// line names. A folder found is absolute, normal and neither the home nor above it.

#include "FuzzSupport.h"

#include "platform/UserDirs.h"

namespace platform = tpc::platform;
namespace fs = std::filesystem;
using namespace tpc::fuzz;

namespace {

void checkFolder(const std::string& text, const std::string& variable, const fs::path& home) {
    const auto folder = platform::parseUserDir(text, variable, home);
    if (!folder)
        return;
    check(folder->is_absolute(), "a user folder is not absolute");
    check(*folder == folder->lexically_normal(), "a user folder is not in normal form");
    const auto normalHome = home.lexically_normal();
    check(*folder != normalHome && folder->parent_path() != *folder,
          "a user folder is the home or the root");
    const auto up = normalHome.lexically_relative(*folder);
    check(up.empty() || *up.begin() == "..", "a user folder holds the home");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string named = text.substr(0, text.find_first_of("=\n"));
    for (const fs::path home : {"/home/user", "/home/user/", "/home//user/./x/.."}) {
        for (const char* variable : {"XDG_DOWNLOAD_DIR", "XDG_PICTURES_DIR", "XDG_DESKTOP_DIR"})
            checkFolder(text, variable, home);
        checkFolder(text, named, home);
    }
    return 0;
}
