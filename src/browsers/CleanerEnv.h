#pragma once
// What every browser cleaner works with.

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
};

} // namespace tpc::browsers
