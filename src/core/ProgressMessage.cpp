#include "core/ProgressMessage.h"

#include "core/Keys.h"

#include <charconv>
#include <cstddef>

namespace tpc::core {

namespace {

// Reads an integer the way a number object does when asked for one: any kind of number
// (booleans and reals included, reals cut toward zero), or a string that starts with an optional
// sign and digits after leading blanks. Nothing readable gives nullopt.
std::optional<std::int64_t> readInt(const Value& v) {
    if (v.isNumber())
        return v.toInt();
    const std::string* s = v.string();
    if (!s)
        return std::nullopt;
    std::size_t i = s->find_first_not_of(" \t\n");
    if (i == std::string::npos)
        return 0;
    if ((*s)[i] == '+')
        ++i;
    std::int64_t out = 0;
    std::from_chars(s->data() + i, s->data() + s->size(), out);
    return out;
}

std::optional<std::uint64_t> readUInt(const Value& v) {
    if (v.isNumber())
        return v.toUInt();
    if (auto i = readInt(v))
        return static_cast<std::uint64_t>(*i);
    return std::nullopt;
}

template <typename T> void putIfSet(DictObj& d, const char* key, const std::optional<T>& v) {
    if (v)
        d.set(key, Value(*v));
}

} // namespace

DictRef ProgressMessage::toDict() const {
    auto d = DictObj::make();
    putIfSet(*d, keys::HideUnhideProgressIndicator, hideUnhide);
    putIfSet(*d, keys::ProgressIndicatorType, indicatorType);
    putIfSet(*d, keys::StartStopProgressIndicatorAnimation, startStopAnimation);
    putIfSet(*d, keys::ProgressStatus, status);
    putIfSet(*d, keys::ProgressIndicatorIncrement, increment);
    putIfSet(*d, keys::ProgressIndicatorMinValue, minValue);
    putIfSet(*d, keys::ProgressIndicatorMaxValue, maxValue);
    putIfSet(*d, keys::ProgressIndicatorDoubleValue, doubleValue);
    return d;
}

ProgressMessage ProgressMessage::fromDict(const DictRef& dict) {
    ProgressMessage m;
    if (!dict)
        return m;
    m.hideUnhide = readInt(dict->get(keys::HideUnhideProgressIndicator));
    m.indicatorType = readInt(dict->get(keys::ProgressIndicatorType));
    m.startStopAnimation = readInt(dict->get(keys::StartStopProgressIndicatorAnimation));
    if (const std::string* s = dict->get(keys::ProgressStatus).string())
        m.status = *s;
    m.increment = readUInt(dict->get(keys::ProgressIndicatorIncrement));
    m.minValue = readUInt(dict->get(keys::ProgressIndicatorMinValue));
    m.maxValue = readUInt(dict->get(keys::ProgressIndicatorMaxValue));
    // Whole numbers only: 2.7 reads as 2 before it becomes the bar's value.
    m.doubleValue = readUInt(dict->get(keys::ProgressIndicatorDoubleValue));
    return m;
}

bool ProgressMessage::empty() const {
    return !hideUnhide && !indicatorType && !startStopAnimation && !status && !increment &&
           !minValue && !maxValue && !doubleValue;
}

void ProgressState::apply(const ProgressMessage& message) {
    if (message.hideUnhide == 1)
        visible = true;
    else if (message.hideUnhide == 0)
        visible = false;

    if (message.indicatorType == 1)
        determinate = true;
    else if (message.indicatorType == 0)
        determinate = false;

    // 1 stops the animation and 0 starts it; callers rely on this inverted sense.
    if (message.startStopAnimation == 1)
        animating = false;
    else if (message.startStopAnimation == 0)
        animating = true;

    if (message.status)
        status = *message.status;
    if (message.increment)
        value += static_cast<double>(*message.increment);
    if (message.minValue)
        minValue = static_cast<double>(*message.minValue);
    if (message.maxValue)
        maxValue = static_cast<double>(*message.maxValue);
    if (message.doubleValue)
        value = static_cast<double>(*message.doubleValue);
}

} // namespace tpc::core
