#include "core/Value.h"

#include <cmath>
#include <limits>
#include <unordered_map>

namespace tpc::core {

Value::Value(ArrayRef a) {
    if (a)
        v_ = std::move(a);
}

Value::Value(DictRef d) {
    if (d)
        v_ = std::move(d);
}

Value Value::newArray() {
    return Value(ArrayObj::make());
}
Value Value::newDict() {
    return Value(DictObj::make());
}

bool Value::isNumber() const {
    switch (kind()) {
    case Kind::Bool:
    case Kind::Int:
    case Kind::UInt:
    case Kind::Real:
        return true;
    default:
        return false;
    }
}

std::int64_t Value::toInt(std::int64_t def) const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(v_) ? 1 : 0;
    case Kind::Int:
        return std::get<std::int64_t>(v_);
    case Kind::UInt:
        return static_cast<std::int64_t>(std::get<std::uint64_t>(v_));
    case Kind::Real: {
        double d = std::get<double>(v_);
        if (std::isnan(d))
            return def;
        if (d >= 9.2233720368547758e18)
            return std::numeric_limits<std::int64_t>::max();
        if (d <= -9.2233720368547758e18)
            return std::numeric_limits<std::int64_t>::min();
        return static_cast<std::int64_t>(d);
    }
    default:
        return def;
    }
}

std::uint64_t Value::toUInt(std::uint64_t def) const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(v_) ? 1 : 0;
    case Kind::Int:
        return static_cast<std::uint64_t>(std::get<std::int64_t>(v_));
    case Kind::UInt:
        return std::get<std::uint64_t>(v_);
    case Kind::Real: {
        double d = std::get<double>(v_);
        if (std::isnan(d))
            return def;
        if (d < 0)
            return static_cast<std::uint64_t>(toInt(def));
        if (d >= 1.8446744073709552e19)
            return std::numeric_limits<std::uint64_t>::max();
        return static_cast<std::uint64_t>(d);
    }
    default:
        return def;
    }
}

double Value::toReal(double def) const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(v_) ? 1.0 : 0.0;
    case Kind::Int:
        return static_cast<double>(std::get<std::int64_t>(v_));
    case Kind::UInt:
        return static_cast<double>(std::get<std::uint64_t>(v_));
    case Kind::Real:
        return std::get<double>(v_);
    default:
        return def;
    }
}

bool Value::toBool(bool def) const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(v_);
    case Kind::Int:
        return std::get<std::int64_t>(v_) != 0;
    case Kind::UInt:
        return std::get<std::uint64_t>(v_) != 0;
    case Kind::Real:
        return std::get<double>(v_) != 0.0;
    default:
        return def;
    }
}

std::string Value::toString(const std::string& def) const {
    if (const auto* s = std::get_if<std::string>(&v_))
        return *s;
    return def;
}

ArrayRef Value::array() const {
    if (const auto* a = std::get_if<ArrayRef>(&v_))
        return *a;
    return nullptr;
}

DictRef Value::dict() const {
    if (const auto* d = std::get_if<DictRef>(&v_))
        return *d;
    return nullptr;
}

namespace {

// Copies a tree, keeping objects that the original shares shared in the copy and stopping at
// cycles (a cycle in the original becomes the same cycle in the copy).
class DeepCopier {
public:
    Value copy(const Value& v) {
        if (auto a = v.array()) {
            if (auto it = arrays_.find(a.get()); it != arrays_.end())
                return Value(it->second);
            auto out = ArrayObj::make();
            arrays_[a.get()] = out;
            out->items.reserve(a->items.size());
            for (const auto& item : a->items)
                out->items.push_back(copy(item));
            return Value(out);
        }
        if (auto d = v.dict()) {
            if (auto it = dicts_.find(d.get()); it != dicts_.end())
                return Value(it->second);
            auto out = DictObj::make();
            dicts_[d.get()] = out;
            for (const auto& [key, item] : d->items)
                out->items.emplace(key, copy(item));
            return Value(out);
        }
        return v;
    }

private:
    std::unordered_map<const ArrayObj*, ArrayRef> arrays_;
    std::unordered_map<const DictObj*, DictRef> dicts_;
};

bool numbersEqual(const Value& a, const Value& b) {
    using K = Value::Kind;
    if (a.kind() == K::Real || b.kind() == K::Real)
        return a.toReal() == b.toReal();
    // Compare integers exactly; a negative signed value never equals an unsigned one.
    bool aNeg = a.kind() == K::Int && a.toInt() < 0;
    bool bNeg = b.kind() == K::Int && b.toInt() < 0;
    if (aNeg || bNeg)
        return aNeg && bNeg && a.toInt() == b.toInt();
    return a.toUInt() == b.toUInt();
}

} // namespace

Value Value::deepCopy() const {
    return DeepCopier().copy(*this);
}

bool Value::operator==(const Value& other) const {
    if (isNumber() && other.isNumber())
        return numbersEqual(*this, other);
    if (kind() != other.kind())
        return false;
    switch (kind()) {
    case Kind::Null:
        return true;
    case Kind::String:
        return *string() == *other.string();
    case Kind::Date:
        return *date() == *other.date();
    case Kind::Data:
        return *data() == *other.data();
    case Kind::Array: {
        auto a = array(), b = other.array();
        if (a == b)
            return true;
        return a->items == b->items;
    }
    case Kind::Dict: {
        auto a = dict(), b = other.dict();
        if (a == b)
            return true;
        return a->items == b->items;
    }
    default:
        return false;
    }
}

std::vector<DictRef> ArrayObj::dicts() const {
    std::vector<DictRef> out;
    out.reserve(items.size());
    for (const auto& item : items)
        if (auto d = item.dict())
            out.push_back(std::move(d));
    return out;
}

const Value& DictObj::get(const std::string& key) const {
    static const Value null;
    auto it = items.find(key);
    return it == items.end() ? null : it->second;
}

} // namespace tpc::core
