#pragma once
// The small context every subsystem shares.

namespace tpc::platform {
class Platform;
}

namespace tpc::core {

class Settings;
class TaskFlags;
class Frontend;
class MainThread;
class Clock;
class SystemLog;

struct Context {
    Settings& settings;
    TaskFlags& flags;
    Frontend& frontend;
    MainThread& mainThread;
    platform::Platform& platform;
    Clock& clock;
    SystemLog& log;
};

} // namespace tpc::core
