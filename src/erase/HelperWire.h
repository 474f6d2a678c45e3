#pragma once
// The privileged helper's message format, shared by the client and the daemon: every message is a
// 4-byte big-endian length followed by a binary property-list dictionary of that many bytes.

#include "core/Value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tpc::erase::wire {

inline constexpr const char* kRequestKey = "request";
inline constexpr const char* kEraseOptionKey = "erase option";
inline constexpr const char* kUuidKey = "uuid";
inline constexpr const char* kPathKey = "path";
inline constexpr const char* kReplyKey = "reply";

// Requests.
inline constexpr const char* kTest = "test";
inline constexpr const char* kGetVersionNumber = "Get Version Number";
inline constexpr const char* kDelete = "delete";
inline constexpr const char* kErase = "erase";
inline constexpr const char* kAbort = "abort";
inline constexpr const char* kOpsRunning = "ops running";

// Replies.
inline constexpr const char* kStarted = "started";
inline constexpr const char* kDone = "done";
inline constexpr const char* kNo = "no";
inline constexpr const char* kYes = "yes";
inline constexpr const char* kRefused = "refused";

// The largest message body either side accepts.
inline constexpr std::size_t kMaxMessageSize = 64 * 1024;

// One message; absent keys are not sent. "path" is the raw data on the wire: the path's bytes
// followed by one zero byte.
struct Message {
    std::optional<std::string> request;
    std::optional<std::uint64_t> eraseOption;
    std::optional<std::string> uuid;
    std::optional<core::Data> path;
    std::optional<std::string> reply;

    bool operator==(const Message&) const = default;
};

Message requestMessage(const std::string& request);
Message replyMessage(const std::string& reply);

// The path's bytes plus the terminating zero byte.
core::Data pathData(const std::string& path);
// The path a "path" value carries: exactly one zero byte, at the end. Anything else is none.
std::optional<std::string> pathFromData(const core::Data& data);

// The message as a dictionary and back. fromValue gives none for anything but a dictionary whose
// known keys have their types (unknown keys are ignored).
core::Value toValue(const Message& message);
std::optional<Message> fromValue(const core::Value& value);

// A whole frame: length prefix and body. The body is empty when the message holds text that a
// property list cannot carry unchanged (not UTF-8); such a frame is never sent. decodeBody gives
// none for a body that is not a message.
std::vector<std::uint8_t> encode(const Message& message);
std::optional<Message> decodeBody(const std::vector<std::uint8_t>& body);

enum class ReadStatus {
    Ok,
    Eof,       // closed cleanly before a new frame began
    Truncated, // closed in the middle of a frame
    TooLarge,  // the announced length is over the limit (the body was not read)
    Garbage,   // a whole frame arrived but its body is not a message
    TimedOut,  // the socket's receive timeout expired
    Error,     // any other read failure
};

struct ReadResult {
    ReadStatus status = ReadStatus::Error;
    Message message;
};

// Reads one frame from a blocking socket or pipe. After anything but Ok and Garbage the stream is
// out of step and should be closed.
ReadResult readMessage(int fd, std::size_t maxSize = kMaxMessageSize);
// Writes one whole frame; false when the peer is gone (never raises SIGPIPE) or the frame has no
// body.
bool writeFrame(int fd, const std::vector<std::uint8_t>& frame);
bool writeMessage(int fd, const Message& message);

const char* readStatusName(ReadStatus status);

} // namespace tpc::erase::wire
