#include "platform/PreferenceDomains.h"

#include "core/PropertyList.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

constexpr mode_t kNewFileMode = 0600;

// What is at a domain's file before an edit.
struct Existing {
    bool missing = false;
    // The dictionary when the file is a regular file holding one.
    core::DictRef dict;
    mode_t mode = kNewFileMode;
};

// Only a regular file is read: a link, a folder or a device at the domain's place is not a
// preference file of ours, and reading a FIFO would block.
Existing inspect(const fs::path& file) {
    Existing found;
    struct stat st {};
    if (::lstat(file.c_str(), &st) != 0) {
        found.missing = errno == ENOENT;
        return found;
    }
    if (!S_ISREG(st.st_mode))
        return found;
    found.mode = st.st_mode & 07777;
    if (auto value = core::plist::readFile(file))
        found.dict = value->dict();
    return found;
}

// The umask may have taken bits off the kept mode; put them back without following a link that
// might have replaced the new file in the meantime.
void restoreMode(const fs::path& file, mode_t mode) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & 07777) != mode)
        ::fchmod(fd, mode);
    ::close(fd);
}

bool store(const fs::path& file, const core::DictRef& dict, mode_t mode) {
    // Only what reads back as exactly the edited dictionary is written: text that cannot be
    // stored unchanged (toBinary answers nothing), or any other value the conversion would
    // alter, leaves the file as it is.
    const core::Value edited(dict);
    const auto bytes = core::plist::toBinary(edited);
    if (bytes.empty())
        return false;
    const auto back = core::plist::parse(bytes);
    if (!back || *back != edited || !core::plist::writeFileAtomically(file, bytes, mode))
        return false;
    restoreMode(file, mode);
    return true;
}

// The dictionary to edit: the file's own, or a new one when there is no file yet. Null when the
// file is there but is not something this may rewrite.
core::DictRef editable(const fs::path& file, const std::string& domain, Existing& existing) {
    if (domain.empty())
        return nullptr;
    existing = inspect(file);
    if (existing.dict)
        return existing.dict;
    if (!existing.missing)
        return nullptr;
    std::error_code ec;
    fs::create_directories(file.parent_path(), ec);
    return core::DictObj::make();
}

} // namespace

PreferenceDomains::PreferenceDomains(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::filesystem::path PreferenceDomains::fileFor(const std::string& domain) const {
    if (domain.ends_with(".plist"))
        return folder_ / domain;
    return folder_ / (domain + ".plist");
}

core::DictRef PreferenceDomains::read(const std::string& domain) const {
    if (domain.empty())
        return nullptr;
    return inspect(fileFor(domain)).dict;
}

bool PreferenceDomains::deleteKey(const std::string& domain, const std::string& key) {
    if (domain.empty())
        return false;
    const auto file = fileFor(domain);
    auto existing = inspect(file);
    if (!existing.dict || !existing.dict->has(key))
        return false;
    existing.dict->remove(key);
    return store(file, existing.dict, existing.mode);
}

bool PreferenceDomains::write(const std::string& domain, const std::string& key,
                              const std::string& value) {
    const auto file = fileFor(domain);
    Existing existing;
    auto dict = editable(file, domain, existing);
    if (!dict)
        return false;
    dict->set(key, core::Value(value));
    return store(file, dict, existing.mode);
}

bool PreferenceDomains::dictAdd(const std::string& domain, const std::string& key,
                                const std::string& subKey, const std::string& value) {
    const auto file = fileFor(domain);
    Existing existing;
    auto dict = editable(file, domain, existing);
    if (!dict)
        return false;
    auto inner = dict->getDict(key);
    if (!inner) {
        inner = core::DictObj::make();
        dict->set(key, core::Value(inner));
    }
    inner->set(subKey, core::Value(value));
    return store(file, dict, existing.mode);
}

} // namespace tpc::platform
