#include "update/Download.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace tpc::update {

namespace {

std::once_flag curlGlobalInitOnce;

struct DownloadSink {
    std::string body;
    std::size_t maxBytes = 0;
    bool tooLarge = false;
};

std::size_t appendDownloadedBytes(char* data, std::size_t size, std::size_t count, void* user) {
    auto* sink = static_cast<DownloadSink*>(user);
    const std::size_t bytes = size * count;
    if (sink->body.size() + bytes > sink->maxBytes) {
        sink->tooLarge = true;
        return 0; // ends the transfer
    }
    sink->body.append(data, bytes);
    return bytes;
}

} // namespace

std::string escapeBlanks(const std::string& address) {
    std::string out;
    out.reserve(address.size());
    for (char c : address) {
        if (c == ' ')
            out += "%20";
        else
            out += c;
    }
    return out;
}

std::optional<std::string> download(const std::string& address, const DownloadLimits& limits,
                                    std::string* error) {
    // Made once for the process, before any handle, as libcurl asks.
    std::call_once(curlGlobalInitOnce, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(),
                                                               &curl_easy_cleanup);
    if (!handle) {
        if (error)
            *error = "cannot start a download";
        return std::nullopt;
    }
    CURL* h = handle.get();
    DownloadSink sink;
    sink.maxBytes = limits.maxBytes;
    char message[CURL_ERROR_SIZE] = {};
    const long timeoutMs = static_cast<long>(limits.timeout.count());
    curl_easy_setopt(h, CURLOPT_URL, address.c_str());
    curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(h, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(h, CURLOPT_FAILONERROR, 1L);
    // No signals: the download may run on any thread.
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, timeoutMs);
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
    curl_easy_setopt(h, CURLOPT_USERAGENT, "Tavrin Privacy Cleaner/" TPC_VERSION);
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &appendDownloadedBytes);
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(h, CURLOPT_ERRORBUFFER, message);

    const CURLcode result = curl_easy_perform(h);
    if (result != CURLE_OK) {
        if (error) {
            if (sink.tooLarge)
                *error = "the answer is larger than " + std::to_string(limits.maxBytes) + " bytes";
            else
                *error = message[0] ? message : curl_easy_strerror(result);
        }
        return std::nullopt;
    }
    return std::move(sink.body);
}

} // namespace tpc::update
