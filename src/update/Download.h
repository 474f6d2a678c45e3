#pragma once
// Reading a small document over HTTP(S) with libcurl: a time limit of a few seconds, redirects
// followed, the usual proxy variables (http_proxy, https_proxy, no_proxy) honoured.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace tpc::update {

// The address with every blank written as "%20".
std::string escapeBlanks(const std::string& address);

struct DownloadLimits {
    std::chrono::milliseconds timeout{5000};
    std::size_t maxBytes = 4 * 1024 * 1024;
};

// The body of an http or https address answered with a success status; nullopt (with `error`
// set) when the address cannot be reached, answers an error status, takes longer than the
// limit, or sends more than its bytes.
std::optional<std::string> download(const std::string& address, const DownloadLimits& limits = {},
                                    std::string* error = nullptr);

} // namespace tpc::update
