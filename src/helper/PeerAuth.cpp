#include "helper/PeerAuth.h"

#include "erase/RunProgram.h"

#include <algorithm>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

namespace tpc::helper {

namespace {

std::optional<gid_t> groupId(const std::string& name) {
    std::vector<char> buffer(16384);
    group entry{};
    group* found = nullptr;
    if (::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return std::nullopt;
    return found->gr_gid;
}

} // namespace

std::optional<PeerCredentials> peerCredentials(int fd) {
    ucred cred{};
    socklen_t size = sizeof cred;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &size) != 0 || size != sizeof cred)
        return std::nullopt;
    return PeerCredentials{cred.pid, cred.uid, cred.gid};
}

bool userInGroup(uid_t uid, gid_t primaryGid, gid_t group) {
    if (primaryGid == group)
        return true;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return false;
    int count = 64;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0)
            return false;
    }
    groups.resize(static_cast<std::size_t>(count));
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

PeerAuthoriser::PeerAuthoriser(AuthPolicy policy, PolkitCheck polkit)
    : uids_(std::move(policy.allowedUids)),
      configured_(!uids_.empty() || !policy.allowedGroups.empty()), polkit_(std::move(polkit)) {
    for (const auto& name : policy.allowedGroups)
        if (auto gid = groupId(name))
            gids_.push_back(*gid);
}

bool PeerAuthoriser::authorise(const PeerCredentials& peer, std::string& why) const {
    if (peer.uid == 0)
        return true;
    if (configured_) {
        if (std::find(uids_.begin(), uids_.end(), peer.uid) != uids_.end())
            return true;
        for (gid_t gid : gids_)
            if (userInGroup(peer.uid, peer.gid, gid))
                return true;
        why = "user not allowed";
        return false;
    }
    if (polkit_ && polkit_(peer))
        return true;
    why = "not authorised by polkit";
    return false;
}

std::optional<unsigned long long> processStartTime(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(in, line))
        return std::nullopt;
    // The command name may hold spaces and parentheses: the fields start after the last ')'.
    const auto close = line.rfind(')');
    if (close == std::string::npos)
        return std::nullopt;
    std::istringstream fields(line.substr(close + 1));
    std::string field;
    // Field 3 (state) is the first after the name; the start time is field 22.
    for (int i = 3; i < 22; ++i)
        if (!(fields >> field))
            return std::nullopt;
    unsigned long long start = 0;
    if (!(fields >> start))
        return std::nullopt;
    return start;
}

PolkitCheck pkcheckPolkit(std::string pkcheckPath, core::Clock& clock,
                          core::Clock::Duration timeLimit, const std::atomic<bool>& cancel) {
    return [pkcheckPath = std::move(pkcheckPath), &clock, timeLimit,
            &cancel](const PeerCredentials& peer) {
        if (::access(pkcheckPath.c_str(), X_OK) != 0)
            return false;
        const auto start = processStartTime(peer.pid);
        if (!start)
            return false;
        const std::string process = std::to_string(peer.pid) + "," + std::to_string(*start) + "," +
                                    std::to_string(peer.uid);
        erase::RunOptions options;
        options.clock = &clock;
        options.timeLimit = timeLimit;
        options.cancel = &cancel;
        options.quiet = true;
        return erase::runProgram({pkcheckPath, "--action-id", kPolkitAction, "--process", process,
                                  "--allow-user-interaction"},
                                 options) == 0;
    };
}

} // namespace tpc::helper
