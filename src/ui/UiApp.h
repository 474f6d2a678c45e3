#pragma once
// The desktop application: parses its options, builds the engine on the Qt event loop, the main
// window, the progress sheet and the status item, runs the start-up sequence and the event loop,
// and shuts down in order.

namespace tpc::ui {

// Runs the application; answers the process exit status.
int runApplication(int argc, char** argv);

} // namespace tpc::ui
