#pragma once
// Who may use the helper. Every connection is judged by its peer's credentials: root always;
// then the configured users and groups; when none are configured, whatever polkit allows for the
// action "com.tavrinsoftware.tpchelper.delete".

#include "core/Clock.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tpc::helper {

inline constexpr const char* kPolkitAction = "com.tavrinsoftware.tpchelper.delete";
inline constexpr const char* kDefaultPkcheckPath = "/usr/bin/pkcheck";

struct PeerCredentials {
    pid_t pid = 0;
    uid_t uid = 0;
    gid_t gid = 0;
};

// The credentials of the process at the other end of a Unix socket (taken when it connected).
std::optional<PeerCredentials> peerCredentials(int fd);

// True when the user `uid` (primary group `primaryGid`) belongs to `group`.
bool userInGroup(uid_t uid, gid_t primaryGid, gid_t group);

struct AuthPolicy {
    std::vector<uid_t> allowedUids;
    std::vector<std::string> allowedGroups;
};

// Asks polkit whether the peer may use the helper.
using PolkitCheck = std::function<bool(const PeerCredentials&)>;

class PeerAuthoriser {
public:
    // Group names are looked up here; a name that names no group allows nobody.
    PeerAuthoriser(AuthPolicy policy, PolkitCheck polkit);

    // True when the peer may use the helper; otherwise `why` says why not.
    bool authorise(const PeerCredentials& peer, std::string& why) const;

private:
    std::vector<uid_t> uids_;
    std::vector<gid_t> gids_;
    bool configured_;
    PolkitCheck polkit_;
};

// The polkit check by running pkcheck (with user interaction allowed, so the user's agent may
// ask for a password); it fails when pkcheck is not there or does not answer within
// `timeLimit` or before `cancel` is set.
PolkitCheck pkcheckPolkit(std::string pkcheckPath, core::Clock& clock,
                          core::Clock::Duration timeLimit, const std::atomic<bool>& cancel);

// The start time of a process (field 22 of /proc/<pid>/stat), which pkcheck uses so that a
// recycled process number is not mistaken for the peer; none when it cannot be read.
std::optional<unsigned long long> processStartTime(pid_t pid);

} // namespace tpc::helper
