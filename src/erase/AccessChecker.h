#pragma once
// Whether this user may remove or write an item, asked before the engine acts so that items it
// may not change go to the privileged helper instead. Injectable: permission bits cannot say "no"
// to root, so tests substitute their own answers.

#include <string>

namespace tpc::erase {

class AccessChecker {
public:
    virtual ~AccessChecker() = default;
    // The item exists and its entry may be removed from its folder: the folder exists and is
    // writable and searchable, and, when the folder is sticky, the user owns the item or the
    // folder.
    virtual bool canRemoveEntry(const std::string& path) const = 0;
    // The item itself may be written: a file writable, a folder writable and searchable. A
    // symbolic link is never written.
    virtual bool canWrite(const std::string& path) const = 0;
};

// The kernel's rules for the effective user, through lstat(2) and faccessat(2).
class PosixAccessChecker final : public AccessChecker {
public:
    bool canRemoveEntry(const std::string& path) const override;
    bool canWrite(const std::string& path) const override;
};

} // namespace tpc::erase
