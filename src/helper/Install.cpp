#include "helper/Install.h"

#include "core/PropertyList.h"
#include "helper/HelperUnits.h"

#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::helper {

namespace {

std::string systemctlPath() {
    return ::access("/usr/bin/systemctl", X_OK) == 0 ? "/usr/bin/systemctl" : "/bin/systemctl";
}

std::vector<std::vector<std::string>> systemctlSteps() {
    const std::string systemctl = systemctlPath();
    return {{systemctl, "daemon-reload"},
            {systemctl, "enable", "--now", kSocketUnitName},
            {systemctl, "stop", kServiceUnitName}};
}

std::string joined(const std::vector<std::string>& argv) {
    std::string text;
    for (const auto& arg : argv)
        text += (text.empty() ? "" : " ") + arg;
    return text;
}

} // namespace

std::string serviceUnitFor(const std::string& helperPath) {
    std::istringstream in(kServiceUnitText);
    std::string text;
    std::string line;
    while (std::getline(in, line))
        text += (line.rfind("ExecStart=", 0) == 0 ? "ExecStart=" + helperPath : line) + "\n";
    return text;
}

std::optional<std::string> unsafeProgramProblem(const std::string& path) {
    std::error_code ec;
    const std::filesystem::path real = std::filesystem::canonical(path, ec);
    if (ec)
        return path + " cannot be resolved";
    for (std::filesystem::path p = real;; p = p.parent_path()) {
        struct stat st {};
        if (::stat(p.c_str(), &st) != 0)
            return p.string() + " cannot be examined";
        if (st.st_uid != 0)
            return p.string() + " does not belong to root";
        // Whoever may write there could change what root runs.
        if (st.st_mode & (S_IWGRP | S_IWOTH))
            return p.string() + " is writable by others than root";
        if (p == p.parent_path())
            break;
    }
    return std::nullopt;
}

int installHelper(const InstallEnv& env) {
    const std::filesystem::path dir(env.unitDir);
    const std::vector<std::pair<std::filesystem::path, std::string>> files = {
        {dir / kSocketUnitName, kSocketUnitText},
        {dir / kServiceUnitName, serviceUnitFor(env.helperPath)},
    };
    if (!env.asRoot) {
        env.out << "Not running as root: nothing installed. As root this would write:\n";
        for (const auto& [file, text] : files)
            env.out << "\n# " << file.string() << "\n" << text;
        env.out << "\nand then run:\n";
        for (const auto& step : systemctlSteps())
            env.out << "  " << joined(step) << "\n";
        return 0;
    }
    if (auto problem = unsafeProgramProblem(env.helperPath)) {
        env.out << "Not installed: " << *problem << "\n";
        return 1;
    }
    for (const auto& [file, text] : files) {
        std::string error;
        if (!core::plist::writeFileAtomically(file, {text.begin(), text.end()}, 0644, &error)) {
            env.out << "Not installed: " << file.string() << ": " << error << "\n";
            return 1;
        }
        env.out << "Wrote " << file.string() << "\n";
    }
    if (!env.manageSystemd)
        return 0;
    for (const auto& step : systemctlSteps()) {
        const int status = env.run ? env.run(step) : -1;
        env.out << joined(step) << ": " << (status == 0 ? "done" : "failed") << "\n";
        if (status != 0)
            return 1;
    }
    return 0;
}

} // namespace tpc::helper
