#include "core/WriteAll.h"

#include <cerrno>
#include <unistd.h>

namespace tpc::core {

bool writeAll(int fd, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd, bytes + done, size - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        if (n == 0) {
            errno = EIO;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace tpc::core
