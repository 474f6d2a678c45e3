#include "fs/TreeMeasure.h"

#include "fs/Folders.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tpc::fs {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Folders of one branch kept open at once. Deeper trees close the outermost ones and come back
// to them through "..", checked against what was there, so any depth fits in a few descriptors.
constexpr std::size_t kMaxOpenFolders = 48;

constexpr std::size_t kListBufferSize = 64 * 1024;

struct Frame {
    UniqueFd fd;
    // Identity of the folder, recorded when its descriptor is closed, to recognise it on return.
    dev_t dev = 0;
    ino_t ino = 0;
    bool listed = false;
    // The names of its sub-folders still to walk, each ended by a NUL.
    std::string subfolders;
    std::size_t next = 0;
};

class Walker {
public:
    Walker(const std::function<bool()>& aborted, const std::vector<std::string>& skipped)
        : aborted_(aborted), skipped_(skipped), buffer_(new char[kListBufferSize]) {}

    TreeTotals walk(UniqueFd root) {
        stack_.emplace_back();
        stack_.back().fd = std::move(root);
        while (!stack_.empty() && totals_.complete) {
            Frame& top = stack_.back();
            if (!top.listed) {
                list(top);
                top.listed = true;
                continue;
            }
            if (top.next < top.subfolders.size()) {
                const char* name = top.subfolders.data() + top.next;
                top.next += std::strlen(name) + 1;
                UniqueFd child(::openat(top.fd.get(), name, kFolderFlags));
                if (child)
                    push(std::move(child));
                continue;
            }
            pop();
        }
        return totals_;
    }

private:
    bool stop() {
        if (aborted_ && aborted_()) {
            totals_.complete = false;
            return true;
        }
        return false;
    }

    bool isSkipped(const char* name) const {
        return std::find(skipped_.begin(), skipped_.end(), name) != skipped_.end();
    }

    // Counts every entry of the folder and notes which ones are folders to walk next.
    void list(Frame& frame) {
        const int fd = frame.fd.get();
        for (;;) {
            const ssize_t n = ::getdents64(fd, buffer_.get(), kListBufferSize);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return; // the end, or a folder that cannot be listed any further
            for (ssize_t pos = 0; pos < n;) {
                const auto* entry = reinterpret_cast<const dirent64*>(buffer_.get() + pos);
                pos += entry->d_reclen;
                const char* name = entry->d_name;
                if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
                    continue;
                if (&frame == &stack_.front() && isSkipped(name))
                    continue;
                if (stop())
                    return;
                struct stat st;
                if (::fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                    if (errno != ENOENT)
                        ++totals_.count; // there, but of unknown size
                    continue;
                }
                ++totals_.count;
                totals_.bytes += static_cast<std::uint64_t>(st.st_size);
                if (S_ISDIR(st.st_mode)) {
                    frame.subfolders.append(name);
                    frame.subfolders.push_back('\0');
                }
            }
        }
    }

    void push(UniqueFd child) {
        stack_.emplace_back();
        stack_.back().fd = std::move(child);
        if (stack_.size() - firstOpen_ <= kMaxOpenFolders)
            return;
        Frame& outer = stack_[firstOpen_++];
        struct stat st;
        if (::fstat(outer.fd.get(), &st) == 0) {
            outer.dev = st.st_dev;
            outer.ino = st.st_ino;
        } else {
            outer.next = outer.subfolders.size(); // cannot be recognised again: leave the rest
        }
        outer.fd.reset();
    }

    void pop() {
        UniqueFd done = std::move(stack_.back().fd);
        stack_.pop_back();
        if (stack_.empty() || stack_.size() > firstOpen_)
            return;
        // The parent's descriptor was closed on the way down: reopen it from the child, and go
        // on only if it is still the same folder (it may have been moved or replaced meanwhile).
        firstOpen_ = stack_.size() - 1;
        Frame& parent = stack_.back();
        UniqueFd reopened(::openat(done.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        struct stat st;
        if (reopened && ::fstat(reopened.get(), &st) == 0 && st.st_dev == parent.dev &&
            st.st_ino == parent.ino)
            parent.fd = std::move(reopened);
        else
            parent.next = parent.subfolders.size();
    }

    const std::function<bool()>& aborted_;
    // Names left out of the walked folder itself, with everything beneath them.
    const std::vector<std::string>& skipped_;
    std::unique_ptr<char[]> buffer_;
    std::vector<Frame> stack_;
    // Frames below this index have had their descriptors closed.
    std::size_t firstOpen_ = 0;
    TreeTotals totals_;
};

} // namespace

TreeTotals measureTreeNoFollow(const std::string& path, const std::function<bool()>& aborted) {
    TreeTotals totals;
    struct stat st;
    if (path.empty() || ::lstat(path.c_str(), &st) != 0)
        return totals;
    if (!S_ISDIR(st.st_mode)) {
        if (aborted && aborted()) {
            totals.complete = false;
            return totals;
        }
        totals.count = 1;
        totals.bytes = static_cast<std::uint64_t>(st.st_size);
        return totals;
    }
    UniqueFd root(::open(path.c_str(), kFolderFlags));
    if (!root)
        return totals;
    return Walker(aborted, {}).walk(std::move(root));
}

TreeTotals measureFolderNoFollow(const std::string& folder, const std::vector<std::string>& skipped,
                                 const std::function<bool()>& aborted) {
    if (folder.empty())
        return {};
    // O_NOFOLLOW: a link in the folder's place is refused by the open itself, so what is walked
    // is what was asked for, whatever is swapped in meanwhile.
    UniqueFd root(::open(folder.c_str(), kFolderFlags));
    if (!root)
        return {};
    return Walker(aborted, skipped).walk(std::move(root));
}

} // namespace tpc::fs
