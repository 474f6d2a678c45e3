#include "erase/HelperWire.h"

#include "core/PropertyList.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace tpc::erase::wire {

namespace {

constexpr std::size_t kHeaderSize = 4;

// Reads exactly `size` bytes. Returns the number read before end of file, or -1 on failure
// (errno set).
ssize_t readFully(int fd, std::uint8_t* out, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::read(fd, out + done, size - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        if (n == 0)
            break;
        done += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

ReadStatus failureStatus() {
    return errno == EAGAIN || errno == EWOULDBLOCK ? ReadStatus::TimedOut : ReadStatus::Error;
}

// A string under `key`: absent stays absent, a string is taken, any other kind is an error.
bool takeString(const core::DictObj& dict, const char* key, std::optional<std::string>& out) {
    if (!dict.has(key))
        return true;
    const std::string* s = dict.get(key).string();
    if (!s)
        return false;
    out = *s;
    return true;
}

} // namespace

Message requestMessage(const std::string& request) {
    Message m;
    m.request = request;
    return m;
}

Message replyMessage(const std::string& reply) {
    Message m;
    m.reply = reply;
    return m;
}

core::Data pathData(const std::string& path) {
    core::Data data(path.begin(), path.end());
    data.push_back(0);
    return data;
}

std::optional<std::string> pathFromData(const core::Data& data) {
    if (data.empty() || data.back() != 0)
        return std::nullopt;
    std::string path(data.begin(), data.end() - 1);
    if (path.find('\0') != std::string::npos)
        return std::nullopt;
    return path;
}

core::Value toValue(const Message& message) {
    auto dict = core::DictObj::make();
    if (message.request)
        dict->set(kRequestKey, *message.request);
    if (message.eraseOption)
        dict->set(kEraseOptionKey,
                  core::Value(static_cast<unsigned long long>(*message.eraseOption)));
    if (message.uuid)
        dict->set(kUuidKey, *message.uuid);
    if (message.path)
        dict->set(kPathKey, *message.path);
    if (message.reply)
        dict->set(kReplyKey, *message.reply);
    return core::Value(dict);
}

std::optional<Message> fromValue(const core::Value& value) {
    auto dict = value.dict();
    if (!dict)
        return std::nullopt;
    Message m;
    if (!takeString(*dict, kRequestKey, m.request) || !takeString(*dict, kUuidKey, m.uuid) ||
        !takeString(*dict, kReplyKey, m.reply))
        return std::nullopt;
    if (dict->has(kEraseOptionKey)) {
        const core::Value& option = dict->get(kEraseOptionKey);
        const auto kind = option.kind();
        if (kind != core::Value::Kind::Int && kind != core::Value::Kind::UInt)
            return std::nullopt;
        // The property list keeps 64 bits; a value read back as negative is the same bit pattern.
        m.eraseOption = kind == core::Value::Kind::UInt
                            ? option.toUInt()
                            : static_cast<std::uint64_t>(option.toInt());
    }
    if (dict->has(kPathKey)) {
        const core::Data* data = dict->get(kPathKey).data();
        if (!data)
            return std::nullopt;
        m.path = *data;
    }
    return m;
}

std::vector<std::uint8_t> encode(const Message& message) {
    const std::vector<std::uint8_t> body = core::plist::toBinary(toValue(message));
    const auto size = static_cast<std::uint32_t>(body.size());
    std::vector<std::uint8_t> frame;
    frame.reserve(kHeaderSize + body.size());
    frame.push_back(static_cast<std::uint8_t>(size >> 24));
    frame.push_back(static_cast<std::uint8_t>(size >> 16));
    frame.push_back(static_cast<std::uint8_t>(size >> 8));
    frame.push_back(static_cast<std::uint8_t>(size));
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

std::optional<Message> decodeBody(const std::vector<std::uint8_t>& body) {
    // Only binary property lists travel on the wire.
    static constexpr char kMagic[] = "bplist00";
    if (body.size() < sizeof kMagic - 1 ||
        !std::equal(kMagic, kMagic + sizeof kMagic - 1, body.begin()))
        return std::nullopt;
    auto value = core::plist::parse(body);
    if (!value)
        return std::nullopt;
    return fromValue(*value);
}

ReadResult readMessage(int fd, std::size_t maxSize) {
    ReadResult result;
    std::uint8_t header[kHeaderSize];
    const ssize_t got = readFully(fd, header, kHeaderSize);
    if (got < 0) {
        result.status = failureStatus();
        return result;
    }
    if (got == 0) {
        result.status = ReadStatus::Eof;
        return result;
    }
    if (static_cast<std::size_t>(got) < kHeaderSize) {
        result.status = ReadStatus::Truncated;
        return result;
    }
    const std::size_t size = (std::size_t{header[0]} << 24) | (std::size_t{header[1]} << 16) |
                             (std::size_t{header[2]} << 8) | std::size_t{header[3]};
    if (size > maxSize) {
        result.status = ReadStatus::TooLarge;
        return result;
    }
    std::vector<std::uint8_t> body(size);
    const ssize_t bodyGot = readFully(fd, body.data(), size);
    if (bodyGot < 0) {
        result.status = failureStatus();
        return result;
    }
    if (static_cast<std::size_t>(bodyGot) < size) {
        result.status = ReadStatus::Truncated;
        return result;
    }
    auto message = decodeBody(body);
    if (!message) {
        result.status = ReadStatus::Garbage;
        return result;
    }
    result.status = ReadStatus::Ok;
    result.message = std::move(*message);
    return result;
}

bool writeMessage(int fd, const Message& message) {
    return writeFrame(fd, encode(message));
}

bool writeFrame(int fd, const std::vector<std::uint8_t>& frame) {
    if (frame.size() <= 4)
        return false;
    std::size_t done = 0;
    while (done < frame.size()) {
        const ssize_t n = ::send(fd, frame.data() + done, frame.size() - done, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

const char* readStatusName(ReadStatus status) {
    switch (status) {
    case ReadStatus::Ok:
        return "ok";
    case ReadStatus::Eof:
        return "end of stream";
    case ReadStatus::Truncated:
        return "truncated message";
    case ReadStatus::TooLarge:
        return "message too large";
    case ReadStatus::Garbage:
        return "unreadable message";
    case ReadStatus::TimedOut:
        return "timed out";
    case ReadStatus::Error:
        break;
    }
    return "read error";
}

} // namespace tpc::erase::wire
