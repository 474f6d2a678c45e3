#pragma once
// The engine's one value type: the property-list tree that every record, list and settings
// dictionary is made of. Arrays and dictionaries are shared by reference, so several lists can
// show the very same records; deepCopy() makes an independent tree.

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tpc::core {

class Value;
class ArrayObj;
class DictObj;
using ArrayRef = std::shared_ptr<ArrayObj>;
using DictRef = std::shared_ptr<DictObj>;
using Data = std::vector<std::uint8_t>;

// A point in time as seconds since 2001-01-01T00:00:00Z (the property-list epoch).
struct Date {
    double secondsSince2001 = 0;
    static constexpr double unixOffset = 978307200.0;
    static Date fromUnix(double unixSeconds) { return Date{unixSeconds - unixOffset}; }
    double toUnix() const { return secondsSince2001 + unixOffset; }
    bool operator==(const Date&) const = default;
};

class Value {
public:
    enum class Kind { Null, Bool, Int, UInt, Real, String, Date, Data, Array, Dict };

    Value() = default;
    Value(std::nullptr_t) {}
    Value(bool b) : v_(b) {}
    Value(int i) : v_(static_cast<std::int64_t>(i)) {}
    Value(long i) : v_(static_cast<std::int64_t>(i)) {}
    Value(long long i) : v_(static_cast<std::int64_t>(i)) {}
    Value(unsigned int u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(unsigned long u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(unsigned long long u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(double d) : v_(d) {}
    Value(const char* s) : v_(std::string(s)) {}
    Value(std::string s) : v_(std::move(s)) {}
    Value(std::string_view s) : v_(std::string(s)) {}
    Value(Date d) : v_(d) {}
    Value(Data d) : v_(std::move(d)) {}
    Value(ArrayRef a);
    Value(DictRef d);

    static Value newArray();
    static Value newDict();

    Kind kind() const { return static_cast<Kind>(v_.index()); }
    bool isNull() const { return kind() == Kind::Null; }
    bool isBool() const { return kind() == Kind::Bool; }
    bool isNumber() const;
    bool isString() const { return kind() == Kind::String; }
    bool isArray() const { return kind() == Kind::Array; }
    bool isDict() const { return kind() == Kind::Dict; }

    // Numeric reads accept booleans, signed, unsigned and real numbers; anything else gives `def`.
    std::int64_t toInt(std::int64_t def = 0) const;
    std::uint64_t toUInt(std::uint64_t def = 0) const;
    double toReal(double def = 0) const;
    bool toBool(bool def = false) const;
    // The string, or `def` for any other kind.
    std::string toString(const std::string& def = {}) const;

    const std::string* string() const { return std::get_if<std::string>(&v_); }
    const Date* date() const { return std::get_if<Date>(&v_); }
    const Data* data() const { return std::get_if<Data>(&v_); }
    ArrayRef array() const;
    DictRef dict() const;

    // An independent copy: arrays and dictionaries are copied all the way down. Shared
    // sub-trees stay shared inside the copy; parent links are not copied.
    Value deepCopy() const;

    // Deep equality; numbers compare by value across signed, unsigned and boolean.
    bool operator==(const Value& other) const;

private:
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Date, Data,
                 ArrayRef, DictRef>
        v_;
};

class ArrayObj {
public:
    std::vector<Value> items;

    ArrayObj() = default;
    ArrayObj(std::initializer_list<Value> init) : items(init) {}
    static ArrayRef make() { return std::make_shared<ArrayObj>(); }
    static ArrayRef make(std::initializer_list<Value> init) {
        return std::make_shared<ArrayObj>(init);
    }

    std::size_t size() const { return items.size(); }
    bool empty() const { return items.empty(); }
    void append(Value v) { items.push_back(std::move(v)); }
    const Value& at(std::size_t i) const { return items.at(i); }
    // The dictionaries of this array, skipping anything else.
    std::vector<DictRef> dicts() const;
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }
};

class DictObj {
public:
    std::map<std::string, Value> items;
    // In-memory back link to the record holding this one ("Parent"); never persisted.
    std::weak_ptr<DictObj> parent;

    DictObj() = default;
    DictObj(std::initializer_list<std::pair<const std::string, Value>> init) : items(init) {}
    static DictRef make() { return std::make_shared<DictObj>(); }
    static DictRef make(std::initializer_list<std::pair<const std::string, Value>> init) {
        return std::make_shared<DictObj>(init);
    }

    bool has(const std::string& key) const { return items.count(key) != 0; }
    // The value under `key`, or a null value when absent.
    const Value& get(const std::string& key) const;
    void set(const std::string& key, Value v) { items[key] = std::move(v); }
    void remove(const std::string& key) { items.erase(key); }
    std::size_t size() const { return items.size(); }

    std::int64_t getInt(const std::string& key, std::int64_t def = 0) const {
        return get(key).toInt(def);
    }
    std::uint64_t getUInt(const std::string& key, std::uint64_t def = 0) const {
        return get(key).toUInt(def);
    }
    bool getBool(const std::string& key, bool def = false) const { return get(key).toBool(def); }
    std::string getString(const std::string& key, const std::string& def = {}) const {
        return get(key).toString(def);
    }
    ArrayRef getArray(const std::string& key) const { return get(key).array(); }
    DictRef getDict(const std::string& key) const { return get(key).dict(); }
};

} // namespace tpc::core
