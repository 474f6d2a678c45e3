#include "core/PlistChecks.h"

#include "core/PropertyList.h"
#include "core/Utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

namespace tpc::core::plist {

namespace {

void setCheckError(std::string* error, std::string text) {
    if (error)
        *error = std::move(text);
}

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
        setCheckError(error_, text);
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
        setCheckError(error_,
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

} // namespace

bool checkBinary(const std::vector<std::uint8_t>& bytes, std::string* error) {
    return BinaryCheck(bytes, error).run();
}

bool checkXml(std::string_view text, std::string* error) {
    return XmlCheck(text, error).run();
}

} // namespace tpc::core::plist
