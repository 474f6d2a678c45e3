#pragma once
// The browsers subsystem: the cookie keep and delete lists, every browser's cleaner and the
// browsers category.

#include "browsers/BrowserCleaners.h"
#include "browsers/BrowserDriver.h"
#include "browsers/CookieLists.h"
#include "core/Module.h"

namespace tpc::browsers {

class BrowsersModule final : public core::Module {
public:
    BrowsersModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
        : cookies_(ctx.settings, ctx.log),
          cleaners_(CleanerEnv{ctx.platform, deleter, cookies_, ctx.log}),
          driver_(ctx, tasks, cleaners_, cookies_) {}

    std::string name() const override { return "browsers"; }
    // The cookie lists, then each browser's delete list from its store, early; the catalogue with
    // the other lists.
    void start(core::StartupStep step, const core::StartupOptions&) override {
        if (step == core::StartupStep::EarlyLists) {
            cookies_.loadCookies();
            cleaners_.refreshAllCookieLists();
        }
        if (step == core::StartupStep::Lists)
            driver_.populateBrowserData();
    }
    std::vector<core::CategoryEngine*> categories() override { return {&driver_}; }

    CookieLists& cookies() { return cookies_; }
    BrowserCleaners& cleaners() { return cleaners_; }
    BrowserDriver& driver() { return driver_; }

private:
    CookieLists cookies_;
    BrowserCleaners cleaners_;
    BrowserDriver driver_;
};

} // namespace tpc::browsers
