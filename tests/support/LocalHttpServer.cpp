#include "support/LocalHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace tpc::test {

namespace {

// A TCP socket bound to 127.0.0.1 on a port the system chooses; its port in `port`.
int boundLoopbackSocket(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        throw std::runtime_error("socket failed");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        throw std::runtime_error("bind failed");
    }
    port = ntohs(address.sin_port);
    return fd;
}

const char* reasonFor(int status) {
    return status == 200 ? "OK" : status == 404 ? "Not Found" : "Error";
}

} // namespace

LocalHttpServer::LocalHttpServer() {
    listener_ = boundLoopbackSocket(port_);
    if (::listen(listener_, 8) != 0) {
        ::close(listener_);
        throw std::runtime_error("listen failed");
    }
    thread_ = std::thread([this] { serve(); });
}

LocalHttpServer::~LocalHttpServer() {
    stopping_ = true;
    // Wakes the accept call.
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

std::string LocalHttpServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void LocalHttpServer::respond(int status, std::string body) {
    std::lock_guard lock(mutex_);
    status_ = status;
    body_ = std::move(body);
}

std::vector<std::string> LocalHttpServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

int LocalHttpServer::closedPort() {
    int port = 0;
    ::close(boundLoopbackSocket(port));
    return port;
}

void LocalHttpServer::serve() {
    while (!stopping_) {
        const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            if (stopping_)
                return;
            continue;
        }
        // A client that never finishes its request is dropped after a while.
        timeval limit{5, 0};
        ::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        std::string request;
        char buffer[4096];
        while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65536) {
            const ssize_t got = ::recv(client, buffer, sizeof buffer, 0);
            if (got <= 0)
                break;
            request.append(buffer, static_cast<std::size_t>(got));
        }
        std::string response;
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request.substr(0, request.find("\r\n")));
            response =
                "HTTP/1.1 " + std::to_string(status_) + " " + reasonFor(status_) +
                "\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body_.size()) +
                "\r\nConnection: close\r\n\r\n" + body_;
        }
        for (std::size_t sent = 0; sent < response.size();) {
            const ssize_t n =
                ::send(client, response.data() + sent, response.size() - sent, MSG_NOSIGNAL);
            if (n <= 0)
                break;
            sent += static_cast<std::size_t>(n);
        }
        ::close(client);
    }
}

} // namespace tpc::test
