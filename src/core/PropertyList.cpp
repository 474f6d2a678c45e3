#include "core/PropertyList.h"

#include "core/PlistChecks.h"
#include "core/Utf8.h"
#include "core/WriteAll.h"

#include <plist/plist.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace tpc::core::plist {

namespace {

// Files larger than this are not property lists this program reads.
constexpr std::uint64_t kMaxFileSize = 256ull * 1024 * 1024;

constexpr const char* kUidKey = "CF$UID";

void setError(std::string* error, std::string text) {
    if (error)
        *error = std::move(text);
}

std::string errnoText(int err) {
    return std::strerror(err);
}

// Owns one libplist node tree.
struct PlistPtr {
    plist_t node = nullptr;
    PlistPtr() = default;
    explicit PlistPtr(plist_t n) : node(n) {}
    ~PlistPtr() {
        if (node)
            plist_free(node);
    }
    PlistPtr(const PlistPtr&) = delete;
    PlistPtr& operator=(const PlistPtr&) = delete;
    plist_t release() { return std::exchange(node, nullptr); }
};

// ---------------------------------------------------------------------------------------------
// libplist nodes <-> Value.

bool isUidDict(const DictObj& d, std::uint64_t* uid = nullptr) {
    if (d.items.size() != 1)
        return false;
    auto it = d.items.find(kUidKey);
    if (it == d.items.end())
        return false;
    const auto k = it->second.kind();
    if (k != Value::Kind::Int && k != Value::Kind::UInt)
        return false;
    // Archive references are 32-bit: anything else is an ordinary dictionary that happens to
    // have this key, and is written back as one.
    if (it->second.toUInt() > std::numeric_limits<std::uint32_t>::max())
        return false;
    if (uid)
        *uid = it->second.toUInt();
    return true;
}

Value uidValue(std::uint64_t uid) {
    return Value(DictObj::make({{kUidKey, Value(static_cast<std::int64_t>(uid))}}));
}

plist_t newDate(const Date& date) {
    double s = date.secondsSince2001;
    if (std::isnan(s))
        s = 0;
    constexpr double lo = std::numeric_limits<std::int32_t>::min();
    constexpr double hi = std::numeric_limits<std::int32_t>::max();
    s = std::clamp(s, lo, hi);
    const double whole = std::trunc(s);
    auto usec = static_cast<std::int32_t>(std::lround((s - whole) * 1e6));
    auto sec = static_cast<std::int32_t>(whole);
    if (usec >= 1000000 || usec <= -1000000) {
        sec += usec > 0 ? 1 : -1;
        usec = 0;
    }
    return plist_new_date(sec, usec);
}

Date readDate(plist_t node) {
    std::int32_t sec = 0;
    std::int32_t usec = 0;
    plist_get_date_val(node, &sec, &usec);
    // libplist keeps the fraction of a date before 2001 as a positive number of microseconds.
    const double frac = std::abs(usec) / 1e6;
    return Date{sec < 0 ? sec - frac : sec + frac};
}

// Whether libplist carries `text` unchanged: it turns text that is not valid UTF-8 into some other
// string and cuts it at an embedded NUL; in XML, control characters other than tab and line feed
// cannot be written (carriage return would come back as a line feed).
bool writableText(const std::string& text, bool xml, std::string* error) {
    if (!isValidUtf8(text) || text.find('\0') != std::string::npos) {
        setError(error, "text that cannot be stored unchanged in a property list: \"" +
                            displayText(text) + "\"");
        return false;
    }
    // U+FFFE and U+FFFF (EF BF BE, EF BF BF) are not XML characters either.
    if (xml && (std::any_of(text.begin(), text.end(),
                            [](char c) {
                                return static_cast<unsigned char>(c) < 0x20 && c != '\t' &&
                                       c != '\n';
                            }) ||
                text.find("\xEF\xBF\xBE") != std::string::npos ||
                text.find("\xEF\xBF\xBF") != std::string::npos)) {
        setError(error,
                 "text with control characters cannot be stored in an XML property list: \"" +
                     displayText(text) + "\"");
        return false;
    }
    return true;
}

class ToPlist {
public:
    ToPlist(bool xml, std::string* error) : xml_(xml), error_(error) {}

    // False when some text could not be converted unchanged (the tree is then not to be used).
    bool ok() const { return ok_; }

    // nullptr for a value that has no property-list form (null, or a cycle that was cut).
    plist_t convert(const Value& v) {
        switch (v.kind()) {
        case Value::Kind::Null:
            return nullptr;
        case Value::Kind::Bool:
            return plist_new_bool(v.toBool() ? 1 : 0);
        case Value::Kind::Int:
        case Value::Kind::UInt:
            // libplist writes the 64-bit pattern as an 8-byte integer, which readers take as
            // signed: -1 stays -1.
            return plist_new_uint(v.toUInt());
        case Value::Kind::Real:
            return plist_new_real(v.toReal());
        case Value::Kind::String:
            if (!text(*v.string()))
                return nullptr;
            return plist_new_string(v.string()->c_str());
        case Value::Kind::Date:
            return newDate(*v.date());
        case Value::Kind::Data: {
            const Data& d = *v.data();
            return plist_new_data(reinterpret_cast<const char*>(d.data()), d.size());
        }
        case Value::Kind::Array: {
            auto a = v.array();
            if (!onPath_.insert(a.get()).second)
                return nullptr;
            plist_t out = plist_new_array();
            for (const auto& item : a->items)
                if (plist_t child = convert(item))
                    plist_array_append_item(out, child);
            onPath_.erase(a.get());
            return out;
        }
        case Value::Kind::Dict: {
            auto d = v.dict();
            std::uint64_t uid = 0;
            if (isUidDict(*d, &uid))
                return plist_new_uid(uid);
            if (!onPath_.insert(d.get()).second)
                return nullptr;
            plist_t out = plist_new_dict();
            for (const auto& [key, item] : d->items) {
                if (!text(key))
                    continue;
                if (plist_t child = convert(item))
                    plist_dict_set_item(out, key.c_str(), child);
            }
            onPath_.erase(d.get());
            return out;
        }
        }
        return nullptr;
    }

private:
    bool text(const std::string& s) {
        if (ok_ && !writableText(s, xml_, error_))
            ok_ = false;
        return ok_;
    }

    bool xml_;
    std::string* error_;
    bool ok_ = true;
    std::set<const void*> onPath_;
};

// The tree of `value`; null when some text in it cannot be stored unchanged.
plist_t toPlistRoot(const Value& value, bool xml, std::string* error) {
    ToPlist conv(xml, error);
    PlistPtr node(conv.convert(value));
    if (!conv.ok())
        return nullptr;
    return node.node ? node.release() : plist_new_dict();
}

bool fromPlist(plist_t node, int depth, Value& out, std::string* error) {
    if (depth > kMaxDepth) {
        setError(error, "property list nested too deeply");
        return false;
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t b = 0;
        plist_get_bool_val(node, &b);
        out = Value(b != 0);
        return true;
    }
    case PLIST_UINT: {
        std::uint64_t u = 0;
        plist_get_uint_val(node, &u);
        out = Value(static_cast<long long>(static_cast<std::int64_t>(u)));
        return true;
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        out = Value(d);
        return true;
    }
    case PLIST_STRING:
    case PLIST_KEY: {
        std::uint64_t len = 0;
        const char* p = plist_get_string_ptr(node, &len);
        out = Value(p ? std::string(p, len) : std::string());
        return true;
    }
    case PLIST_DATE:
        out = Value(readDate(node));
        return true;
    case PLIST_DATA: {
        std::uint64_t len = 0;
        const char* p = plist_get_data_ptr(node, &len);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(p);
        out = Value(p ? Data(bytes, bytes + len) : Data());
        return true;
    }
    case PLIST_UID: {
        std::uint64_t u = 0;
        plist_get_uid_val(node, &u);
        out = uidValue(u);
        return true;
    }
    case PLIST_ARRAY: {
        auto a = ArrayObj::make();
        const std::uint32_t n = plist_array_get_size(node);
        a->items.reserve(n);
        for (std::uint32_t i = 0; i < n; ++i) {
            plist_t child = plist_array_get_item(node, i);
            if (!child) {
                setError(error, "damaged property list array");
                return false;
            }
            Value v;
            if (!fromPlist(child, depth + 1, v, error))
                return false;
            a->items.push_back(std::move(v));
        }
        out = Value(a);
        return true;
    }
    case PLIST_DICT: {
        auto d = DictObj::make();
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        if (!it) {
            setError(error, "damaged property list dictionary");
            return false;
        }
        bool ok = true;
        while (ok) {
            char* key = nullptr;
            plist_t child = nullptr;
            plist_dict_next_item(node, it, &key, &child);
            if (!child) {
                std::free(key);
                break;
            }
            Value v;
            ok = fromPlist(child, depth + 1, v, error);
            // A key given twice would keep only one of its values.
            if (ok &&
                !d->items.emplace(key ? std::string(key) : std::string(), std::move(v)).second) {
                setError(error, "property list dictionary holds a key twice");
                ok = false;
            }
            std::free(key);
        }
        std::free(it);
        if (!ok)
            return false;
        out = Value(d);
        return true;
    }
    default:
        setError(error, "unknown property list node");
        return false;
    }
}

// ---------------------------------------------------------------------------------------------
// Keyed archives.

constexpr const char* kArchiver = "NSKeyedArchiver";
constexpr std::uint64_t kArchiveVersion = 100000;

// Dictionary keys that begin with '$' get one more '$' in the archive.
std::string escapeKey(const std::string& key) {
    return !key.empty() && key[0] == '$' ? "$" + key : key;
}
std::string unescapeKey(const std::string& key) {
    return key.size() >= 2 && key[0] == '$' && key[1] == '$' ? key.substr(1) : key;
}

class ArchiveEncoder {
public:
    explicit ArchiveEncoder(std::string* error) : error_(error) {
        objects_.push_back(plist_new_string("$null"));
    }
    // False when some text could not be stored unchanged (the archive is then not to be used).
    bool ok() const { return ok_; }
    ~ArchiveEncoder() {
        for (plist_t p : objects_)
            if (p)
                plist_free(p);
    }
    ArchiveEncoder(const ArchiveEncoder&) = delete;
    ArchiveEncoder& operator=(const ArchiveEncoder&) = delete;

    std::uint64_t encode(const Value& v) {
        switch (v.kind()) {
        case Value::Kind::Null:
            return 0;
        case Value::Kind::String:
            return encodeString(*v.string());
        case Value::Kind::Bool:
            return add(plist_new_bool(v.toBool() ? 1 : 0));
        case Value::Kind::Int:
        case Value::Kind::UInt:
            return add(plist_new_uint(v.toUInt()));
        case Value::Kind::Real:
            return add(plist_new_real(v.toReal()));
        case Value::Kind::Data: {
            const Data& d = *v.data();
            return add(plist_new_data(reinterpret_cast<const char*>(d.data()), d.size()));
        }
        case Value::Kind::Date: {
            const std::uint64_t uid = reserve();
            plist_t obj = plist_new_dict();
            plist_dict_set_item(obj, "NS.time", plist_new_real(v.date()->secondsSince2001));
            plist_dict_set_item(obj, "$class", plist_new_uid(classUid("NSDate")));
            objects_[uid] = obj;
            return uid;
        }
        case Value::Kind::Array: {
            auto a = v.array();
            if (auto it = shared_.find(a.get()); it != shared_.end())
                return it->second;
            const std::uint64_t uid = reserve();
            shared_[a.get()] = uid;
            std::vector<std::uint64_t> items;
            items.reserve(a->items.size());
            for (const auto& item : a->items)
                items.push_back(encode(item));
            plist_t obj = plist_new_dict();
            plist_dict_set_item(obj, "NS.objects", uidArray(items));
            plist_dict_set_item(obj, "$class", plist_new_uid(classUid("NSMutableArray")));
            objects_[uid] = obj;
            return uid;
        }
        case Value::Kind::Dict: {
            auto d = v.dict();
            if (auto it = shared_.find(d.get()); it != shared_.end())
                return it->second;
            const std::uint64_t uid = reserve();
            shared_[d.get()] = uid;
            std::vector<std::uint64_t> keys;
            std::vector<std::uint64_t> values;
            keys.reserve(d->items.size());
            values.reserve(d->items.size());
            for (const auto& entry : d->items)
                keys.push_back(encodeString(escapeKey(entry.first)));
            for (const auto& entry : d->items)
                values.push_back(encode(entry.second));
            plist_t obj = plist_new_dict();
            plist_dict_set_item(obj, "NS.keys", uidArray(keys));
            plist_dict_set_item(obj, "NS.objects", uidArray(values));
            plist_dict_set_item(obj, "$class", plist_new_uid(classUid("NSMutableDictionary")));
            objects_[uid] = obj;
            return uid;
        }
        }
        return 0;
    }

    // Builds the archive's top dictionary; the encoder gives up its objects.
    plist_t finish(std::uint64_t rootUid) {
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, "$version", plist_new_uint(kArchiveVersion));
        plist_dict_set_item(top, "$archiver", plist_new_string(kArchiver));
        plist_t topRef = plist_new_dict();
        plist_dict_set_item(topRef, "root", plist_new_uid(rootUid));
        plist_dict_set_item(top, "$top", topRef);
        plist_t objects = plist_new_array();
        for (plist_t& p : objects_) {
            plist_array_append_item(objects, p ? p : plist_new_string("$null"));
            p = nullptr;
        }
        objects_.clear();
        plist_dict_set_item(top, "$objects", objects);
        return top;
    }

private:
    std::uint64_t add(plist_t node) {
        objects_.push_back(node);
        return objects_.size() - 1;
    }
    std::uint64_t reserve() { return add(nullptr); }

    std::uint64_t encodeString(const std::string& s) {
        if (auto it = strings_.find(s); it != strings_.end())
            return it->second;
        if (ok_ && !writableText(s, false, error_))
            ok_ = false;
        const std::uint64_t uid = add(plist_new_string(s.c_str()));
        strings_[s] = uid;
        return uid;
    }

    static plist_t uidArray(const std::vector<std::uint64_t>& uids) {
        plist_t arr = plist_new_array();
        for (std::uint64_t u : uids)
            plist_array_append_item(arr, plist_new_uid(u));
        return arr;
    }

    std::uint64_t classUid(const std::string& name) {
        if (auto it = classes_.find(name); it != classes_.end())
            return it->second;
        std::vector<const char*> chain;
        if (name == "NSMutableDictionary")
            chain = {"NSMutableDictionary", "NSDictionary", "NSObject"};
        else if (name == "NSMutableArray")
            chain = {"NSMutableArray", "NSArray", "NSObject"};
        else
            chain = {"NSDate", "NSObject"};
        plist_t entry = plist_new_dict();
        plist_dict_set_item(entry, "$classname", plist_new_string(name.c_str()));
        plist_t classes = plist_new_array();
        for (const char* c : chain)
            plist_array_append_item(classes, plist_new_string(c));
        plist_dict_set_item(entry, "$classes", classes);
        const std::uint64_t uid = add(entry);
        classes_[name] = uid;
        return uid;
    }

    std::string* error_;
    bool ok_ = true;
    std::vector<plist_t> objects_;
    std::unordered_map<const void*, std::uint64_t> shared_;
    std::map<std::string, std::uint64_t> strings_;
    std::map<std::string, std::uint64_t> classes_;
};

class ArchiveDecoder {
public:
    ArchiveDecoder(const ArrayObj& objects, std::string* error)
        : objects_(objects), error_(error), state_(objects.size(), State::Unvisited),
          done_(objects.size()) {}

    bool decode(std::uint64_t uid, int depth, Value& out) {
        if (uid == 0) {
            out = Value();
            return true;
        }
        if (uid >= objects_.size())
            return fail("object reference " + std::to_string(uid) + " out of range");
        if (state_[uid] == State::Done) {
            out = done_[uid];
            return true;
        }
        if (state_[uid] == State::InProgress) {
            // A reference back to an object still being decoded: cut the cycle.
            out = Value();
            return true;
        }
        if (depth > kMaxDepth)
            return fail("archive nested too deeply");
        state_[uid] = State::InProgress;
        Value v;
        if (!decodeObject(objects_.items[uid], depth, v))
            return false;
        state_[uid] = State::Done;
        done_[uid] = v;
        out = std::move(v);
        return true;
    }

private:
    enum class State : std::uint8_t { Unvisited, InProgress, Done };

    bool fail(std::string text) {
        setError(error_, "not a valid keyed archive: " + text);
        return false;
    }

    static bool uidOf(const Value& v, std::uint64_t& uid) {
        auto d = v.dict();
        return d && isUidDict(*d, &uid);
    }

    bool uidList(const DictObj& obj, const char* key, std::vector<std::uint64_t>& out) {
        auto arr = obj.get(key).array();
        if (!arr)
            return fail(std::string(key) + " is not an array");
        out.clear();
        out.reserve(arr->items.size());
        for (const auto& item : arr->items) {
            std::uint64_t uid = 0;
            if (!uidOf(item, uid))
                return fail(std::string(key) + " holds something other than a reference");
            out.push_back(uid);
        }
        return true;
    }

    // The class names of an object's "$class" entry: its name and its superclasses.
    bool classNames(const DictObj& obj, std::vector<std::string>& names) {
        std::uint64_t uid = 0;
        if (!uidOf(obj.get("$class"), uid))
            return fail("object without $class");
        if (uid == 0 || uid >= objects_.size())
            return fail("class reference out of range");
        auto entry = objects_.items[uid].dict();
        if (!entry || !entry->get("$classname").isString() ||
            !onlyKeys(*entry, {"$classname", "$classes", "$classinfo"}))
            return fail("damaged class entry");
        names.push_back(*entry->get("$classname").string());
        if (entry->has("$classes")) {
            auto chain = entry->get("$classes").array();
            if (!chain)
                return fail("damaged class entry");
            for (const auto& c : chain->items) {
                if (!c.isString())
                    return fail("damaged class entry");
                names.push_back(*c.string());
            }
        }
        return true;
    }

    // Whether `obj` has no key but `allowed`: an archived object with more is not fully read.
    static bool onlyKeys(const DictObj& obj, std::initializer_list<const char*> allowed) {
        for (const auto& entry : obj.items)
            if (std::none_of(allowed.begin(), allowed.end(),
                             [&](const char* k) { return entry.first == k; }))
                return false;
        return true;
    }

    // A value stored either inline or as a reference (NS.string, NS.data).
    bool inlineOrRef(const Value& v, int depth, Value& out) {
        std::uint64_t uid = 0;
        if (uidOf(v, uid))
            return decode(uid, depth + 1, out);
        out = v;
        return true;
    }

    bool decodeObject(const Value& obj, int depth, Value& out) {
        switch (obj.kind()) {
        case Value::Kind::Bool:
        case Value::Kind::Int:
        case Value::Kind::UInt:
        case Value::Kind::Real:
        case Value::Kind::String:
        case Value::Kind::Date:
        case Value::Kind::Data:
            out = obj;
            return true;
        case Value::Kind::Dict:
            break;
        default:
            return fail("unexpected object in $objects");
        }
        const DictObj& d = *obj.dict();
        if (isUidDict(d))
            return fail("bare reference in $objects");
        std::vector<std::string> names;
        if (!classNames(d, names))
            return false;
        auto is = [&](std::initializer_list<const char*> candidates) {
            for (const auto& n : names)
                for (const char* c : candidates)
                    if (n == c)
                        return true;
            return false;
        };
        auto fields = [&](std::initializer_list<const char*> keys) {
            return onlyKeys(d, keys) || fail("object of class " + names.front() +
                                             " with fields this program does not read");
        };
        if (is({"NSMutableDictionary", "NSDictionary"}))
            return fields({"$class", "NS.keys", "NS.objects"}) && decodeDict(d, depth, out);
        if (is({"NSMutableArray", "NSArray"}))
            return fields({"$class", "NS.objects"}) && decodeArray(d, depth, out);
        if (is({"NSDate"})) {
            if (!fields({"$class", "NS.time"}))
                return false;
            const Value& t = d.get("NS.time");
            if (!t.isNumber() || t.isBool())
                return fail("NSDate without NS.time");
            out = Value(Date{t.toReal()});
            return true;
        }
        if (is({"NSMutableString", "NSString"})) {
            if (!fields({"$class", "NS.string"}))
                return false;
            Value s;
            if (!inlineOrRef(d.get("NS.string"), depth, s))
                return false;
            if (!s.isString())
                return fail("NSString without NS.string");
            out = std::move(s);
            return true;
        }
        if (is({"NSMutableData", "NSData"})) {
            if (!fields({"$class", "NS.data"}))
                return false;
            Value data;
            if (!inlineOrRef(d.get("NS.data"), depth, data))
                return false;
            if (data.kind() != Value::Kind::Data)
                return fail("NSData without NS.data");
            out = std::move(data);
            return true;
        }
        if (is({"NSNull"})) {
            if (!fields({"$class"}))
                return false;
            out = Value();
            return true;
        }
        return fail("unsupported class " + names.front());
    }

    bool decodeArray(const DictObj& obj, int depth, Value& out) {
        std::vector<std::uint64_t> uids;
        if (!uidList(obj, "NS.objects", uids))
            return false;
        auto arr = ArrayObj::make();
        arr->items.reserve(uids.size());
        for (std::uint64_t uid : uids) {
            Value item;
            if (!decode(uid, depth + 1, item))
                return false;
            arr->items.push_back(std::move(item));
        }
        out = Value(arr);
        return true;
    }

    bool decodeDict(const DictObj& obj, int depth, Value& out) {
        std::vector<std::uint64_t> keys;
        std::vector<std::uint64_t> values;
        if (!obj.has("NS.keys") && !obj.has("NS.objects")) {
            out = Value::newDict();
            return true;
        }
        if (!uidList(obj, "NS.keys", keys) || !uidList(obj, "NS.objects", values))
            return false;
        if (keys.size() != values.size())
            return fail("NS.keys and NS.objects differ in length");
        auto dict = DictObj::make();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            Value key;
            if (!decode(keys[i], depth + 1, key))
                return false;
            if (!key.isString())
                return fail("dictionary key is not a string");
            Value item;
            if (!decode(values[i], depth + 1, item))
                return false;
            if (!dict->items.emplace(unescapeKey(*key.string()), std::move(item)).second)
                return fail("dictionary holds a key twice");
        }
        out = Value(dict);
        return true;
    }

    const ArrayObj& objects_;
    std::string* error_;
    std::vector<State> state_;
    std::vector<Value> done_;
};

// ---------------------------------------------------------------------------------------------
// Files.

bool readAll(const std::filesystem::path& file, std::vector<std::uint8_t>& out,
             std::string* error) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        setError(error, "cannot open " + file.string() + ": " + errnoText(errno));
        return false;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        const int err = errno;
        ::close(fd);
        setError(error, "cannot read " + file.string() + ": " + errnoText(err));
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        ::close(fd);
        setError(error, file.string() + " is not a regular file");
        return false;
    }
    if (static_cast<std::uint64_t>(st.st_size) > kMaxFileSize) {
        ::close(fd);
        setError(error, file.string() + " is too large");
        return false;
    }
    out.clear();
    out.reserve(static_cast<std::size_t>(st.st_size));
    std::uint8_t buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int err = errno;
            ::close(fd);
            setError(error, "cannot read " + file.string() + ": " + errnoText(err));
            return false;
        }
        if (n == 0)
            break;
        if (out.size() + static_cast<std::size_t>(n) > kMaxFileSize) {
            ::close(fd);
            setError(error, file.string() + " is too large");
            return false;
        }
        out.insert(out.end(), buf, buf + n);
    }
    ::close(fd);
    return true;
}

std::string uniqueSuffix() {
    static std::atomic<std::uint64_t> counter{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    char buf[64];
    std::snprintf(buf, sizeof buf, "%ld-%llu-%llx", static_cast<long>(::getpid()),
                  static_cast<unsigned long long>(counter.fetch_add(1)),
                  static_cast<unsigned long long>(now) & 0xFFFFFFull);
    return buf;
}

} // namespace

std::optional<Value> parse(const std::vector<std::uint8_t>& bytes, std::string* error) {
    if (bytes.empty()) {
        setError(error, "empty file");
        return std::nullopt;
    }
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        setError(error, "too large for a property list");
        return std::nullopt;
    }
    const bool binary = bytes.size() >= 6 && std::memcmp(bytes.data(), "bplist", 6) == 0;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (binary ? !checkBinary(bytes, error) : !checkXml(text, error))
        return std::nullopt;
    // A zero-padded copy, so that no parser can read past the end of the text.
    std::vector<char> buf(bytes.size() + 16, 0);
    std::memcpy(buf.data(), bytes.data(), bytes.size());
    const auto len = static_cast<std::uint32_t>(bytes.size());
    PlistPtr root;
    if (binary)
        plist_from_bin(buf.data(), len, &root.node);
    else
        plist_from_xml(buf.data(), len, &root.node);
    if (!root.node) {
        setError(error, binary ? "damaged binary property list" : "not a property list");
        return std::nullopt;
    }
    Value out;
    if (!fromPlist(root.node, 0, out, error))
        return std::nullopt;
    return out;
}

namespace {

std::vector<std::uint8_t> binaryOf(plist_t node, std::string* error) {
    char* bin = nullptr;
    std::uint32_t len = 0;
    plist_to_bin(node, &bin, &len);
    std::vector<std::uint8_t> out;
    if (bin) {
        out.assign(reinterpret_cast<std::uint8_t*>(bin),
                   reinterpret_cast<std::uint8_t*>(bin) + len);
        plist_to_bin_free(bin);
    }
    if (out.empty())
        setError(error, "the property list could not be written");
    return out;
}

// The top dictionary's keys of a keyed archive.
constexpr const char* kArchiveKeys[] = {"$archiver", "$objects", "$top", "$version"};

} // namespace

std::vector<std::uint8_t> toBinary(const Value& value, std::string* error) {
    PlistPtr root(toPlistRoot(value, false, error));
    if (!root.node)
        return {};
    return binaryOf(root.node, error);
}

std::string toXml(const Value& value, std::string* error) {
    PlistPtr root(toPlistRoot(value, true, error));
    if (!root.node)
        return {};
    char* xml = nullptr;
    std::uint32_t len = 0;
    plist_to_xml(root.node, &xml, &len);
    std::string out;
    if (xml) {
        out.assign(xml, len);
        plist_to_xml_free(xml);
    }
    if (out.empty())
        setError(error, "the property list could not be written");
    return out;
}

std::vector<std::uint8_t> encodeKeyedArchive(const Value& root, std::string* error) {
    ArchiveEncoder enc(error);
    const std::uint64_t rootUid = enc.encode(root);
    PlistPtr top(enc.finish(rootUid));
    if (!enc.ok())
        return {};
    return binaryOf(top.node, error);
}

std::optional<Value> decodeKeyedArchive(const Value& archive, std::string* error) {
    auto top = archive.dict();
    if (!top) {
        setError(error, "not a valid keyed archive: not a dictionary");
        return std::nullopt;
    }
    // Exactly the four keys of an archive: anything else would be left unread.
    for (const auto& entry : top->items) {
        if (std::none_of(std::begin(kArchiveKeys), std::end(kArchiveKeys),
                         [&](const char* k) { return entry.first == k; })) {
            setError(error,
                     "not a valid keyed archive: unknown top key " + displayText(entry.first));
            return std::nullopt;
        }
    }
    if (top->get("$archiver").toString() != kArchiver || !top->get("$archiver").isString()) {
        setError(error, "not a valid keyed archive: missing or unknown $archiver");
        return std::nullopt;
    }
    const Value& version = top->get("$version");
    if ((version.kind() != Value::Kind::Int && version.kind() != Value::Kind::UInt) ||
        version.toUInt() != kArchiveVersion) {
        setError(error, "not a valid keyed archive: missing or unknown $version");
        return std::nullopt;
    }
    auto objects = top->getArray("$objects");
    if (!objects || objects->empty() || objects->items[0] != Value("$null")) {
        setError(error, "not a valid keyed archive: no $objects starting with $null");
        return std::nullopt;
    }
    auto topRefs = top->getDict("$top");
    std::uint64_t rootUid = 0;
    auto rootRef = topRefs && topRefs->size() == 1 ? topRefs->get("root").dict() : nullptr;
    if (!rootRef || !isUidDict(*rootRef, &rootUid)) {
        setError(error, "not a valid keyed archive: no $top root reference");
        return std::nullopt;
    }
    ArchiveDecoder dec(*objects, error);
    Value out;
    if (!dec.decode(rootUid, 0, out))
        return std::nullopt;
    return out;
}

std::optional<Value> readFile(const std::filesystem::path& file, std::string* error) {
    std::vector<std::uint8_t> bytes;
    if (!readAll(file, bytes, error))
        return std::nullopt;
    std::string why;
    auto v = parse(bytes, &why);
    if (!v)
        setError(error, file.string() + ": " + why);
    return v;
}

std::optional<Value> readSettingsFile(const std::filesystem::path& file, std::string* error) {
    auto v = readFile(file, error);
    if (!v)
        return std::nullopt;
    // A dictionary with any of an archive's keys is an archive, whole and valid, or nothing: read
    // as a plain dictionary it would come back as something else entirely.
    auto top = v->dict();
    if (top && std::any_of(std::begin(kArchiveKeys), std::end(kArchiveKeys),
                           [&](const char* k) { return top->has(k); })) {
        std::string why;
        auto decoded = decodeKeyedArchive(*v, &why);
        if (!decoded)
            setError(error, file.string() + ": " + why);
        return decoded;
    }
    return v;
}

bool writeFileAtomically(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes,
                         unsigned mode, std::string* error) {
    std::filesystem::path folder = file.parent_path();
    if (folder.empty())
        folder = ".";
    if (file.filename().empty()) {
        setError(error, "no file name in " + file.string());
        return false;
    }
    std::filesystem::path temp;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        std::string name(".");
        name += file.filename().string();
        name += ".tmp-";
        name += uniqueSuffix();
        temp = folder / name;
        fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                    static_cast<mode_t>(mode & 07777));
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        setError(error,
                 "cannot create a temporary file in " + folder.string() + ": " + errnoText(errno));
        return false;
    }
    auto failWith = [&](const std::string& what, int err) {
        if (fd >= 0)
            ::close(fd);
        ::unlink(temp.c_str());
        setError(error, what + " " + temp.string() + ": " + errnoText(err));
        return false;
    };
    if (!writeAll(fd, bytes.data(), bytes.size()))
        return failWith("cannot write", errno);
    if (::fsync(fd) != 0)
        return failWith("cannot sync", errno);
    const int closed = ::close(fd);
    fd = -1;
    if (closed != 0)
        return failWith("cannot close", errno);
    if (::rename(temp.c_str(), file.c_str()) != 0) {
        const int err = errno;
        ::unlink(temp.c_str());
        setError(error, "cannot replace " + file.string() + ": " + errnoText(err));
        return false;
    }
    // The new name is in place; make the folder entry durable too (a failure here cannot be
    // undone and does not lose the data, so it is not reported).
    const int dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

} // namespace tpc::core::plist
