#include "cli/Trace.h"

namespace tpc::cli {

Trace::~Trace() {
    if (file_)
        std::fclose(file_);
}

bool Trace::open(const std::string& file) {
    std::lock_guard lock(mutex_);
    if (file_)
        std::fclose(file_);
    file_ = std::fopen(file.c_str(), "a");
    return file_ != nullptr;
}

void Trace::write(const nlohmann::json& event) {
    std::lock_guard lock(mutex_);
    if (!file_)
        return;
    auto line = event.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file_);
    std::fflush(file_);
}

} // namespace tpc::cli
