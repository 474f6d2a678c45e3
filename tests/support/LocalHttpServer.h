#pragma once
// A small HTTP server for tests on 127.0.0.1, on a port the system chose, that answers every
// request with the response set last (a SiteHttpServer with no routes).

#include "support/SiteHttpServer.h"

#include <string>
#include <vector>

namespace tpc::test {

class LocalHttpServer {
public:
    LocalHttpServer();
    ~LocalHttpServer();
    LocalHttpServer(const LocalHttpServer&) = delete;
    LocalHttpServer& operator=(const LocalHttpServer&) = delete;

    int port() const { return site_.port(); }
    // "http://127.0.0.1:<port>" followed by `path`.
    std::string url(const std::string& path) const;
    void respond(int status, std::string body);
    // The request lines received so far ("GET /a%20b HTTP/1.1").
    std::vector<std::string> requests() const;

    // A port on 127.0.0.1 where nothing listens.
    static int closedPort();

private:
    SiteHttpServer site_;
};

} // namespace tpc::test
