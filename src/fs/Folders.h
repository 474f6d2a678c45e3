#pragma once
// Opening and listing folders, each call named by how it treats a symbolic link. The *at calls
// work from an open folder, so an entry reached as (open folder, name) is the one that was
// checked, whatever is swapped in along the path meanwhile. None of these throws; failures are
// answered as each one states, and errno values are kept where a caller reports them.

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tpc::fs {

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

// Splits an absolute path into its folder and last name ("/a/b/" gives "/a" and "b"), as text
// only (nothing is looked at). False when there is no item to act on: empty, relative, "/", a
// last name "." or "..", or an embedded NUL.
bool splitItemPath(const std::string& path, std::string& folder, std::string& name);

// Opens `folder` only as a base for the *at calls (O_PATH: it cannot be listed through this
// descriptor), following links anywhere on its path, its own name included. An empty descriptor
// (errno set) when it is missing or no folder.
UniqueFd openFolderFollowingLinks(const std::string& folder);

struct FolderOpenFailure {
    int error = 0;
    std::string reason;
};

// Opens `folder` (absolute) only as a base for the *at calls, following no symbolic link on the
// way: every component must be a real folder, so that the folder reached is the one the path
// names at this moment, whatever is swapped in along it afterwards. A link, anything but a
// folder, a missing component, or a "." or ".." component makes it fail with `failure` set
// (ELOOP for a link, ENOTDIR for anything else, ENOENT when missing, EINVAL for a relative path
// or a dot component).
UniqueFd openFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure);
// The same, one component at a time from the root (what the above falls back on where the kernel
// cannot resolve without links itself); names the component at fault.
UniqueFd walkFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure);

// Opens entry `name` of `dirFd` as a folder to list and to act in; empty (errno set) when it is a
// link, missing, or anything but a folder.
UniqueFd openSubfolderNoFollow(int dirFd, const std::string& name);

// The names of an open folder's entries, hidden ones included, "." and ".." left out, in the
// file system's order. On failure returns false with the errno value in `error` (`names` then
// holds what was read before it).
bool listOpenFolder(int dirFd, std::vector<std::string>& names, int& error);

// "<folder>/<name>" for every entry of `folder`, hidden ones included, in name order. The folder
// is opened without following a link at its own name (links above it are followed), so a link
// in its place lists nothing; so do a missing folder, anything but a folder, and a folder that
// cannot be read or listed to the end.
std::vector<std::string> listFolderNoFollow(const std::filesystem::path& folder);

// The names (not paths) of the entries of `folder`, hidden ones included, in name order, the
// folder reached through links at its own name too. Nothing when it is missing, no folder, or
// cannot be read; the names read so far when the listing fails part way. The entries themselves
// are not looked at: a caller that needs their kind asks with its own link rule.
std::vector<std::string> folderNamesFollowingLinks(const std::filesystem::path& folder);

} // namespace tpc::fs
