#include "torture/TortureTree.h"

#include "support/TempDir.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace tpc::test::torture {

namespace fs = std::filesystem;

namespace {

const std::string kLongName(255, 'L');
constexpr int kDeepLevels = 200;
constexpr int kLongLevels = 10;

void check(bool ok, const std::string& what) {
    if (!ok)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

// The entries of a folder in name order; false when it cannot be listed.
bool entriesOf(const std::string& folder, std::vector<std::string>& names) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return false;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return true;
}

void fingerprintInto(const std::string& path, const std::string& rel, std::ostringstream& out) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        out << rel << " missing\n";
        return;
    }
    out << rel << " mode=" << std::oct << (st.st_mode & 07777) << std::dec;
    if (S_ISLNK(st.st_mode)) {
        char target[4096];
        const ssize_t n = ::readlink(path.c_str(), target, sizeof target);
        out << " link=" << std::string(target, n > 0 ? static_cast<std::size_t>(n) : 0) << "\n";
    } else if (S_ISREG(st.st_mode)) {
        out << " file size=" << st.st_size << " content=" << readFile(path) << "\n";
    } else if (S_ISDIR(st.st_mode)) {
        out << " folder\n";
        std::vector<std::string> names;
        if (!entriesOf(path, names)) {
            out << rel << " unlistable\n";
            return;
        }
        for (const auto& name : names)
            fingerprintInto(path + "/" + name, rel + "/" + name, out);
    } else {
        out << " special type=" << (st.st_mode & S_IFMT) << "\n";
    }
}

void leftoversInto(const std::string& path, const std::string& rel, std::vector<std::string>& out) {
    std::vector<std::string> names;
    if (!entriesOf(path, names))
        return;
    for (const auto& name : names) {
        const std::string child = path + "/" + name;
        const std::string childRel = rel.empty() ? name : rel + "/" + name;
        out.push_back(childRel);
        struct stat st {};
        if (::lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            leftoversInto(child, childRel, out);
    }
}

void makeSocket(const fs::path& at) {
    // A socket's address is short: bind it in a short temporary folder, then move it in place.
    auto pattern = (fs::temp_directory_path() / "tpc-sock-XXXXXX").string();
    check(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
    const std::string bound = pattern + "/s";
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    check(fd >= 0, "socket");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, bound.c_str(), sizeof address.sun_path - 1);
    check(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
    ::close(fd);
    check(::rename(bound.c_str(), at.c_str()) == 0, "rename socket");
    ::rmdir(pattern.c_str());
}

} // namespace

std::string fingerprint(const fs::path& root) {
    std::ostringstream out;
    fingerprintInto(root.string(), ".", out);
    return out.str();
}

std::vector<std::string> victimDirNames() {
    std::vector<std::string> names;
    for (int i = 0; i < 40; ++i) {
        char name[8];
        std::snprintf(name, sizeof name, "n%02d", i);
        names.emplace_back(name);
    }
    return names;
}

void buildVictim(const fs::path& root) {
    writeFile(root / "file.txt", "victim file");
    writeFile(root / "hard.txt", "hard content");
    for (const auto& name : victimDirNames())
        writeFile(root / "dir" / name, "victim " + name);
    writeFile(root / "dir/sub/inner.txt", "inner");
    writeFile(root / "ro.txt", "read only");
    fs::permissions(root / "ro.txt", fs::perms::owner_read | fs::perms::group_read);
    fs::create_directory_symlink("dir", root / "vlink");
}

const char* lockedName() {
    return "locked";
}

void buildTarget(const fs::path& root, const fs::path& victim) {
    fs::create_directories(root);
    writeFile(root / "plain/f1.txt", "target one");
    writeFile(root / "plain/big.bin", std::string(70000, 'b'));
    // Named as the victim's own files: a removal that followed a link would reach those.
    const auto names = victimDirNames();
    for (int i = 0; i < 3; ++i)
        writeFile(root / "plain/sub" / names[static_cast<std::size_t>(i)], "target");
    fs::create_directory_symlink(victim / "dir", root / "plain/sub/into-victim");

    fs::create_symlink(victim / "file.txt", root / "link-file");
    fs::create_directory_symlink(victim / "dir", root / "link-dir");
    fs::create_directory_symlink(fs::relative(victim / "dir", root), root / "link-relative");
    fs::create_symlink(root / "nowhere", root / "dangling");
    check(::link((victim / "hard.txt").c_str(), (root / "hard.txt").c_str()) == 0, "link");
    check(::mkfifo((root / "fifo").c_str(), 0600) == 0, "mkfifo");
    makeSocket(root / "socket");

    writeFile(root / lockedName() / "inner.txt", "locked away");
    writeFile(root / lockedName() / "inner/x", "x");
    fs::create_directory_symlink(victim / "dir", root / lockedName() / "inner/link");
    fs::permissions(root / lockedName(), fs::perms::none);

    // 255-byte names, one after another.
    writeFile(root / kLongName, "long");
    fs::path chain = root / "long";
    for (int i = 0; i < kLongLevels; ++i)
        chain /= kLongName;
    writeFile(chain / "end.txt", "end");

    fs::path deep = root / "deep";
    for (int i = 0; i < kDeepLevels; ++i)
        deep /= "d";
    writeFile(deep / "bottom.txt", "bottom");
    fs::create_directory_symlink(victim / "dir", deep / "link");

    // Names that are not UTF-8: a stray byte, a truncated sequence, an overlong "/".
    writeFile(root / "a\xff", "odd a");
    writeFile(root / "c\xc3(", "odd c");
    writeFile(root / ("g\xc0\xaf"
                      "h"),
              "odd g");
    writeFile(root / "o\xfe" / "p\xff", "odd p");
    fs::create_directory_symlink(victim / "dir", root / "o\xfe" / "q\xff");
}

std::vector<std::string> leftovers(const fs::path& root) {
    std::vector<std::string> out;
    leftoversInto(root.string(), "", out);
    return out;
}

void unlock(const fs::path& root) {
    struct stat st {};
    if (::lstat(root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return;
    ::chmod(root.c_str(), 0700);
    std::vector<std::string> names;
    if (entriesOf(root.string(), names))
        for (const auto& name : names)
            unlock(root / name);
}

bool permissionsApply() {
    return ::geteuid() != 0;
}

} // namespace tpc::test::torture
