#pragma once
// Starting the updater: a program of its own, started in the background and left running after
// this one ends.

#include <filesystem>

namespace tpc::update {

// Starts `program` (an executable file) detached: its own session, standard streams on
// /dev/null, nobody waiting for it. False, starting nothing, when it is not an executable file
// or cannot be started.
bool launchDetached(const std::filesystem::path& program);

} // namespace tpc::update
