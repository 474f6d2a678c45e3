#pragma once
// Removing a tree without following a symbolic link in the entry it acts on: every item is
// reached as (open folder, entry name) with the *at calls, so a link met anywhere is removed as
// the link itself. Opening and listing folders is the file-system layer's (fs/Folders.h).

#include "fs/Folders.h"

#include <string>

namespace tpc::erase {

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
