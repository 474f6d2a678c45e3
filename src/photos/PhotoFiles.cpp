#include "photos/PhotoFiles.h"

#include "fs/Entries.h"
#include "fs/Folders.h"
#include "photos/PhotoKeys.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::photos {

namespace {

std::string photoErrnoText(int error) {
    return std::strerror(error);
}

// Writes all of `count` bytes; false on a failed write.
bool writeAllPhotoBytes(int fd, const char* data, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(fd, data, count);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

// Copies the regular file `from` to the new file `to` (never replacing one, never through a
// link), then removes `from`. On any failure the copy is removed again and `from` stays.
bool copyPhotoThenRemove(const std::string& from, const std::string& to, std::string& error) {
    tpc::fs::UniqueFd in(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!in || ::fstat(in.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        error = in ? "not a regular file" : photoErrnoText(errno);
        return false;
    }
    tpc::fs::UniqueFd out(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 info.st_mode & 07777));
    if (!out) {
        error = photoErrnoText(errno);
        return false;
    }
    bool copied = true;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t got = ::read(in.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            copied = got == 0;
            break;
        }
        if (!writeAllPhotoBytes(out.get(), buffer, static_cast<std::size_t>(got))) {
            copied = false;
            break;
        }
    }
    if (copied && ::fsync(out.get()) != 0)
        copied = false;
    const int copyError = errno;
    out.reset();
    if (!copied || ::unlink(from.c_str()) != 0) {
        error = photoErrnoText(copied ? errno : copyError);
        ::unlink(to.c_str());
        return false;
    }
    return true;
}

} // namespace

std::optional<PhotoPaths> recordedPaths(const core::DictRef& record) {
    if (!record)
        return std::nullopt;
    const auto* image = record->get(keys::ImagePath).string();
    const auto* original = record->get(keys::OriginalPath).string();
    if (!image || !original)
        return std::nullopt;
    return PhotoPaths{*image, *original};
}

bool photoFileExists(const std::string& path) {
    return !path.empty() && tpc::fs::isRegularFileNoFollow(path);
}

std::optional<PhotoPaths> rebasedPaths(const PhotoPaths& paths, const std::string& libraryName,
                                       const std::string& libraryLocation) {
    if (libraryName.empty())
        return std::nullopt;
    const std::size_t at = paths.image.find(libraryName);
    if (at == std::string::npos || at > paths.original.size())
        return std::nullopt;
    return PhotoPaths{libraryLocation + paths.image.substr(at),
                      libraryLocation + paths.original.substr(at)};
}

std::optional<PhotoPaths> locatePhotoFiles(const PhotoPaths& recorded,
                                           const std::string& libraryName,
                                           const std::string& libraryLocation) {
    PhotoPaths found = recorded;
    if (!photoFileExists(found.image) && !photoFileExists(found.original))
        if (auto rebased = rebasedPaths(recorded, libraryName, libraryLocation))
            found = *rebased;
    if (!photoFileExists(found.image) || !photoFileExists(found.original))
        return std::nullopt;
    // Two names of one file would leave the photo without any image once its "original" went.
    std::error_code ec;
    if (std::filesystem::equivalent(found.image, found.original, ec) || ec)
        return std::nullopt;
    return found;
}

bool moveFileNoReplace(const std::string& from, const std::string& to, std::string& error) {
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    int failure = errno;
#else
    int failure = EINVAL;
#endif
    if (failure == EINVAL || failure == ENOSYS) {
        // The file system cannot refuse to replace by itself: look first.
        if (tpc::fs::entryExists(to)) {
            error = photoErrnoText(EEXIST);
            return false;
        }
        if (::rename(from.c_str(), to.c_str()) == 0)
            return true;
        failure = errno;
    }
    if (failure == EXDEV)
        return copyPhotoThenRemove(from, to, error);
    error = photoErrnoText(failure);
    return false;
}

} // namespace tpc::photos
