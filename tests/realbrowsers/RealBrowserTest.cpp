#include "realbrowsers/RealBrowserTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>

namespace tpc::test::real {

namespace {

// A 16×16 red square.
const char kIconPng[] =
    "\x89\x50\x4e\x47\x0d\x0a\x1a\x0a\x00\x00\x00\x0d\x49\x48\x44\x52\x00\x00\x00\x10\x00\x00\x00"
    "\x10\x08\x06\x00\x00\x00\x1f\xf3\xff\x61\x00\x00\x00\x19\x49\x44\x41\x54\x78\xda\x63\x38\x21"
    "\x27\xf7\x9f\x12\xcc\x30\x6a\xc0\xa8\x01\xa3\x06\x0c\x17\x03\x00\x06\xda\x03\x1f\x90\xea\xe1"
    "\x58\x00\x00\x00\x00\x49\x45\x4e\x44\xae\x42\x60\x82";

// A page that stores a cookie from script, local and session storage and an IndexedDB record,
// all named after @TAG@, and then runs @THEN@ (also when IndexedDB fails, with `failed` set).
const char kStoringPage[] = R"(<!doctype html><html><head><meta charset="utf-8">
<title>Page @TAG@</title><link rel="icon" type="image/png" href="/icon.png"></head><body>
<form id="f" action="/dl" method="get"><input type="text" name="q" id="q"></form>
<script>
document.cookie = "js@TAG@=1; max-age=86400; path=/";
localStorage.setItem("local@TAG@", "value @TAG@");
sessionStorage.setItem("session@TAG@", "value @TAG@");
function next(failed) { setTimeout(function () { @THEN@ }, 300); }
const request = indexedDB.open("db@TAG@", 1);
request.onupgradeneeded = function () { request.result.createObjectStore("records"); };
request.onerror = function () { next(true); };
request.onsuccess = function () {
  const tx = request.result.transaction("records", "readwrite");
  tx.objectStore("records").put("value @TAG@", "key");
  tx.oncomplete = function () { next(false); };
  tx.onerror = function () { next(true); };
};
</script></body></html>)";

std::string storingPage(const std::string& tag, const std::string& then) {
    std::string text = kStoringPage;
    for (const auto& [marker, value] :
         {std::pair<std::string, std::string>{"@TAG@", tag}, {"@THEN@", then}})
        for (auto at = text.find(marker); at != std::string::npos;
             at = text.find(marker, at + value.size()))
            text.replace(at, marker.size(), value);
    return text;
}

SiteResponse page(std::string body) {
    SiteResponse r;
    // Cached, but asked for again at every visit: the site sees each page a run loads.
    r.headers = {"Set-Cookie: srv=1; Max-Age=86400; Path=/", "Cache-Control: no-cache"};
    r.body = std::move(body);
    return r;
}

} // namespace

void RealBrowserTest::SetUp() {
    // A browser that dies while the test writes to its control pipe is a failure to report, not
    // a reason for the test program to end.
    std::signal(SIGPIPE, SIG_IGN);
    fs::create_directories(home);
}

void RealBrowserTest::setUpBrowser(const std::string& command, const std::string& name,
                                   Ending ending) {
    browserCommand = command;
    browserName = name;
    browserEnding = ending;
    executable = findBrowser(command);
    if (!executable)
        GTEST_SKIP() << name << " is not installed (no `" << command << "` on "
                     << (std::getenv("TPC_REAL_BROWSER_PATH") ? "TPC_REAL_BROWSER_PATH" : "PATH")
                     << ")";
    RealBrowserTest::SetUp();
    serveSite(ending == Ending::PageClosesWindow);
    started = std::chrono::steady_clock::now();
}

int RealBrowserTest::run(const std::string& url, std::size_t doneTimes,
                         std::chrono::seconds limit) {
    using namespace std::chrono_literals;
    ++runs;
    const bool devTools = browserEnding == Ending::DevToolsClose;
    BrowserProcess browser({*executable, arguments(url), home,
                            dir / (browserCommand + "-" + std::to_string(runs) + ".log"),
                            devTools});
    EXPECT_TRUE(visitEnded(doneTimes, limit))
        << "run " << runs << ": " << browserName << " did not reach /done within " << limit.count()
        << " s; requests: " << joined(site.requests()) << "\nlog:\n"
        << browser.logTail();
    const bool asked = !devTools || browser.sendDevTools(R"({"id":1,"method":"Browser.close"})");
    auto status = asked ? browser.waitExit(30s) : std::nullopt;
    if (!status) {
        ADD_FAILURE() << "run " << runs << ": " << browserName
                      << (devTools ? " did not close on Browser.close"
                                   : " did not quit with its last window")
                      << "\n"
                      << browser.logTail();
        status = browser.stop(10s);
    }
    return *status;
}

void RealBrowserTest::serveSite(bool closeWhenDone) {
    const auto done = siteUrl(kRemovedHost, "/done");
    const auto second = siteUrl(kKeptHost, "/b");
    // The form's value tells the site (and a failure message) whether IndexedDB failed.
    site.route("/a", page(storingPage("A", "document.getElementById('q').value = "
                                           "failed ? 'indexeddb failed' : 'typed words'; "
                                           "document.getElementById('f').requestSubmit();")));
    site.route("/dl", page(R"(<!doctype html><title>Download</title>
<a id="d" href="/file.bin" download="file.bin">file</a>
<script>document.getElementById("d").click();
setTimeout(function () { location.href = ")" +
                           second + R"("; }, 1000);</script>)"));
    site.route("/b", page(storingPage("B", "location.href = '" + done +
                                               "' + (failed ? '?indexeddb-failed' : '');")));
    site.route("/done",
               page(std::string("<!doctype html><title>Done</title><p>done</p>") +
                    (closeWhenDone ? "<script>setTimeout(function () { window.close(); }, 500);"
                                     "</script>"
                                   : "")));
    SiteResponse icon;
    icon.contentType = "image/png";
    icon.headers = {"Cache-Control: max-age=3600"};
    icon.body.assign(kIconPng, sizeof kIconPng - 1);
    site.route("/icon.png", icon);
    SiteResponse file;
    file.contentType = "application/octet-stream";
    file.headers = {"Content-Disposition: attachment; filename=file.bin"};
    file.body = "downloaded bytes\n";
    site.route("/file.bin", file);
}

bool RealBrowserTest::visitEnded(std::size_t times, std::chrono::seconds limit) const {
    return site.waitFor(kRemovedHost, "/done", times, limit);
}

RealBrowserTest::Cleaned RealBrowserTest::keepHostAndCleanEverything(const std::string& browser) {
    Cleaned cleaned;
    const auto kept = tpc({"cookies", browser, "keep", kKeptHost, "--json"});
    EXPECT_EQ(kept.code, 0) << kept.err;
    if (kept.code == 0) {
        const auto lists = nlohmann::json::parse(kept.out);
        EXPECT_NE(std::find(lists["keep"].begin(), lists["keep"].end(), kKeptHost),
                  lists["keep"].end())
            << kept.out;
    }

    const auto scan = tpc({"scan", "browsers", "--json"});
    EXPECT_EQ(scan.code, 0) << scan.err;
    if (scan.code != 0)
        return cleaned;
    const auto scanned = nlohmann::json::parse(scan.out);
    for (const auto& root : scanned["list"]) {
        if (root["Description Dictionary"]["Description"] != browser)
            continue;
        for (const auto& row : root["Sub List Array"]) {
            const std::string item = row["Description Dictionary"]["Description"];
            // Quitting the browser is no data, and would end every such browser of the user.
            if (!item.starts_with("Auto Quit"))
                cleaned.items.push_back(item);
        }
    }
    EXPECT_FALSE(cleaned.items.empty()) << "the browsers scan lists no item of " << browser;
    if (cleaned.items.empty())
        return cleaned;

    const auto trace = dir / "clean.trace";
    std::vector<std::string> args = {"clean", "browsers", "--json", "--trace", trace.string()};
    for (const auto& item : cleaned.items) {
        args.push_back("--item");
        args.push_back(browser + "/" + item);
    }
    const auto clean = tpc(args);
    EXPECT_EQ(clean.code, 0) << clean.err;
    std::ifstream events(trace);
    for (std::string line; std::getline(events, line);) {
        const auto event = nlohmann::json::parse(line, nullptr, false);
        if (event.is_object() && event.value("event", "") == "log")
            cleaned.logs.push_back(event.value("text", ""));
    }
    for (const auto& text : cleaned.logs)
        std::cout << "[ note ] the clean logged: " << text << "\n";
    return cleaned;
}

std::vector<std::string> RealBrowserTest::cookieRows(const CookieTable& cookies,
                                                     const std::string& where) {
    return queryRows(cookies.db, "SELECT " + cookies.hostColumn + ", name FROM " + cookies.table +
                                     " WHERE " + cookies.hostColumn + " " + where +
                                     " ORDER BY 1, 2");
}

void RealBrowserTest::cookiesBeforeClean(const CookieTable& cookies,
                                         std::vector<std::string>& kept) const {
    kept = cookieRows(cookies, "= '" + std::string(kKeptHost) + "'");
    ASSERT_FALSE(kept.empty()) << "no cookie of " << kKeptHost;
    ASSERT_FALSE(cookieRows(cookies, "LIKE '%" + std::string(kRemovedHost) + "%'").empty())
        << "no cookie of " << kRemovedHost;
}

void RealBrowserTest::expectCookiesCleaned(const CookieTable& cookies,
                                           const std::vector<std::string>& kept) const {
    SCOPED_TRACE("cookies");
    EXPECT_EQ(joined(cookieRows(cookies, "LIKE '%" + std::string(kRemovedHost) + "%'")), "(none)");
    EXPECT_EQ(cookieRows(cookies, "= '" + std::string(kKeptHost) + "'"), kept);
}

void RealBrowserTest::noteKindsNotMade(
    std::initializer_list<std::pair<bool, const char*>> kinds) const {
    for (const auto& [made, what] : kinds)
        if (!made)
            std::cout << "[ note ] " << browserName << " made no " << what
                      << " here: not checked\n";
}

void RealBrowserTest::expectSoundStores(const fs::path& root) {
    for (const auto& store : sqliteStores(root))
        EXPECT_EQ(integrityOf(store), "ok") << store;
}

void RealBrowserTest::noteTimeTaken(const Cleaned& cleaned) const {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::steady_clock::now() - started);
    std::cout << "[ note ] " << browserName << ": " << seconds.count() << " s for " << runs
              << " runs and the clean of: " << joined(cleaned.items) << "\n";
}

void RealBrowserTest::noteFilesNamingRemovedHost(const fs::path& root,
                                                 const std::vector<std::string>& needles) const {
    const auto files = filesNaming(root, needles);
    if (files.empty())
        return;
    std::cout << "[ note ] files under " << root.lexically_relative(home).string()
              << " that still name " << kRemovedHost << ":\n";
    for (const auto& file : files)
        std::cout << "           " << file << "\n";
}

} // namespace tpc::test::real
