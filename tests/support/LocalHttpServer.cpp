#include "support/LocalHttpServer.h"

#include <unistd.h>

namespace tpc::test {

LocalHttpServer::LocalHttpServer() {
    respond(200, {});
}

LocalHttpServer::~LocalHttpServer() = default;

std::string LocalHttpServer::url(const std::string& path) const {
    return site_.url("127.0.0.1", path);
}

void LocalHttpServer::respond(int status, std::string body) {
    site_.routeOthers({status, "text/xml", {}, std::move(body)});
}

std::vector<std::string> LocalHttpServer::requests() const {
    return site_.requestLines();
}

int LocalHttpServer::closedPort() {
    int port = 0;
    ::close(boundLoopbackSocket(port));
    return port;
}

} // namespace tpc::test
