#include "AppFixture.h"
#include "support/FakeClock.h"

#include "controller/UiScriptingTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace tpc::test {
namespace {

using core::AlertDefault;
using core::AlertOther;
using core::Category;
using core::TaskKind;
using test::FrontendEvent;

std::vector<core::AlertRequest> alerts(const test::RecordingFrontend& f) {
    std::vector<core::AlertRequest> out;
    for (const auto& e : f.eventsOf(FrontendEvent::Type::Alert))
        out.push_back(e.alert);
    return out;
}

TEST(UiScriptingPrompt, SkippedWithALogLineWhenTheProbeDoesNotCompile) {
    AppFixture f;
    f.scripts->compiles = false;
    f.start(false);
    EXPECT_TRUE(alerts(f.frontend).empty());
    auto lines = f.log.lines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "UI elements enable script compile failed"),
              lines.end());
    EXPECT_TRUE(f.app->general().promptForSystemUIElementsEnabled());
}

TEST(UiScriptingPrompt, NotShownWhenScriptingIsAllowedOrTheUserDeclinedForGood) {
    AppFixture allowed;
    allowed.scripts->answer = "true";
    allowed.start(false);
    EXPECT_TRUE(alerts(allowed.frontend).empty());

    AppFixture declined;
    declined.frontend.scriptAlertAnswers({AlertOther});
    declined.start(false);
    ASSERT_EQ(alerts(declined.frontend).size(), 1u);
    EXPECT_FALSE(declined.app->general().promptForSystemUIElementsEnabled());
    declined.frontend.clear();
    declined.start(false);
    EXPECT_TRUE(alerts(declined.frontend).empty());
}

TEST(UiScriptingPrompt, OkOpensThePrivacySettingsAndExplainsAndKeepsPrompting) {
    AppFixture f;
    f.frontend.scriptAlertAnswers({AlertDefault, AlertDefault});
    f.start(false);
    auto shown = alerts(f.frontend);
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].title, "Information");
    EXPECT_EQ(shown[0].message, controller::uiscripting::kPromptFrom);
    EXPECT_EQ(shown[0].buttons(),
              (std::vector<std::string>{"OK", "Not Now", "NO, don't prompt again"}));
    EXPECT_EQ(shown[1].message, controller::uiscripting::kFollowUpFrom);
    EXPECT_EQ(shown[1].buttons(), std::vector<std::string>{"OK"});
    EXPECT_EQ(f.scripts->ran.back(), controller::AppDelegate::getOpenSysPrefsScript());
    EXPECT_TRUE(f.app->general().promptForSystemUIElementsEnabled());
}

TEST(UiScriptingPrompt, TextFollowsTheSystemVersion) {
    using platform::SystemVersion;
    auto text = [](std::optional<SystemVersion> v) {
        return controller::AppDelegate::uiScriptingPromptText(v);
    };
    EXPECT_EQ(text(std::nullopt), controller::uiscripting::kPromptFrom);
    EXPECT_EQ(text(SystemVersion{10, 8, 5}), controller::uiscripting::kPromptBefore);
    EXPECT_EQ(text(SystemVersion{10, 9, 2}), controller::uiscripting::kPromptBefore);
    EXPECT_EQ(text(SystemVersion{10, 9, 3}), controller::uiscripting::kPromptFrom);
    EXPECT_EQ(text(SystemVersion{10, 10, 0}), controller::uiscripting::kPromptFrom);
    EXPECT_EQ(text(SystemVersion{11, 0, 0}), controller::uiscripting::kPromptFrom);
    EXPECT_NE(std::string(controller::uiscripting::kPromptFrom)
                  .find("Choose ‘Accessibility’ option  under ‘Privacy’"),
              std::string::npos);
}

TEST(MainWindow, ClosingTellsTheProgramKeepsRunningUnlessQuitting) {
    AppFixture f;
    f.start();
    f.app->windowWillClose();
    auto shown = alerts(f.frontend);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].title, "Tavrin Privacy Cleaner will be running");
    EXPECT_EQ(shown[0].message,
              "Tavrin Privacy Cleaner will be running and can be accessed from the status bar.");

    f.app->terminateApp({});
    f.app->windowWillClose();
    EXPECT_EQ(alerts(f.frontend).size(), 1u);
    f.app->tasks().joinAll();
}

TEST(Shutdown, WaitsForARunningCleanToSeeItsAbortFlag) {
    AppFixture f;
    f.start();
    // The waiting thread's polls must be observable one by one.
    test::FakeClock clock(test::FakeClock::Mode::Manual);
    core::SystemLog log(false);
    controller::AppDelegate app({f.frontend, f.mainThread, *f.platform, clock, log});
    app.startUp({.headless = true});

    auto& flags = app.flags();
    flags.setRunning(Category::Browsers, TaskKind::Clean, true);

    std::atomic<bool> statusItemRemoved{false}, terminated{false};
    std::atomic<bool> windowVisible{true};
    controller::ShutdownHooks hooks;
    hooks.removeStatusItem = [&] {
        statusItemRemoved = true;
    };
    hooks.closeMainWindow = [&] {
        windowVisible = false;
    };
    hooks.mainWindowVisible = [&] {
        return windowVisible.load();
    };
    hooks.terminate = [&] {
        terminated = true;
    };
    app.terminateApp(hooks);

    EXPECT_TRUE(app.terminatingApp());
    EXPECT_TRUE(flags.aborting(Category::Browsers, TaskKind::Clean));
    EXPECT_TRUE(flags.abortCleaning());

    // The clean has not handled its abort yet: every 0.25 s the waiter looks again.
    auto start = clock.now();
    for (int i = 0; i < 4; ++i) {
        clock.waitForSleepers(1);
        EXPECT_FALSE(statusItemRemoved);
        clock.advance(core::Clock::seconds(0.25));
    }
    clock.waitForSleepers(1);
    EXPECT_EQ(clock.now() - start, core::Clock::seconds(1.0));

    // The clean winds down: its abort flag clears, then its running flag.
    flags.setAbort(Category::Browsers, TaskKind::Clean, false);
    flags.setRunning(Category::Browsers, TaskKind::Clean, false);
    clock.advance(core::Clock::seconds(0.25));
    app.tasks().joinAll();
    EXPECT_TRUE(statusItemRemoved);
    EXPECT_FALSE(windowVisible);
    EXPECT_TRUE(terminated);
    EXPECT_FALSE(flags.abortCleaning());
}

TEST(Shutdown, QuitsAtOnceWhenNothingRuns) {
    AppFixture f;
    f.start();
    std::atomic<bool> terminated{false};
    controller::ShutdownHooks hooks;
    hooks.terminate = [&] {
        terminated = true;
    };
    f.app->terminateApp(hooks);
    f.app->tasks().joinAll();
    EXPECT_TRUE(terminated);
    EXPECT_EQ(f.clock.sleepCalls(), 0u);
}

} // namespace
} // namespace tpc::test
