#pragma once
// What every browser cleaner works with.

#include "browsers/BrowserLocations.h"

namespace tpc::platform {
class Platform;
}
namespace tpc::erase {
class Deleter;
}
namespace tpc::core {
class SystemLog;
}

namespace tpc::browsers {

class CookieLists;

struct CleanerEnv {
    platform::Platform& platform;
    erase::Deleter& deleter;
    CookieLists& cookies;
    core::SystemLog& log;

    // Where the browsers keep their data, in the platform's layout.
    BrowserLocations locations() const { return BrowserLocations(platform); }
};

} // namespace tpc::browsers
