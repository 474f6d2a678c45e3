#include "fs/FileSnapshot.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::fs {

std::optional<FileSnapshot> readSnapshot(const std::filesystem::path& path, std::uint64_t limit) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        static_cast<std::uint64_t>(st.st_size) > limit) {
        ::close(fd);
        return std::nullopt;
    }
    FileSnapshot snap;
    snap.device = st.st_dev;
    snap.inode = st.st_ino;
    snap.size = st.st_size;
    snap.mtimeSeconds = st.st_mtim.tv_sec;
    snap.mtimeNanoseconds = st.st_mtim.tv_nsec;
    snap.mode = st.st_mode;
    snap.bytes.reserve(static_cast<std::size_t>(st.st_size));
    std::uint8_t buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 || snap.bytes.size() + static_cast<std::size_t>(n) > limit) {
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0)
            break;
        snap.bytes.insert(snap.bytes.end(), buffer, buffer + n);
    }
    ::close(fd);
    return snap;
}

bool unchangedSince(const std::filesystem::path& path, const FileSnapshot& snapshot) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return false;
    return st.st_dev == snapshot.device && st.st_ino == snapshot.inode &&
           st.st_size == snapshot.size && st.st_mtim.tv_sec == snapshot.mtimeSeconds &&
           st.st_mtim.tv_nsec == snapshot.mtimeNanoseconds &&
           static_cast<off_t>(snapshot.bytes.size()) == st.st_size;
}

} // namespace tpc::fs
