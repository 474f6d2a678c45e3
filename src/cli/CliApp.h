#pragma once

namespace tpc::cli {

// Runs `tpc` with its arguments; answers the process exit status.
int run(int argc, char** argv);

} // namespace tpc::cli
