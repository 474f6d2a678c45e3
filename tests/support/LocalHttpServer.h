#pragma once
// A small HTTP server for tests on 127.0.0.1, on a port the system chose: one thread accepts one
// connection at a time and answers every request with the response set last.

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tpc::test {

class LocalHttpServer {
public:
    LocalHttpServer();
    ~LocalHttpServer();
    LocalHttpServer(const LocalHttpServer&) = delete;
    LocalHttpServer& operator=(const LocalHttpServer&) = delete;

    int port() const { return port_; }
    // "http://127.0.0.1:<port>" followed by `path`.
    std::string url(const std::string& path) const;
    void respond(int status, std::string body);
    // The request lines received so far ("GET /a%20b HTTP/1.1").
    std::vector<std::string> requests() const;

    // A port on 127.0.0.1 where nothing listens.
    static int closedPort();

private:
    void serve();

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    int status_ = 200;
    std::string body_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

} // namespace tpc::test
