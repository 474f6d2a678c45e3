#include "support/SiteHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tpc::test {

namespace {

const char* siteReason(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 404:
        return "Not Found";
    default:
        return "Status";
    }
}

// The value of header `name` in a request head, or "" when it has none.
std::string siteHeader(const std::string& head, const std::string& name) {
    std::size_t line = head.find("\r\n");
    while (line != std::string::npos && line + 2 < head.size()) {
        const auto start = line + 2;
        const auto end = head.find("\r\n", start);
        const auto text = head.substr(start, end == std::string::npos ? end : end - start);
        const auto colon = text.find(':');
        if (colon == name.size() && ::strncasecmp(text.c_str(), name.c_str(), colon) == 0) {
            auto value = text.substr(colon + 1);
            value.erase(0, value.find_first_not_of(" \t"));
            return value;
        }
        line = end;
    }
    return {};
}

} // namespace

int boundLoopbackSocket(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        throw std::runtime_error("socket failed");
    const int yes = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        throw std::runtime_error("cannot bind on 127.0.0.1");
    }
    port = ntohs(address.sin_port);
    return fd;
}

SiteHttpServer::SiteHttpServer() {
    listener_ = boundLoopbackSocket(port_);
    if (::listen(listener_, 64) != 0) {
        ::close(listener_);
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    acceptor_ = std::thread([this] { accept(); });
}

SiteHttpServer::~SiteHttpServer() {
    stopping_ = true;
    // Wakes the accept call; connections notice the flag within one poll interval.
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    std::vector<std::thread> connections;
    {
        std::lock_guard lock(mutex_);
        connections.swap(connections_);
    }
    for (auto& connection : connections)
        connection.join();
    ::close(listener_);
}

std::string SiteHttpServer::url(const std::string& host, const std::string& path) const {
    return "http://" + host + ":" + std::to_string(port_) + path;
}

void SiteHttpServer::route(const std::string& path, SiteResponse response) {
    std::lock_guard lock(mutex_);
    routes_[path] = std::move(response);
}

void SiteHttpServer::routeOthers(SiteResponse response) {
    std::lock_guard lock(mutex_);
    others_ = std::move(response);
}

std::vector<std::string> SiteHttpServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::string> SiteHttpServer::requestLines() const {
    std::lock_guard lock(mutex_);
    return requestLines_;
}

std::size_t SiteHttpServer::count(const std::string& host, const std::string& path) const {
    std::lock_guard lock(mutex_);
    return countLocked(host, path);
}

std::size_t SiteHttpServer::countLocked(const std::string& host, const std::string& path) const {
    const auto wanted = host + ":" + std::to_string(port_) + path;
    std::size_t n = 0;
    for (const auto& request : requests_)
        if (request.starts_with(wanted) &&
            (request.size() == wanted.size() || request[wanted.size()] == '?'))
            ++n;
    return n;
}

bool SiteHttpServer::waitFor(const std::string& host, const std::string& path, std::size_t times,
                             std::chrono::milliseconds limit) const {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, limit, [&] { return countLocked(host, path) >= times; });
}

void SiteHttpServer::accept() {
    while (!stopping_) {
        const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            if (stopping_)
                return;
            continue;
        }
        std::lock_guard lock(mutex_);
        connections_.emplace_back([this, client] { answer(client); });
    }
}

void SiteHttpServer::answer(int client) {
    // A connection that sends no complete request head within a few seconds is dropped.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::string head;
    char buffer[4096];
    while (!stopping_ && head.find("\r\n\r\n") == std::string::npos && head.size() < 65536 &&
           std::chrono::steady_clock::now() < deadline) {
        pollfd ready{client, POLLIN, 0};
        if (::poll(&ready, 1, 100) <= 0)
            continue;
        const ssize_t got = ::recv(client, buffer, sizeof buffer, 0);
        if (got <= 0)
            break;
        head.append(buffer, static_cast<std::size_t>(got));
    }
    const auto lineEnd = head.find("\r\n");
    if (head.find("\r\n\r\n") == std::string::npos || lineEnd == std::string::npos) {
        ::close(client);
        return;
    }
    // "GET /path?query HTTP/1.1"
    const auto line = head.substr(0, lineEnd);
    const auto first = line.find(' ');
    const auto last = line.rfind(' ');
    const auto target = first != std::string::npos && last > first
                            ? line.substr(first + 1, last - first - 1)
                            : std::string("/");
    const auto path = target.substr(0, target.find('?'));

    SiteResponse response;
    {
        std::lock_guard lock(mutex_);
        const auto it = routes_.find(path);
        response = it != routes_.end() ? it->second : others_;
        requestLines_.push_back(line);
    }
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " " +
                       siteReason(response.status) + "\r\nContent-Type: " + response.contentType +
                       "\r\nContent-Length: " + std::to_string(response.body.size()) +
                       "\r\nConnection: close\r\n";
    for (const auto& header : response.headers)
        text += header + "\r\n";
    text += "\r\n" + response.body;
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t n = ::send(client, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            break;
        sent += static_cast<std::size_t>(n);
    }
    ::shutdown(client, SHUT_WR);
    ::close(client);
    // Recorded once answered, so that a test waiting for a page knows it was served.
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(siteHeader(head, "Host") + target);
    }
    arrived_.notify_all();
}

} // namespace tpc::test
