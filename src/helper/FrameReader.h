#pragma once
// Reads the requests of one helper connection within time limits, so that a peer that stays
// silent, or stalls inside a message, cannot hold its connection and its thread for ever. The
// limits are measured on a Clock; the socket itself is only waited on in slices.

#include "core/Clock.h"
#include "erase/HelperWire.h"

namespace tpc::helper {

struct FrameLimits {
    // How long the next frame may take to begin.
    core::Clock::Duration idle;
    // How long a frame may take to arrive in full once its first byte came.
    core::Clock::Duration whole;
    // The longest single wait on the socket before the clock is read again.
    core::Clock::Duration slice;
};

enum class FrameStatus {
    Ok,
    Garbage,   // a whole frame whose body is not a message (the stream is still in step)
    Closed,    // the peer closed before a new frame began
    Idle,      // no frame began within the idle limit
    Stalled,   // a frame began but was not complete within its limit
    Truncated, // the peer closed in the middle of a frame
    TooLarge,  // the announced length is over the limit
    Error,     // any other failure of the socket
};

struct FrameResult {
    FrameStatus status = FrameStatus::Error;
    erase::wire::Message message;
};

// One frame from `fd` (a stream socket). After anything but Ok and Garbage the connection
// should be closed.
FrameResult readFrame(int fd, core::Clock& clock, const FrameLimits& limits);

const char* frameStatusName(FrameStatus status);

} // namespace tpc::helper
