#include "FuzzSupport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tpc::fuzz {

namespace fs = std::filesystem;

namespace {

fs::path makeScratch() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tpc-fuzz-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (!::mkdtemp(buf.data()))
        fail("cannot make a temporary folder");
    return fs::path(buf.data());
}

fs::path* scratch = nullptr;

void removeScratch() {
    if (!scratch)
        return;
    std::error_code ec;
    fs::remove_all(*scratch, ec);
}

bool sameReal(double a, double b) {
    if (std::isnan(a) && std::isnan(b))
        return true;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool isInteger(const core::Value& v) {
    return v.kind() == core::Value::Kind::Int || v.kind() == core::Value::Kind::UInt;
}

} // namespace

const fs::path& scratchFolder() {
    if (!scratch) {
        scratch = new fs::path(makeScratch());
        std::atexit(removeScratch);
    }
    return *scratch;
}

void writeBytes(const fs::path& file, const Bytes& bytes) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        fail("cannot write " + file.string());
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) {
            ::close(fd);
            fail("cannot write " + file.string());
        }
        done += static_cast<std::size_t>(n);
    }
    ::close(fd);
}

std::optional<Bytes> readBytes(const fs::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    Bytes bytes;
    std::uint8_t buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0)
            break;
        bytes.insert(bytes.end(), buf, buf + n);
    }
    ::close(fd);
    return bytes;
}

void emptyFolder(const fs::path& folder) {
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        fs::remove_all(it->path(), ec);
}

bool sameValue(const core::Value& a, const core::Value& b) {
    using Kind = core::Value::Kind;
    if (isInteger(a) && isInteger(b))
        return a.toUInt() == b.toUInt() || a.toInt() == b.toInt() ||
               (a.kind() == Kind::Int && b.kind() == Kind::UInt &&
                static_cast<std::uint64_t>(a.toInt()) == b.toUInt()) ||
               (a.kind() == Kind::UInt && b.kind() == Kind::Int &&
                a.toUInt() == static_cast<std::uint64_t>(b.toInt()));
    if (a.kind() != b.kind())
        return false;
    switch (a.kind()) {
    case Kind::Null:
        return true;
    case Kind::Bool:
        return a.toBool() == b.toBool();
    case Kind::Real:
        return sameReal(a.toReal(), b.toReal());
    case Kind::Date: {
        const double x = a.date()->secondsSince2001, y = b.date()->secondsSince2001;
        return sameReal(x, y) || std::fabs(x - y) < 1.0;
    }
    case Kind::String:
        return *a.string() == *b.string();
    case Kind::Data:
        return *a.data() == *b.data();
    case Kind::Array: {
        const auto& x = a.array()->items;
        const auto& y = b.array()->items;
        if (x.size() != y.size())
            return false;
        for (std::size_t i = 0; i < x.size(); ++i)
            if (!sameValue(x[i], y[i]))
                return false;
        return true;
    }
    case Kind::Dict: {
        const auto& x = a.dict()->items;
        const auto& y = b.dict()->items;
        if (x.size() != y.size())
            return false;
        for (auto i = x.begin(), j = y.begin(); i != x.end(); ++i, ++j)
            if (i->first != j->first || !sameValue(i->second, j->second))
                return false;
        return true;
    }
    default:
        return false;
    }
}

bool containsNull(const core::Value& v) {
    switch (v.kind()) {
    case core::Value::Kind::Null:
        return true;
    case core::Value::Kind::Array:
        for (const auto& item : v.array()->items)
            if (containsNull(item))
                return true;
        return false;
    case core::Value::Kind::Dict:
        for (const auto& [key, item] : v.dict()->items)
            if (containsNull(item))
                return true;
        return false;
    default:
        return false;
    }
}

void fail(const std::string& what) {
    std::fprintf(stderr, "\n*** fuzz invariant broken: %s\n", what.c_str());
    std::fflush(stderr);
    std::abort();
}

} // namespace tpc::fuzz
