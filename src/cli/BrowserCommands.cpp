#include "cli/Commands.h"

#include "browsers/BrowsersModule.h"
#include "browsers/CookieLists.h"
#include "core/SizeText.h"

#include <memory>
#include <sstream>

namespace tpc::cli {

namespace {

using browsers::BrowserEntry;

struct BrowserArgs {
    std::string browser;
    std::string item;
    std::string search;
    std::vector<std::string> domains;
};

const BrowserEntry& findBrowser(Session& session, const std::string& name) {
    // "Chrome" is how the cookie lists name Google Chrome.
    const auto& all = session.module<browsers::BrowsersModule>().cleaners();
    const auto* entry = all.find(name == "Chrome" ? "Google Chrome" : name);
    if (!entry) {
        std::string known;
        for (const auto& e : all.entries())
            known += (known.empty() ? "" : ", ") + e.name;
        throw UsageError("unknown browser \"" + name + "\" (known: " + known + ")");
    }
    return *entry;
}

void checkItem(const BrowserEntry& entry, const std::string& item) {
    for (const auto& i : entry.items)
        if (i == item)
            return;
    std::string known;
    for (const auto& i : entry.items)
        known += (known.empty() ? "" : ", ") + i;
    throw UsageError("unknown item \"" + item + "\" of " + entry.name + " (known: " + known + ")");
}

int count(Session& session, const BrowserArgs& args) {
    const auto& entry = findBrowser(session, args.browser);
    checkItem(entry, args.item);
    auto pair = entry.countItem(args.item);
    if (!pair)
        throw UsageError("\"" + args.item + "\" has nothing to count");
    std::ostringstream text;
    text << pair->count << " items, "
         << core::getFormattedStringForSize(
                static_cast<std::uint64_t>(static_cast<std::uint32_t>(pair->size)));
    session.print({{"count", pair->count}, {"size", pair->size}}, text.str());
    return 0;
}

int remove(Session& session, const BrowserArgs& args) {
    const auto& entry = findBrowser(session, args.browser);
    checkItem(entry, args.item);
    entry.deleteItem(args.item);
    session.print(nlohmann::json::object(), "");
    return 0;
}

int printLists(Session& session, browsers::CookieBrowser b) {
    auto& lists = session.module<browsers::BrowsersModule>().cookies();
    const auto& del = lists.disAllowedActive(b);
    const auto& keep = lists.allowedActive(b);
    std::ostringstream text;
    text << "Delete (" << del.size() << "):\n";
    for (const auto& d : del)
        text << "  " << d << "\n";
    text << "Keep (" << keep.size() << "):\n";
    for (const auto& d : keep)
        text << "  " << d << "\n";
    session.print({{"delete", del}, {"keep", keep}}, text.str());
    return 0;
}

int cookiesList(Session& session, const BrowserArgs& args) {
    const auto& entry = findBrowser(session, args.browser);
    entry.refreshCookies();
    auto& lists = session.module<browsers::BrowsersModule>().cookies();
    lists.searchCookiesToDelete(entry.cookieBrowser, args.search);
    lists.searchCookiesToKeep(entry.cookieBrowser, args.search);
    return printLists(session, entry.cookieBrowser);
}

int cookiesMove(Session& session, const BrowserArgs& args, bool keep) {
    const auto& entry = findBrowser(session, args.browser);
    auto& lists = session.module<browsers::BrowsersModule>().cookies();
    for (const auto& domain : args.domains) {
        if (browsers::CookieLists::stripLeadingDots(domain).empty())
            throw UsageError("\"" + domain + "\" is not a domain");
    }
    for (const auto& domain : args.domains) {
        if (keep)
            lists.keep(entry.cookieBrowser, domain);
        else
            lists.unkeep(entry.cookieBrowser, domain);
    }
    return printLists(session, entry.cookieBrowser);
}

} // namespace

void addBrowserCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<BrowserArgs>();

    auto* countCmd = app.add_subcommand("count", "Count one item of a browser");
    countCmd->add_option("BROWSER", args->browser, "e.g. Firefox, \"Google Chrome\"")->required();
    countCmd->add_option("ITEM", args->item, "e.g. Cookies, \"Internet History\"")->required();
    countCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return count(s, *args);
        };
    });

    auto* deleteCmd = app.add_subcommand("delete", "Delete one item of a browser");
    deleteCmd->add_option("BROWSER", args->browser, "e.g. Firefox, \"Google Chrome\"")->required();
    deleteCmd->add_option("ITEM", args->item, "e.g. Cookies, \"Auto Quit Firefox\"")->required();
    deleteCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return remove(s, *args);
        };
    });

    auto* cookies = app.add_subcommand("cookies", "A browser's cookie delete and keep lists");
    cookies->add_option("BROWSER", args->browser, "e.g. Firefox, Chrome, Opera")->required();
    cookies->require_subcommand(1);
    auto* list = cookies->add_subcommand("list", "Refresh the delete list and show both lists");
    list->add_option("--search", args->search, "show only domains containing TEXT");
    list->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return cookiesList(s, *args);
        };
    });
    auto* keep = cookies->add_subcommand("keep", "Keep the cookies of these domains");
    keep->add_option("DOMAIN", args->domains)->required();
    keep->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return cookiesMove(s, *args, true);
        };
    });
    auto* unkeep = cookies->add_subcommand("unkeep", "Delete the cookies of these domains again");
    unkeep->add_option("DOMAIN", args->domains)->required();
    unkeep->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return cookiesMove(s, *args, false);
        };
    });
}

} // namespace tpc::cli
