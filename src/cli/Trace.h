#pragma once
// The `--trace FILE` writer: every event the engine sends to its interface, one JSON object a
// line, appended in the order sent.

#include <cstdio>
#include <mutex>
#include <string>

#include <nlohmann/json.hpp>

namespace tpc::cli {

class Trace {
public:
    Trace() = default;
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    // Opens `file` for appending; false when it cannot be opened.
    bool open(const std::string& file);
    bool isOpen() const { return file_ != nullptr; }
    void write(const nlohmann::json& event);

private:
    std::mutex mutex_;
    std::FILE* file_ = nullptr;
};

} // namespace tpc::cli
