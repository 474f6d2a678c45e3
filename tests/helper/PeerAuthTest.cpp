#include "helper/PeerAuth.h"
#include "support/FakeClock.h"

#include <atomic>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tpc::test {
namespace {

using helper::AuthPolicy;
using helper::PeerAuthoriser;
using helper::PeerCredentials;

// A uid and gid no account on a test machine has.
constexpr uid_t kStranger = 54321;

struct PolkitSpy {
    int calls = 0;
    bool answer = false;
    helper::PolkitCheck check() {
        return [this](const PeerCredentials&) {
            ++calls;
            return answer;
        };
    }
};

TEST(PeerAuth, RootIsAlwaysAllowed) {
    PolkitSpy polkit;
    PeerAuthoriser auth(AuthPolicy{{12345}, {}}, polkit.check());
    std::string why;
    EXPECT_TRUE(auth.authorise(PeerCredentials{1, 0, 0}, why));
    EXPECT_EQ(polkit.calls, 0);
}

TEST(PeerAuth, ConfiguredUidsAreAllowedAndOthersRefused) {
    PolkitSpy polkit;
    polkit.answer = true;
    PeerAuthoriser auth(AuthPolicy{{12345, 12346}, {}}, polkit.check());
    std::string why;
    EXPECT_TRUE(auth.authorise(PeerCredentials{1, 12346, kStranger}, why));
    EXPECT_FALSE(auth.authorise(PeerCredentials{1, kStranger, kStranger}, why));
    EXPECT_EQ(why, "user not allowed");
    // polkit is not asked once users or groups are configured.
    EXPECT_EQ(polkit.calls, 0);
}

TEST(PeerAuth, MembersOfConfiguredGroupsAreAllowed) {
    // The group of gid 0 exists everywhere; a stranger whose primary group it is belongs to it.
    group* root = ::getgrgid(0);
    ASSERT_NE(root, nullptr);
    PolkitSpy polkit;
    PeerAuthoriser auth(AuthPolicy{{}, {root->gr_name}}, polkit.check());
    std::string why;
    EXPECT_TRUE(auth.authorise(PeerCredentials{1, kStranger, 0}, why));
    EXPECT_FALSE(auth.authorise(PeerCredentials{1, kStranger, kStranger}, why));
    EXPECT_EQ(polkit.calls, 0);
}

TEST(PeerAuth, UnknownGroupAllowsNobodyAndStillKeepsPolkitOut) {
    PolkitSpy polkit;
    polkit.answer = true;
    PeerAuthoriser auth(AuthPolicy{{}, {"no-such-group-tpc"}}, polkit.check());
    std::string why;
    EXPECT_FALSE(auth.authorise(PeerCredentials{1, kStranger, kStranger}, why));
    EXPECT_EQ(polkit.calls, 0);
}

TEST(PeerAuth, WithNothingConfiguredPolkitDecides) {
    PolkitSpy polkit;
    PeerAuthoriser auth(AuthPolicy{}, polkit.check());
    std::string why;
    EXPECT_FALSE(auth.authorise(PeerCredentials{1, kStranger, kStranger}, why));
    EXPECT_EQ(why, "not authorised by polkit");
    polkit.answer = true;
    EXPECT_TRUE(auth.authorise(PeerCredentials{1, kStranger, kStranger}, why));
    EXPECT_EQ(polkit.calls, 2);
}

TEST(PeerAuth, WithoutPkcheckNobodyButRootIsAllowed) {
    test::FakeClock clock;
    std::atomic<bool> cancel{false};
    PeerAuthoriser auth(AuthPolicy{}, helper::pkcheckPolkit("/nonexistent/pkcheck", clock,
                                                            core::Clock::seconds(1), cancel));
    std::string why;
    EXPECT_FALSE(auth.authorise(PeerCredentials{::getpid(), kStranger, kStranger}, why));
    EXPECT_TRUE(auth.authorise(PeerCredentials{::getpid(), 0, 0}, why));
}

TEST(PeerAuth, PeerCredentialsOfALocalSocket) {
    int fds[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    auto cred = helper::peerCredentials(fds[0]);
    ::close(fds[0]);
    ::close(fds[1]);
    ASSERT_TRUE(cred);
    EXPECT_EQ(cred->pid, ::getpid());
    EXPECT_EQ(cred->uid, ::getuid());
    EXPECT_EQ(cred->gid, ::getgid());
    EXPECT_FALSE(helper::peerCredentials(-1));
}

TEST(PeerAuth, ProcessStartTime) {
    auto start = helper::processStartTime(::getpid());
    ASSERT_TRUE(start);
    EXPECT_GT(*start, 0u);
    EXPECT_FALSE(helper::processStartTime(-5));
}

TEST(PeerAuth, GroupMembershipByPrimaryGroup) {
    EXPECT_TRUE(helper::userInGroup(kStranger, 777, 777));
    EXPECT_FALSE(helper::userInGroup(kStranger, 777, 778));
}

} // namespace
} // namespace tpc::test
