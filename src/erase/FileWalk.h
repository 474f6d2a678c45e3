#pragma once
// Folder-relative file operations that never follow a symbolic link in the entry they act on:
// every item is reached as (open folder, entry name) with the *at calls, so a link met anywhere is
// handled as the link itself.

#include <string>
#include <utility>
#include <vector>

namespace tpc::erase {

// An owned file descriptor, closed on destruction.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    void reset();

private:
    int fd_ = -1;
};

// Splits an absolute path into its folder and last name ("/a/b/" gives "/a" and "b"). False when
// there is no item to act on: empty, relative, "/", a last name "." or "..", or an embedded NUL.
bool splitItemPath(const std::string& path, std::string& folder, std::string& name);

// Opens the folder that holds a listed item, only as a base for the *at calls. Links along the
// folder's own path are followed: that path is the caller's.
UniqueFd openLookupFolder(const std::string& folder);

struct FolderOpenFailure {
    int error = 0;
    std::string reason;
};

// Opens `folder` (absolute) only as a base for the *at calls, following no symbolic link on the
// way: every component must be a real folder, so that the folder reached is the one the path
// names at this moment, whatever is swapped in along it afterwards. A link, anything but a
// folder, or a "." or ".." component makes it fail with `failure` set (ELOOP for a link).
UniqueFd openFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure);
// The same, one component at a time from the root (what the above falls back on where the kernel
// cannot resolve without links itself); names the component at fault.
UniqueFd walkFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure);

// Opens entry `name` of `dirFd` as a folder to list and to act in; fails on a link.
UniqueFd openSubfolder(int dirFd, const std::string& name);

// The entries of an open folder, hidden ones included, "." and ".." left out. On failure returns
// false with the errno value in `error`.
bool listFolder(int dirFd, std::vector<std::string>& names, int& error);

struct RemovalFailure {
    int error = 0;
    std::string reason;
};

// Removes entry `name` of `dirFd` (shown as `path`), and when it is a folder everything in it
// first, never following a link. Goes on past failures so that as much as possible goes; the
// first failure is reported.
bool removeEntry(int dirFd, const std::string& name, const std::string& path,
                 RemovalFailure& failure);

// The text of an errno value.
std::string errorText(int error);

} // namespace tpc::erase
