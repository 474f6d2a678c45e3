#include "cli/CliApp.h"

namespace tpc::cli {

int run(int, char**) { return 0; }

} // namespace tpc::cli
