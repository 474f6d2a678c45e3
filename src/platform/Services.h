#pragma once
// Operating-system services behind interfaces: each has a real implementation where the host
// offers it, an "unavailable" one where it does not, and fakes in tests.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {

// Running applications, found and terminated by bundle identifier.
class RunningApps {
public:
    virtual ~RunningApps() = default;
    virtual bool isRunning(const std::string& bundleId) = 0;
    // Asks every process of the application to quit (SIGTERM). Answers how many were asked.
    virtual int terminate(const std::string& bundleId) = 0;
};

// The session login items: whether, and how, this application starts at login.
class LoginItems {
public:
    virtual ~LoginItems() = default;
    virtual bool available() const = 0;
    // An item whose path has `appPath` as a prefix.
    virtual bool exists(const std::string& appPath) = 0;
    virtual bool enable(const std::string& appPath) = 0;
    // Removes every matching item.
    virtual bool disable(const std::string& appPath) = 0;
    // The paths every item leads to, in the list's order; an item that cannot be resolved is
    // left out. None where the list cannot be read.
    virtual std::vector<std::string> resolvedItemPaths() { return {}; }
};

// GUI scripting. Off the platform that has it every script fails to compile.
class ScriptRunner {
public:
    struct Result {
        bool compiled = false;
        bool succeeded = false;
        std::string output; // the script's answer as text
        std::string error;
    };
    virtual ~ScriptRunner() = default;
    virtual Result run(const std::string& source) = 0;
};

struct SystemVersion {
    int major = 0;
    int minor = 0;
    int bugFix = 0;
};

class UnavailableScriptRunner final : public ScriptRunner {
public:
    Result run(const std::string& source) override;
};

class UnavailableLoginItems final : public LoginItems {
public:
    bool available() const override { return false; }
    bool exists(const std::string&) override { return false; }
    bool enable(const std::string&) override { return false; }
    bool disable(const std::string&) override { return false; }
};

// Processes read from a /proc folder; bundle identifiers map to process names through a small
// table (e.g. "org.mozilla.firefox" → "firefox", "firefox-esr", "firefox-bin"). Only the
// processes of this user count, and this process never does.
class ProcRunningApps final : public RunningApps {
public:
    explicit ProcRunningApps(std::filesystem::path procRoot = "/proc");
    bool isRunning(const std::string& bundleId) override;
    int terminate(const std::string& bundleId) override;

    // The process names of an application; the identifier's last dotted component, lowercased,
    // when it is not in the table.
    static std::vector<std::string> processNames(const std::string& bundleId);
    // Process ids under procRoot whose name (comm, or the executable's base name) matches.
    std::vector<int> findProcesses(const std::string& bundleId) const;

private:
    std::filesystem::path procRoot_;
};

// XDG autostart entries ("$XDG_CONFIG_HOME/autostart/<fileName>.desktop", system entries in
// "$XDG_CONFIG_DIRS/autostart"; the user's file of the same name wins and Hidden=true in it
// disables a system entry). Only the entry of `fileName` is ever looked at or changed; enable
// writes it atomically, disable removes it and hides a matching system entry.
class XdgAutostart final : public LoginItems {
public:
    XdgAutostart(std::filesystem::path configHome, std::vector<std::filesystem::path> configDirs,
                 std::string fileName = "tavrin-privacy-cleaner.desktop",
                 std::string appName = "Tavrin Privacy Cleaner");
    bool available() const override { return true; }
    bool exists(const std::string& appPath) override;
    bool enable(const std::string& appPath) override;
    bool disable(const std::string& appPath) override;

    // "$XDG_CONFIG_HOME/autostart/<fileName>".
    std::filesystem::path userEntry() const;

private:
    // The system entry of that name in the most important config dir that has one.
    std::optional<std::filesystem::path> systemEntry() const;
    std::string entryText(const std::string& appPath, bool hidden) const;

    std::filesystem::path configHome_;
    std::vector<std::filesystem::path> configDirs_;
    std::string fileName_;
    std::string appName_;
};

} // namespace tpc::platform
