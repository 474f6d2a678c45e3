#pragma once
// The one message through which workers move the progress sheet, and the bar state it drives.

#include "core/Value.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tpc::core {

struct ProgressMessage {
    std::optional<std::int64_t> hideUnhide;         // 1 show bar and text, 0 hide both
    std::optional<std::int64_t> indicatorType;      // 1 determinate, 0 indeterminate
    std::optional<std::int64_t> startStopAnimation; // 1 stops the animation, 0 starts it
    std::optional<std::string> status;
    std::optional<std::uint64_t> increment;
    std::optional<std::uint64_t> minValue;
    std::optional<std::uint64_t> maxValue;
    std::optional<std::uint64_t> doubleValue; // whole numbers only

    // The dictionary form with the keys verbatim (for the trace and for callers that build
    // messages as dictionaries).
    DictRef toDict() const;
    static ProgressMessage fromDict(const DictRef& dict);
    bool empty() const;
};

// What the progress sheet shows; every front end applies messages to one of these.
struct ProgressState {
    bool visible = false;
    bool determinate = true;
    bool animating = false;
    std::string status;
    double minValue = 0;
    double maxValue = 100;
    double value = 0;

    // Applies the keys present, in the fixed order of the message's fields.
    void apply(const ProgressMessage& message);
};

} // namespace tpc::core
