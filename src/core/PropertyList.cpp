#include "core/PropertyList.h"

#include "core/Utf8.h"

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

// Containers nested deeper than this are refused when reading (libplist itself recurses and
// would overflow the stack on a hostile file long before a real settings file gets near it).
constexpr int kMaxDepth = 512;
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
// Structural checks done on the raw bytes before libplist sees them. libplist decodes what it is
// given without asking whether the whole file makes sense: a length that reaches into the next
// object, a reference into the offset table or an unknown marker still gives it something to
// return. A settings file read that way is half read, and a file rewritten from such a reading
// loses data; so the bytes are only handed on when every one of them is accounted for.

std::uint64_t readBigEndian(const std::uint8_t* p, unsigned n) {
    std::uint64_t v = 0;
    for (unsigned i = 0; i < n; ++i)
        v = (v << 8) | p[i];
    return v;
}

bool isPowerOfTwoUpTo8(unsigned n) {
    return n == 1 || n == 2 || n == 4 || n == 8;
}

// A binary property list is accepted when: the header is "bplist00"; the trailer's unused bytes
// are zero, its sizes are 1 to 8 bytes and the offset table lies exactly between the objects and
// the trailer; every object has a known marker and its byte extent (from its marker and length)
// lies in the object area, the extents of all objects tile that area without gap or overlap;
// ASCII strings hold only bytes below 0x80 and UTF-16 strings no lone surrogate; every
// reference is in range, dictionary keys are strings, there is no cycle, nothing nests deeper
// than kMaxDepth, and every object is reached from the top object.
class BinaryCheck {
public:
    BinaryCheck(const std::vector<std::uint8_t>& bytes, std::string* error)
        : b_(bytes), error_(error) {}

    bool run() { return trailer() && objects() && walk(); }

private:
    struct Object {
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        std::uint8_t type = 0;      // the marker's high nibble
        std::uint64_t refsAt = 0;   // containers: where the references start
        std::uint64_t refCount = 0; // containers: every reference (a dictionary's keys and values)
    };

    bool fail(const char* text) {
        setError(error_, text);
        return false;
    }

    bool trailer() {
        const std::size_t size = b_.size();
        if (size < 8 + 1 + 1 + 32)
            return fail("truncated binary property list");
        if (std::memcmp(b_.data(), "bplist00", 8) != 0)
            return fail("unknown binary property list version");
        const std::uint8_t* t = b_.data() + size - 32;
        for (int i = 0; i < 6; ++i)
            if (t[i] != 0)
                return fail("damaged binary property list trailer");
        offsetSize_ = t[6];
        refSize_ = t[7];
        count_ = readBigEndian(t + 8, 8);
        top_ = readBigEndian(t + 16, 8);
        table_ = readBigEndian(t + 24, 8);
        const std::uint64_t bodyEnd = size - 32;
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || count_ == 0 ||
            top_ >= count_ || table_ < 9 || table_ > bodyEnd ||
            count_ > (bodyEnd - table_) / offsetSize_ || count_ * offsetSize_ != bodyEnd - table_)
            return fail("damaged binary property list trailer");
        return true;
    }

    // The count of the object at `pos` (marker low nibble `low`, or the integer after the
    // marker when it is 0xF) and where its contents begin.
    bool countOf(std::uint64_t pos, unsigned low, std::uint64_t& n, std::uint64_t& contents) {
        if (low != 0x0F) {
            n = low;
            contents = pos + 1;
            return true;
        }
        if (pos + 1 >= table_)
            return false;
        const std::uint8_t m = b_[pos + 1];
        if ((m >> 4) != 0x1 || (m & 0x0F) > 3)
            return false;
        const unsigned w = 1u << (m & 0x0F);
        if (pos + 2 + w > table_)
            return false;
        n = readBigEndian(b_.data() + pos + 2, w);
        contents = pos + 2 + w;
        return true;
    }

    // The extent and kind of object `index`; false when it is not a whole, known object.
    bool describe(std::uint64_t index, Object& o) {
        const std::uint64_t start =
            readBigEndian(b_.data() + table_ + index * offsetSize_, offsetSize_);
        if (start < 8 || start >= table_)
            return fail("binary property list offset out of range");
        const std::uint8_t marker = b_[start];
        const unsigned low = marker & 0x0F;
        o = Object{};
        o.start = start;
        o.type = marker >> 4;
        std::uint64_t n = 0;
        std::uint64_t contents = start + 1;
        // The object's size after `contents`, in units of `unit` bytes.
        std::uint64_t unit = 1;
        switch (o.type) {
        case 0x0:
            if (marker != 0x08 && marker != 0x09)
                return fail("unknown binary property list marker");
            break;
        case 0x1:
            if (low > 4)
                return fail("unknown binary property list integer size");
            n = 1ull << low;
            break;
        case 0x2:
            if (low != 2 && low != 3)
                return fail("unknown binary property list real size");
            n = 1ull << low;
            break;
        case 0x3:
            if (marker != 0x33)
                return fail("unknown binary property list marker");
            n = 8;
            break;
        case 0x8:
            // References of an archive are at most 32-bit (one, two or four bytes).
            if (!isPowerOfTwoUpTo8(low + 1) || low + 1 > 4)
                return fail("unknown binary property list reference size");
            n = low + 1;
            break;
        case 0x4: // data
        case 0x5: // ASCII string
        case 0x6: // UTF-16 string
        case 0xA: // array
        case 0xD: // dictionary
            if (!countOf(start, low, n, contents))
                return fail("damaged binary property list length");
            unit = o.type == 0x6   ? 2
                   : o.type == 0xA ? refSize_
                   : o.type == 0xD ? 2ull * refSize_
                                   : 1;
            break;
        default:
            return fail("unknown binary property list marker");
        }
        if (contents > table_ || n > (table_ - contents) / unit)
            return fail("binary property list object runs past the object area");
        o.end = contents + n * unit;
        if (o.type == 0xA || o.type == 0xD) {
            o.refsAt = contents;
            o.refCount = o.type == 0xD ? 2 * n : n;
        }
        if (o.type == 0x1 && low == 4 && readBigEndian(b_.data() + contents, 8) != 0)
            return fail("binary property list integer too large");
        // A NUL inside a string would cut it short when read (and libplist aborts on one inside
        // a dictionary key), so a file holding one cannot be read whole.
        if (o.type == 0x5) {
            for (std::uint64_t i = contents; i < o.end; ++i) {
                if (b_[i] >= 0x80)
                    return fail("binary property list ASCII string holds a non-ASCII byte");
                if (b_[i] == 0)
                    return fail("binary property list string holds a NUL");
            }
        }
        if (o.type == 0x6) {
            if (!utf16Whole(contents, n))
                return fail("binary property list UTF-16 string holds a lone surrogate");
            for (std::uint64_t i = 0; i < n; ++i)
                if (readBigEndian(b_.data() + contents + 2 * i, 2) == 0)
                    return fail("binary property list string holds a NUL");
        }
        if (o.type == 0x3) {
            const std::uint64_t bits = readBigEndian(b_.data() + contents, 8);
            double seconds = 0;
            std::memcpy(&seconds, &bits, sizeof seconds);
            if (!std::isfinite(seconds))
                return fail("binary property list date is not a number");
        }
        return true;
    }

    bool utf16Whole(std::uint64_t at, std::uint64_t units) const {
        for (std::uint64_t i = 0; i < units; ++i) {
            const auto u = static_cast<unsigned>(readBigEndian(b_.data() + at + 2 * i, 2));
            if (u >= 0xDC00 && u <= 0xDFFF)
                return false;
            if (u >= 0xD800 && u <= 0xDBFF) {
                if (i + 1 == units)
                    return false;
                const auto next =
                    static_cast<unsigned>(readBigEndian(b_.data() + at + 2 * i + 2, 2));
                if (next < 0xDC00 || next > 0xDFFF)
                    return false;
                ++i;
            }
        }
        return true;
    }

    bool objects() {
        objects_.resize(count_);
        std::vector<std::pair<std::uint64_t, std::uint64_t>> extents;
        extents.reserve(count_);
        for (std::uint64_t i = 0; i < count_; ++i) {
            if (!describe(i, objects_[i]))
                return false;
            extents.emplace_back(objects_[i].start, objects_[i].end);
        }
        std::sort(extents.begin(), extents.end());
        std::uint64_t expected = 8;
        for (const auto& [start, end] : extents) {
            if (start != expected)
                return fail(start < expected
                                ? "binary property list objects overlap"
                                : "binary property list has bytes outside its objects");
            expected = end;
        }
        if (expected != table_)
            return fail("binary property list has bytes outside its objects");
        return true;
    }

    std::uint64_t refAt(const Object& o, std::uint64_t i) const {
        return readBigEndian(b_.data() + o.refsAt + i * refSize_, refSize_);
    }

    bool walk() {
        // 0 unvisited, 1 on the current path, 2 done.
        std::vector<std::uint8_t> state(count_, 0);
        struct Frame {
            std::uint64_t obj;
            std::uint64_t next;
        };
        std::vector<Frame> stack;
        std::uint64_t reached = 0;
        auto enter = [&](std::uint64_t obj) -> bool {
            ++reached;
            if (objects_[obj].refCount == 0) {
                state[obj] = 2;
                return true;
            }
            if (stack.size() >= static_cast<std::size_t>(kMaxDepth))
                return fail("property list nested too deeply");
            state[obj] = 1;
            stack.push_back(Frame{obj, 0});
            return true;
        };
        if (!enter(top_))
            return false;
        while (!stack.empty()) {
            Frame& f = stack.back();
            const Object& o = objects_[f.obj];
            if (f.next == o.refCount) {
                state[f.obj] = 2;
                stack.pop_back();
                continue;
            }
            const std::uint64_t child = refAt(o, f.next);
            const bool isKey = o.type == 0xD && f.next < o.refCount / 2;
            ++f.next;
            if (child >= count_)
                return fail("binary property list reference out of range");
            if (isKey && objects_[child].type != 0x5 && objects_[child].type != 0x6)
                return fail("binary property list dictionary key is not a string");
            if (state[child] == 1)
                return fail("binary property list contains a cycle");
            if (state[child] == 0 && !enter(child))
                return false;
        }
        if (reached != count_)
            return fail("binary property list holds objects that nothing refers to");
        return true;
    }

    const std::vector<std::uint8_t>& b_;
    std::string* error_;
    unsigned offsetSize_ = 0;
    unsigned refSize_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t table_ = 0;
    std::vector<Object> objects_;
};

// XML 1.0 well-formedness, checked strictly on top of the lenient parsers (pugixml and libplist
// both accept some broken documents or stop early without saying so). Accepted: UTF-8 text
// (an optional byte-order mark) of allowed characters; an optional declaration whose encoding,
// when named, is UTF-8; comments, processing instructions and a DOCTYPE without internal subset
// before the one root element; matching start and end tags with well-formed names and
// attributes, each attribute once; character data without '<', with only the five predefined
// entities and character references to allowed characters; CDATA sections; after the root, only
// comments, processing instructions and white space. Elements nest at most kMaxDepth + 8 deep.
class XmlCheck {
public:
    XmlCheck(std::string_view text, std::string* error) : s_(text), error_(error) {}

    bool run() {
        if (s_.starts_with("\xEF\xBB\xBF"))
            pos_ = 3;
        if (!isValidUtf8(s_))
            return fail("not valid UTF-8");
        if (!allowedCharacters())
            return fail("holds a character XML does not allow");
        if (at("<?xml") && pos_ + 5 < s_.size() && isSpace(s_[pos_ + 5]) && !declaration())
            return false;
        if (!misc())
            return false;
        if (at("<!DOCTYPE")) {
            if (!doctype() || !misc())
                return false;
        }
        if (!at("<") || at("</") || at("<!") || at("<?"))
            return fail("no root element");
        if (!element())
            return false;
        if (!misc())
            return false;
        if (pos_ != s_.size())
            return fail("content after the root element");
        return true;
    }

private:
    bool fail(const std::string& text) {
        setError(error_,
                 "not well-formed XML: " + text + " (at byte " + std::to_string(pos_) + ")");
        return false;
    }

    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
    static bool isNameStart(unsigned char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' ||
               c >= 0x80;
    }
    static bool isNameChar(unsigned char c) {
        return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    }
    bool at(std::string_view text) const { return s_.substr(pos_).starts_with(text); }
    void skipSpace() {
        while (pos_ < s_.size() && isSpace(s_[pos_]))
            ++pos_;
    }
    bool allowedCharacters() const {
        for (std::size_t i = 0; i < s_.size(); ++i) {
            const auto c = static_cast<unsigned char>(s_[i]);
            if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
                return false;
            // U+FFFE and U+FFFF.
            if (c == 0xEF && i + 2 < s_.size() && static_cast<unsigned char>(s_[i + 1]) == 0xBF &&
                (static_cast<unsigned char>(s_[i + 2]) & 0xFE) == 0xBE)
                return false;
        }
        return true;
    }

    bool name(std::string_view& out) {
        const std::size_t start = pos_;
        if (pos_ >= s_.size() || !isNameStart(static_cast<unsigned char>(s_[pos_])))
            return fail("bad name");
        while (pos_ < s_.size() && isNameChar(static_cast<unsigned char>(s_[pos_])))
            ++pos_;
        out = s_.substr(start, pos_ - start);
        return true;
    }

    // "&...;" at pos_.
    bool reference() {
        const std::size_t semi = s_.find(';', pos_);
        if (semi == std::string_view::npos || semi - pos_ > 12)
            return fail("bad reference");
        const std::string_view ref = s_.substr(pos_ + 1, semi - pos_ - 1);
        pos_ = semi + 1;
        if (ref == "lt" || ref == "gt" || ref == "amp" || ref == "apos" || ref == "quot")
            return true;
        if (ref.size() < 2 || ref[0] != '#')
            return fail("unknown entity");
        const bool hex = ref[1] == 'x';
        const std::string_view digits = ref.substr(hex ? 2 : 1);
        if (digits.empty())
            return fail("bad character reference");
        std::uint32_t v = 0;
        for (char c : digits) {
            int d = -1;
            if (c >= '0' && c <= '9')
                d = c - '0';
            else if (hex && c >= 'a' && c <= 'f')
                d = c - 'a' + 10;
            else if (hex && c >= 'A' && c <= 'F')
                d = c - 'A' + 10;
            if (d < 0 || v > 0x10FFFF)
                return fail("bad character reference");
            v = v * (hex ? 16 : 10) + static_cast<std::uint32_t>(d);
        }
        const bool allowed = v == 0x9 || v == 0xA || v == 0xD || (v >= 0x20 && v <= 0xD7FF) ||
                             (v >= 0xE000 && v <= 0xFFFD) || (v >= 0x10000 && v <= 0x10FFFF);
        return allowed || fail("character reference to a character XML does not allow");
    }

    bool comment() {
        const std::size_t end = s_.find("--", pos_ + 4);
        if (end == std::string_view::npos || end + 2 >= s_.size() || s_[end + 2] != '>')
            return fail("bad comment");
        pos_ = end + 3;
        return true;
    }

    bool processingInstruction() {
        pos_ += 2;
        std::string_view target;
        if (!name(target))
            return false;
        if (target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
            (target[2] | 0x20) == 'l')
            return fail("misplaced XML declaration");
        const std::size_t end = s_.find("?>", pos_);
        if (end == std::string_view::npos || (end != pos_ && !isSpace(s_[pos_])))
            return fail("bad processing instruction");
        pos_ = end + 2;
        return true;
    }

    // Comments, processing instructions and white space.
    bool misc() {
        for (;;) {
            skipSpace();
            if (at("<!--")) {
                if (!comment())
                    return false;
            } else if (at("<?")) {
                if (!processingInstruction())
                    return false;
            } else {
                return true;
            }
        }
    }

    bool quoted(std::string_view& value, bool references) {
        if (pos_ >= s_.size() || (s_[pos_] != '"' && s_[pos_] != '\''))
            return fail("unquoted value");
        const char q = s_[pos_++];
        const std::size_t start = pos_;
        while (pos_ < s_.size() && s_[pos_] != q) {
            if (references && s_[pos_] == '<')
                return fail("'<' in an attribute value");
            if (references && s_[pos_] == '&') {
                if (!reference())
                    return false;
                continue;
            }
            ++pos_;
        }
        if (pos_ >= s_.size())
            return fail("unterminated value");
        value = s_.substr(start, pos_ - start);
        ++pos_;
        return true;
    }

    bool declaration() {
        pos_ += 5;
        bool sawVersion = false;
        for (;;) {
            const std::size_t before = pos_;
            skipSpace();
            if (at("?>")) {
                pos_ += 2;
                return sawVersion || fail("declaration without version");
            }
            if (pos_ == before)
                return fail("bad declaration");
            std::string_view key;
            std::string_view value;
            if (!name(key))
                return false;
            skipSpace();
            if (!at("="))
                return fail("bad declaration");
            ++pos_;
            skipSpace();
            if (!quoted(value, false))
                return false;
            if (key == "version") {
                sawVersion = value.starts_with("1.");
            } else if (key == "encoding") {
                std::string lower(value);
                for (auto& c : lower)
                    c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
                if (lower != "utf-8" && lower != "utf8")
                    return fail("encoding other than UTF-8");
            } else if (key != "standalone") {
                return fail("bad declaration");
            }
        }
    }

    bool doctype() {
        pos_ += 9;
        while (pos_ < s_.size() && s_[pos_] != '>') {
            const char c = s_[pos_];
            if (c == '[')
                return fail("DOCTYPE with an internal subset");
            if (c == '"' || c == '\'') {
                const std::size_t end = s_.find(c, pos_ + 1);
                if (end == std::string_view::npos)
                    return fail("bad DOCTYPE");
                pos_ = end + 1;
                continue;
            }
            if (c == '<')
                return fail("bad DOCTYPE");
            ++pos_;
        }
        if (pos_ >= s_.size())
            return fail("bad DOCTYPE");
        ++pos_;
        return true;
    }

    // A start tag at pos_ ('<' then a name); pushes it unless it is empty.
    bool startTag(std::vector<std::string_view>& open) {
        ++pos_;
        std::string_view tag;
        if (!name(tag))
            return false;
        std::vector<std::string_view> attributes;
        for (;;) {
            const std::size_t before = pos_;
            skipSpace();
            if (at("/>")) {
                pos_ += 2;
                return true;
            }
            if (at(">")) {
                ++pos_;
                if (open.size() >= static_cast<std::size_t>(kMaxDepth) + 8)
                    return fail("nested too deeply");
                open.push_back(tag);
                return true;
            }
            if (pos_ == before)
                return fail("bad start tag");
            std::string_view key;
            std::string_view value;
            if (!name(key))
                return false;
            if (std::find(attributes.begin(), attributes.end(), key) != attributes.end())
                return fail("attribute given twice");
            attributes.push_back(key);
            skipSpace();
            if (!at("="))
                return fail("attribute without value");
            ++pos_;
            skipSpace();
            if (!quoted(value, true))
                return false;
        }
    }

    bool element() {
        std::vector<std::string_view> open;
        if (!startTag(open))
            return false;
        while (!open.empty()) {
            if (pos_ >= s_.size())
                return fail("element <" + std::string(open.back()) + "> not closed");
            const char c = s_[pos_];
            if (c == '&') {
                if (!reference())
                    return false;
            } else if (c != '<') {
                if (at("]]>"))
                    return fail("']]>' in character data");
                ++pos_;
            } else if (at("</")) {
                pos_ += 2;
                std::string_view tag;
                if (!name(tag))
                    return false;
                skipSpace();
                if (!at(">"))
                    return fail("bad end tag");
                ++pos_;
                if (tag != open.back())
                    return fail("end tag </" + std::string(tag) + "> does not match <" +
                                std::string(open.back()) + ">");
                open.pop_back();
            } else if (at("<!--")) {
                if (!comment())
                    return false;
            } else if (at("<![CDATA[")) {
                const std::size_t end = s_.find("]]>", pos_ + 9);
                if (end == std::string_view::npos)
                    return fail("unterminated CDATA section");
                pos_ = end + 3;
            } else if (at("<?")) {
                if (!processingInstruction())
                    return false;
            } else if (at("<!")) {
                return fail("markup declaration inside an element");
            } else if (!startTag(open)) {
                return false;
            }
        }
        return true;
    }

    std::string_view s_;
    std::string* error_;
    std::size_t pos_ = 0;
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

bool writeAllFd(int fd, const std::vector<std::uint8_t>& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        if (n == 0) {
            errno = EIO;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

bool checkXml(std::string_view text, std::string* error) {
    return XmlCheck(text, error).run();
}

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
    if (binary ? !BinaryCheck(bytes, error).run() : !XmlCheck(text, error).run())
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
    if (!writeAllFd(fd, bytes))
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
