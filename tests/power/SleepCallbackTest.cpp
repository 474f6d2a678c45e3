// Sleep prevention around preset cleans over power notifications: the veto, allow and assert
// decisions for each combination of the two options, driven through the power module with a fake
// power source that delivers messages and records every call.

#include "power/SleepCallback.h"
#include "core/WorkerProgress.h"
#include "power/IOKitSleep.h"
#include "power/PowerModule.h"
#include "support/EngineHarness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tpc::test {
namespace {

using namespace power;
using core::Category;
using core::TaskEvent;
using core::TaskKind;

class FakePowerSource final : public PowerSource {
public:
    std::vector<std::string> calls;
    std::vector<core::DictRef> assertions;
    void* refCon = nullptr;
    PowerCallback callback = nullptr;
    int registrations = 0;

    // The n-th registration gets connection 300+n, port 100+n and notifier 200+n.
    PowerConnection registerForSystemPower(void* ref, NotifyPort* port, PowerCallback cb,
                                           Notifier* notifier) override {
        ++registrations;
        refCon = ref;
        callback = cb;
        *port = 100 + registrations;
        *notifier = 200 + registrations;
        calls.push_back("register");
        return 300 + registrations;
    }
    void addRunLoopSource(NotifyPort p) override { note("addRunLoopSource", p); }
    void removeRunLoopSource(NotifyPort p) override { note("removeRunLoopSource", p); }
    void cancelPowerChange(PowerConnection c, std::intptr_t arg) override {
        note("cancel", c, arg);
    }
    void allowPowerChange(PowerConnection c, std::intptr_t arg) override { note("allow", c, arg); }
    bool createAssertion(const core::DictRef& properties, AssertionId* id) override {
        assertions.push_back(properties);
        *id = 500 + static_cast<AssertionId>(assertions.size());
        note("createAssertion", *id);
        return true;
    }
    void releaseAssertion(AssertionId id) override { note("releaseAssertion", id); }
    void deregisterForSystemPower(Notifier* n) override { note("deregister", *n); }
    void serviceClose(PowerConnection c) override { note("serviceClose", c); }
    void destroyNotificationPort(NotifyPort p) override { note("destroyPort", p); }

    // A message as the system would send it through the run loop.
    void deliver(std::uint32_t type, std::intptr_t argument) {
        callback(refCon, 0, type, argument);
    }

private:
    void note(const std::string& what, std::uint64_t a, std::int64_t b = -1) {
        calls.push_back(what + " " + std::to_string(a) + (b >= 0 ? " " + std::to_string(b) : ""));
    }
};

class PowerNotifications : public ::testing::Test {
protected:
    void SetUp() override {
        // One registration per process: every case starts from none.
        sleepState() = SleepState{};
        h.start(platform::Layout::MacOS);
        auto owned = std::make_unique<FakePowerSource>();
        source = owned.get();
        module =
            std::make_unique<PowerModule>(h.app->context(), h.app->tasks(), h.app->general(),
                                          std::make_unique<IOKitSleep>(std::move(owned), h.log));
    }
    void TearDown() override { module.reset(); }

    void options(bool normal, bool forced) {
        h.app->general().preventNormalSleep(normal);
        h.app->general().preventForcedSleep(forced);
    }
    static TaskEvent presetClean(std::uint64_t id) {
        return {id, Category::Presets, TaskKind::Clean};
    }
    std::vector<std::string> powerEvents() const {
        std::vector<std::string> out;
        for (const auto& e : h.frontend.eventsOf(FrontendEvent::Type::Power))
            out.push_back(e.action != "register"
                              ? e.action
                              : "register " + std::to_string(e.normal) + std::to_string(e.forced));
        return out;
    }

    EngineHarness<> h{Category::Presets};
    FakePowerSource* source = nullptr;
    std::unique_ptr<PowerModule> module;
};

class EachOptionCombination : public PowerNotifications,
                              public ::testing::WithParamInterface<std::pair<bool, bool>> {};

TEST_P(EachOptionCombination, VetoesOrAllowsIdleSleepAndAssertsAgainstAnAnnouncedOne) {
    const auto [normal, forced] = GetParam();
    options(normal, forced);
    // Other tasks are not heard.
    module->taskStarted({1, Category::Presets, TaskKind::Scan});
    module->taskStarted({2, Category::Browsers, TaskKind::Clean});
    EXPECT_TRUE(source->calls.empty());

    module->taskStarted(presetClean(3));
    EXPECT_EQ(source->calls, (std::vector<std::string>{"register", "addRunLoopSource 101"}));
    const auto* bytes = static_cast<const std::uint8_t*>(source->refCon);
    EXPECT_EQ(bytes[0], normal ? 1 : 0);
    EXPECT_EQ(bytes[1], forced ? 1 : 0);

    source->calls.clear();
    source->deliver(kIOMessageCanSystemSleep, 11);
    source->deliver(kIOMessageSystemWillSleep, 12);
    source->deliver(0xE0000300, 13); // neither: not answered
    std::vector<std::string> expected{normal ? "cancel 301 11" : "allow 301 11",
                                      forced ? "createAssertion 501" : "allow 301 12"};
    EXPECT_EQ(source->calls, expected);
    EXPECT_TRUE(h.logged("messageType e0000270, arg 0000000b"));
    EXPECT_TRUE(h.logged(normal ? "refCon[0]:1 means IOCancelPowerChange"
                                : "refCon[0]:0 means IOAllowPowerChange"));
    if (forced) {
        const auto& props = source->assertions.at(0);
        EXPECT_EQ(props->size(), 4u);
        EXPECT_EQ(props->getString("AssertType"), "PreventSystemSleep");
        EXPECT_EQ(props->getInt("AssertLevel"), 255);
        EXPECT_EQ(props->getString("AssertName"), "Tavrin Privacy App Cleaning...");
        EXPECT_EQ(props->getString("HumanReadableReason"), "Tavrin Privacy App Cleaning...");
    }

    source->calls.clear();
    module->taskEnded({2, Category::Browsers, TaskKind::Clean});
    EXPECT_TRUE(source->calls.empty());
    module->taskEnded(presetClean(3));
    expected = {"removeRunLoopSource 101", "deregister 201", "serviceClose 301", "destroyPort 101"};
    if (forced)
        expected.insert(expected.begin(), "releaseAssertion 501");
    EXPECT_EQ(source->calls, expected);
    EXPECT_TRUE(h.logged("Deregister() entered"));
    EXPECT_EQ(powerEvents(),
              (std::vector<std::string>{
                  "register " + std::to_string(normal) + std::to_string(forced), "deregister"}));
}

INSTANTIATE_TEST_SUITE_P(Options, EachOptionCombination,
                         ::testing::Values(std::pair{true, false}, std::pair{false, true},
                                           std::pair{true, true}));

TEST_F(PowerNotifications, BothOptionsOffRegistersNothingAndDeregistersNothing) {
    options(false, false);
    module->taskStarted(presetClean(1));
    module->taskEnded(presetClean(1));
    EXPECT_TRUE(source->calls.empty());
    EXPECT_TRUE(powerEvents().empty());
    EXPECT_FALSE(h.logged("Deregister() entered"));
}

TEST_F(PowerNotifications, ASecondCleanRegistersAgainOverwritingTheHandles) {
    options(true, false);
    module->taskStarted(presetClean(1));
    // The next clean starts while the first still winds down.
    module->taskStarted(presetClean(2));
    EXPECT_EQ(source->registrations, 2);
    EXPECT_EQ(sleepState().root_port, 302u);
    EXPECT_EQ(sleepState().notifierObject, 202u);

    source->calls.clear();
    module->taskEnded(presetClean(1)); // replaced: nothing to release for it
    EXPECT_TRUE(source->calls.empty());
    source->deliver(kIOMessageCanSystemSleep, 7);
    module->taskEnded(presetClean(2));
    EXPECT_EQ(source->calls,
              (std::vector<std::string>{"cancel 302 7", "removeRunLoopSource 102", "deregister 202",
                                        "serviceClose 302", "destroyPort 102"}));
}

TEST_F(PowerNotifications, SwitchingTheOptionsOffDuringACleanStillReleasesWhatItHolds) {
    options(false, true);
    module->taskStarted(presetClean(4));
    source->deliver(kIOMessageSystemWillSleep, 9);
    options(false, false);
    module->taskEnded(presetClean(4));
    EXPECT_EQ(source->calls.at(3), "releaseAssertion 501");
    EXPECT_EQ(powerEvents().back(), "deregister");
}

// The program's own module on a host without power notifications: the registration fails, is
// logged, and the clean runs to its end; the failed registration is still deregistered.
TEST(PowerModuleOnThisHost, APresetCleanRunsWithoutSleepPreventionWhenRegistrationFails) {
    sleepState() = SleepState{};
    EngineHarness<> h(Category::Presets);
    auto& app = h.start(platform::Layout::MacOS);
    app.general().preventNormalSleep(true);
    ASSERT_NE(app.module<PowerModule>(), nullptr);

    core::TaskSpec presetClean{Category::Presets,
                               TaskKind::Clean,
                               core::MainButton::AutoClean,
                               [] {},
                               [] {},
                               [] {
                               }};
    app.tasks().buttonClicked(presetClean, core::Sender::Button, [&] {
        core::WorkerProgress progress(app.context(), app.tasks(), presetClean);
        progress.prepare();
        progress.finish();
    });
    h.serveUntil([&] {
        return h.frontend.eventsOf(FrontendEvent::Type::Power).size() == 2 && app.tasks().idle();
    });
    EXPECT_TRUE(h.logged("IORegisterForSystemPower failed"));
    EXPECT_TRUE(h.logged("Deregister() entered"));
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Clean));
}

} // namespace
} // namespace tpc::test
