#pragma once
// A small web site for tests that drive real browsers: an HTTP server on 127.0.0.1, on a port the
// system chose, answering each path with its own response (headers included, so pages can set
// cookies or be downloads) and any other with one response, a 404 unless set. Every connection is
// served on its own thread, one request each, so a browser's idle speculative connections never
// hold the others up. It answers for any host name that reaches it: "127.0.0.1" and "localhost"
// are two sites to a browser, served by the same pages.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tpc::test {

struct SiteResponse {
    int status = 200;
    std::string contentType = "text/html; charset=utf-8";
    // Further header lines, each "Name: value".
    std::vector<std::string> headers;
    std::string body;
};

// A TCP socket bound to 127.0.0.1 on a port the system chose, not yet listening; its port in
// `port`.
int boundLoopbackSocket(int& port);

class SiteHttpServer {
public:
    SiteHttpServer();
    ~SiteHttpServer();
    SiteHttpServer(const SiteHttpServer&) = delete;
    SiteHttpServer& operator=(const SiteHttpServer&) = delete;

    int port() const { return port_; }
    // "http://<host>:<port><path>".
    std::string url(const std::string& host, const std::string& path) const;
    // The response for `path` (the request target without its query).
    void route(const std::string& path, SiteResponse response);
    // The response for every path with no route of its own (a 404 until set).
    void routeOthers(SiteResponse response);

    // The requests received so far, each "<Host header><target>" ("127.0.0.1:4242/a?q=1").
    std::vector<std::string> requests() const;
    // The request lines received so far ("GET /a%20b HTTP/1.1"), each kept before it is answered.
    std::vector<std::string> requestLines() const;
    // How many requests for `path` (query ignored) came with the Host `host`:<port>.
    std::size_t count(const std::string& host, const std::string& path) const;
    // Waits until `count(host, path)` reaches `times`, at most `limit`; whether it did.
    bool waitFor(const std::string& host, const std::string& path, std::size_t times,
                 std::chrono::milliseconds limit) const;

private:
    void accept();
    void answer(int client);
    std::size_t countLocked(const std::string& host, const std::string& path) const;

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    mutable std::condition_variable arrived_;
    std::map<std::string, SiteResponse> routes_;
    SiteResponse others_{404, "text/plain", {}, {}};
    std::vector<std::string> requests_;
    std::vector<std::string> requestLines_;
    std::vector<std::thread> connections_;
    std::thread acceptor_;
};

} // namespace tpc::test
