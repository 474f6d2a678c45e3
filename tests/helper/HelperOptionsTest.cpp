#include "helper/HelperOptions.h"

#include <gtest/gtest.h>
#include <sstream>

namespace tpc::test {
namespace {

std::variant<helper::HelperOptions, int> parse(std::vector<const char*> args,
                                               std::string* errText = nullptr) {
    args.insert(args.begin(), "tpc-helper");
    std::ostringstream out, err;
    auto result = helper::parseHelperOptions(static_cast<int>(args.size()), args.data(), out, err);
    if (errText)
        *errText = err.str();
    return result;
}

TEST(HelperOptions, Defaults) {
    auto parsed = parse({});
    ASSERT_TRUE(std::holds_alternative<helper::HelperOptions>(parsed));
    const auto& o = std::get<helper::HelperOptions>(parsed);
    EXPECT_FALSE(o.socketPath);
    EXPECT_TRUE(o.allowUids.empty());
    EXPECT_TRUE(o.allowGroups.empty());
    EXPECT_EQ(o.pkcheckPath, "/usr/bin/pkcheck");
    EXPECT_FALSE(o.install);
    EXPECT_EQ(o.unitDir, "/etc/systemd/system");
}

TEST(HelperOptions, RepeatedUsersAndGroupsAddUp) {
    auto parsed = parse({"--socket", "/tmp/s", "--allow-uid", "1000", "--allow-uid", "1001",
                         "--allow-group", "wheel", "--allow-group", "admin", "--log-to-stderr"});
    ASSERT_TRUE(std::holds_alternative<helper::HelperOptions>(parsed));
    const auto& o = std::get<helper::HelperOptions>(parsed);
    EXPECT_EQ(o.socketPath, "/tmp/s");
    EXPECT_EQ(o.allowUids, (std::vector<uid_t>{1000, 1001}));
    EXPECT_EQ(o.allowGroups, (std::vector<std::string>{"wheel", "admin"}));
    EXPECT_TRUE(o.logToStderr);
}

TEST(HelperOptions, InstallAndVersion) {
    auto parsed = parse({"--install", "--unit-dir", "/tmp/units"});
    ASSERT_TRUE(std::holds_alternative<helper::HelperOptions>(parsed));
    EXPECT_TRUE(std::get<helper::HelperOptions>(parsed).install);
    EXPECT_EQ(std::get<helper::HelperOptions>(parsed).unitDir, "/tmp/units");
    parsed = parse({"--version"});
    ASSERT_TRUE(std::holds_alternative<helper::HelperOptions>(parsed));
    EXPECT_TRUE(std::get<helper::HelperOptions>(parsed).version);
}

TEST(HelperOptions, BadArgumentsEndTheProgram) {
    std::string err;
    auto parsed = parse({"--allow-uid", "someone"}, &err);
    ASSERT_TRUE(std::holds_alternative<int>(parsed));
    EXPECT_NE(std::get<int>(parsed), 0);
    EXPECT_FALSE(err.empty());
    parsed = parse({"--no-such-option"});
    ASSERT_TRUE(std::holds_alternative<int>(parsed));
    EXPECT_NE(std::get<int>(parsed), 0);
    parsed = parse({"--help"});
    ASSERT_TRUE(std::holds_alternative<int>(parsed));
    EXPECT_EQ(std::get<int>(parsed), 0);
}

} // namespace
} // namespace tpc::test
