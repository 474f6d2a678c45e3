#include "platform/RecentFiles.h"

namespace tpc::platform {

RecentFiles::RecentFiles(std::filesystem::path file) : file_(std::move(file)) {}

std::optional<std::vector<RecentBookmark>> RecentFiles::read() const {
    return std::nullopt;
}

RecentFiles::Totals RecentFiles::count(const std::function<bool(const RecentBookmark&)>&) const {
    return {};
}

std::size_t RecentFiles::remove(const std::function<bool(const RecentBookmark&)>&) {
    return 0;
}

} // namespace tpc::platform
