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
class BusyStores;

struct CleanerEnv {
    CleanerEnv(platform::Platform& platform, erase::Deleter& deleter, CookieLists& cookies,
               core::SystemLog& log, BusyStores* busy = nullptr)
        : platform(platform), deleter(deleter), cookies(cookies), log(log), busy(busy) {}

    platform::Platform& platform;
    erase::Deleter& deleter;
    CookieLists& cookies;
    core::SystemLog& log;
    // Where busy stores are remembered for the page's result; none in a cleaner on its own.
    BusyStores* busy = nullptr;

    // Where the browsers keep their data, in the platform's layout.
    BrowserLocations locations() const { return BrowserLocations(platform); }
};

} // namespace tpc::browsers
