#include "browsers/firefox/FirefoxSessions.h"

#include "fs/Folders.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::browsers::firefox {

std::int64_t countSessionEntries(std::string_view bytes) {
    if (bytes.size() < 10)
        return 0;
    std::int64_t count = 0;
    for (std::size_t p = 0; p + 10 <= bytes.size(); ++p)
        if (bytes.compare(p, kSessionEntryPattern.size(), kSessionEntryPattern) == 0)
            ++count;
    return count;
}

std::optional<std::string> readWholeFile(const std::filesystem::path& path) {
    tpc::fs::UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd)
        return std::nullopt;
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    std::string bytes(static_cast<std::size_t>(st.st_size), '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::read(fd.get(), bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return std::nullopt;
        done += static_cast<std::size_t>(n);
    }
    return bytes;
}

} // namespace tpc::browsers::firefox
