#include "cli/Json.h"

#include "core/Keys.h"

#include <cmath>
#include <ctime>
#include <unordered_set>

namespace tpc::cli {

using core::Value;

std::string isoDate(const core::Date& date) {
    double unix = date.toUnix();
    auto secs = static_cast<std::time_t>(std::floor(unix));
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

std::string base64(const core::Data& data) {
    static const char* alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((data.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 2 < data.size(); i += 3) {
        unsigned n = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
        out += alphabet[(n >> 18) & 63];
        out += alphabet[(n >> 12) & 63];
        out += alphabet[(n >> 6) & 63];
        out += alphabet[n & 63];
    }
    if (i < data.size()) {
        unsigned n = data[i] << 16;
        if (i + 1 < data.size())
            n |= data[i + 1] << 8;
        out += alphabet[(n >> 18) & 63];
        out += alphabet[(n >> 12) & 63];
        out += i + 1 < data.size() ? alphabet[(n >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

namespace {

// Shared sub-trees print wherever they appear; a cycle prints as null the second time round.
nlohmann::json convert(const Value& value, std::unordered_set<const void*>& path) {
    switch (value.kind()) {
    case Value::Kind::Null:
        return nullptr;
    case Value::Kind::Bool:
        return value.toBool();
    case Value::Kind::Int:
        return value.toInt();
    case Value::Kind::UInt:
        return value.toUInt();
    case Value::Kind::Real: {
        double d = value.toReal();
        return std::isfinite(d) ? nlohmann::json(d) : nlohmann::json(nullptr);
    }
    case Value::Kind::String:
        return *value.string();
    case Value::Kind::Date:
        return isoDate(*value.date());
    case Value::Kind::Data:
        return base64(*value.data());
    case Value::Kind::Array: {
        auto a = value.array();
        if (!path.insert(a.get()).second)
            return nullptr;
        auto out = nlohmann::json::array();
        for (const auto& item : a->items)
            out.push_back(convert(item, path));
        path.erase(a.get());
        return out;
    }
    case Value::Kind::Dict: {
        auto d = value.dict();
        if (!path.insert(d.get()).second)
            return nullptr;
        auto out = nlohmann::json::object();
        for (const auto& [key, item] : d->items)
            if (key != core::keys::Parent)
                out[key] = convert(item, path);
        path.erase(d.get());
        return out;
    }
    }
    return nullptr;
}

} // namespace

nlohmann::json toJson(const Value& value) {
    std::unordered_set<const void*> path;
    return convert(value, path);
}

nlohmann::json toJson(const core::ProgressMessage& message) {
    return toJson(Value(message.toDict()));
}

std::string toText(const Value& value) {
    if (const auto* s = value.string())
        return *s;
    // Display only: text that is not UTF-8 is shown with replacement characters.
    return toJson(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace tpc::cli
