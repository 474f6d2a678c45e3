// Settings and property lists are read completely or not at all: real files written by the
// project's own writer, then one length, reference, marker or string byte changed the way a
// damaged disk or a half-done edit changes it. And text libplist would store as something else
// is never written.

#include "core/PropertyList.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace tpc::core {
namespace {

using test::bytesOf;

using Bytes = std::vector<std::uint8_t>;

// Where `text` is stored in `bytes` as an ASCII string object (marker 0x5n, n < 15).
std::size_t asciiObject(const Bytes& bytes, const std::string& text) {
    Bytes needle{static_cast<std::uint8_t>(0x50 | text.size())};
    needle.insert(needle.end(), text.begin(), text.end());
    auto it = std::search(bytes.begin(), bytes.end(), needle.begin(), needle.end());
    EXPECT_NE(it, bytes.end()) << text;
    return static_cast<std::size_t>(it - bytes.begin());
}

std::uint64_t bigEndian(const Bytes& b, std::size_t at, std::size_t n) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i)
        v = v << 8 | b.at(at + i);
    return v;
}

DictRef settingsLike() {
    return DictObj::make(
        {{"presetName", Value("Cookies")},
         {"presetIndex", Value(-2)},
         {"Array Firefox Cookies Allowed", Value(ArrayObj::make({Value("kept.org")}))},
         {"File Deletion Option", Value(2)},
         {"Path", Value("/home/u/doc")},
         {"When", Value(Date{1000.5})}});
}

std::optional<Value> readArchive(const Bytes& bytes, std::string* error = nullptr) {
    auto v = plist::parse(bytes, error);
    if (!v)
        return std::nullopt;
    return plist::decodeKeyedArchive(*v, error);
}

TEST(StrictBinaryRead, EachKindOfDamageInAnArchiveIsRefused) {
    const Bytes good = plist::encodeKeyedArchive(Value(settingsLike()));
    ASSERT_FALSE(good.empty());
    std::string error;
    ASSERT_TRUE(readArchive(good, &error)) << error;

    const std::size_t kept = asciiObject(good, "kept.org");
    const std::size_t path = asciiObject(good, "/home/u/doc");
    const std::size_t trailer = good.size() - 32;
    const unsigned offsetSize = good[trailer + 6];
    ASSERT_EQ(good[trailer + 7], 1u); // one-byte references
    const std::size_t table = bigEndian(good, trailer + 24, 8);
    const std::size_t topIndex = bigEndian(good, trailer + 16, 8);
    const std::size_t top = bigEndian(good, table + topIndex * offsetSize, offsetSize);
    ASSERT_EQ(good[top], 0xD4); // the archive's dictionary of four keys

    std::vector<std::pair<std::string, Bytes>> cases;
    auto poke = [&](const std::string& what, std::size_t at, std::uint8_t value) {
        Bytes b = good;
        b.at(at) = value;
        cases.emplace_back(what, b);
    };
    // The length of "kept.org" one larger: it runs into the next object (libplist reads it,
    // and the objects after it shift).
    poke("string length enlarged", kept, 0x59);
    // One smaller: a shorter string and a byte that belongs to no object.
    poke("string length made smaller", kept, 0x57);
    poke("byte 0xFF inside an ASCII string", path + 3, 0xFF);
    poke("unknown marker", kept, 0x70 | 8);
    poke("set marker", kept, 0xC0);
    poke("trailer's unused byte", trailer + 2, 1);
    poke("offset size", trailer + 6, good[trailer + 6] + 1);
    poke("object count", trailer + 15, good[trailer + 15] + 1);
    poke("top object out of range", trailer + 23, 0xFF);
    poke("offset table position", trailer + 31, static_cast<std::uint8_t>(good[trailer + 31] - 1));
    poke("header version", 7, '1');
    {
        // The first offset-table entry made the same as the second.
        Bytes b = good;
        std::copy_n(good.begin() + static_cast<long>(table + offsetSize), offsetSize,
                    b.begin() + static_cast<long>(table));
        cases.emplace_back("duplicate offset", b);
    }
    // A key reference of the top dictionary made to point past the last object, or at another
    // object: the one it pointed at is then reached by nothing.
    poke("reference out of range", top + 1, 0xFE);
    poke("reference changed", top + 1, static_cast<std::uint8_t>(good[top + 1] ^ 1));
    for (const auto& [what, bytes] : cases) {
        error.clear();
        EXPECT_FALSE(plist::parse(bytes, &error)) << what;
        EXPECT_FALSE(error.empty()) << what;
    }
}

TEST(StrictBinaryRead, Utf16StringsMustBeWholeAndPlainListsStillRead) {
    auto dict = DictObj::make({{"s", Value("\xC3\xA4\xF0\x9F\x98\x80")}}); // ä and an emoji
    const Bytes good = plist::toBinary(Value(dict));
    auto back = plist::parse(good);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, Value(dict));
    // The emoji is a surrogate pair D83D DE00: break its second half.
    const Bytes pair = {0xD8, 0x3D, 0xDE, 0x00};
    auto it = std::search(good.begin(), good.end(), pair.begin(), pair.end());
    ASSERT_NE(it, good.end());
    Bytes lone = good;
    lone[static_cast<std::size_t>(it - good.begin()) + 2] = 0x00;
    std::string error;
    EXPECT_FALSE(plist::parse(lone, &error));
    EXPECT_NE(error.find("surrogate"), std::string::npos) << error;
}

TEST(StrictBinaryRead, DamagedArchiverIsNeverReadAsAPlainDictionary) {
    const auto valid = plist::parse(plist::encodeKeyedArchive(Value(settingsLike())));
    ASSERT_TRUE(valid);
    std::vector<std::pair<std::string, std::function<void(DictObj&)>>> damage = {
        {"archiver misspelt",
         [](DictObj& a) {
             a.set("$archiver", Value("NSKeyedArchiveR"));
         }},
        {"archiver missing",
         [](DictObj& a) {
             a.remove("$archiver");
         }},
        {"version wrong",
         [](DictObj& a) {
             a.set("$version", Value(99999));
         }},
        {"extra top key",
         [](DictObj& a) {
             a.set("$extra", Value(1));
         }},
        {"first object not $null",
         [](DictObj& a) {
             a.getArray("$objects")->items[0] = Value("$nul");
         }},
    };
    test::TempDir dir;
    for (const auto& [what, change] : damage) {
        auto copy = plist::parse(plist::toBinary(*valid));
        ASSERT_TRUE(copy);
        change(*copy->dict());
        const auto file = dir / "General.plist";
        ASSERT_TRUE(plist::writeFileAtomically(file, plist::toBinary(*copy)));
        std::string error;
        EXPECT_FALSE(plist::readSettingsFile(file, &error)) << what;
        EXPECT_NE(error.find("keyed archive"), std::string::npos) << what << ": " << error;
    }
    // A plain dictionary without any archive key is still a settings file.
    const auto plain = dir / "Plain.plist";
    ASSERT_TRUE(plist::writeFileAtomically(plain, plist::toBinary(Value(settingsLike()))));
    EXPECT_TRUE(plist::readSettingsFile(plain));
}

TEST(StrictBinaryRead, ArchivedObjectsWithUnreadFieldsOrRepeatedKeysAreRefused) {
    auto parsed = plist::parse(plist::encodeKeyedArchive(Value(DictObj::make({{"a", 1}}))));
    ASSERT_TRUE(parsed);
    auto objects = parsed->dict()->getArray("$objects");
    // Object 1 is the root dictionary.
    auto root = objects->items[1].dict();
    ASSERT_TRUE(root && root->has("NS.keys"));
    root->set("NS.extra", Value(1));
    EXPECT_FALSE(plist::decodeKeyedArchive(*parsed));
    root->remove("NS.extra");
    ASSERT_TRUE(plist::decodeKeyedArchive(*parsed));
    // The same key twice ("a" and "$a" escaped as "$$a" collide only when both unescape alike).
    auto keys = root->getArray("NS.keys");
    auto values = root->getArray("NS.objects");
    keys->append(keys->items[0]);
    values->append(values->items[0]);
    std::string error;
    EXPECT_FALSE(plist::decodeKeyedArchive(*parsed, &error));
    EXPECT_NE(error.find("twice"), std::string::npos) << error;
}

// Every single-byte change of a settings archive at every position (a few hundred mutants):
// each is either refused, or reads as a whole archive whose text can be written again unchanged.
// None may come back with a string that is not valid UTF-8 or with fewer entries than it had.
TEST(StrictBinaryRead, SingleByteMutantsAreRefusedOrReadWhole) {
    const Bytes good = plist::encodeKeyedArchive(Value(settingsLike()));
    const auto original = readArchive(good);
    ASSERT_TRUE(original);
    int accepted = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (std::uint8_t delta : {0x01, 0x80, 0xFF}) {
            Bytes b = good;
            b[at] = static_cast<std::uint8_t>(b[at] + delta);
            auto v = readArchive(b);
            if (!v)
                continue;
            ++accepted;
            if (!v->isDict())
                continue; // the root reference moved to another object: not settings
            EXPECT_EQ(v->dict()->size(), original->dict()->size()) << "byte " << at;
            std::string error;
            const auto again = plist::encodeKeyedArchive(*v, &error);
            ASSERT_FALSE(again.empty()) << "byte " << at << ": " << error;
            EXPECT_EQ(readArchive(again), v) << "byte " << at;
        }
    }
    // Values inside strings, numbers and dates may change and still be whole.
    EXPECT_GT(accepted, 0);
}

TEST(PlistWriting, TextThatCannotBeStoredUnchangedIsRefused) {
    const std::vector<std::pair<std::string, Value>> bad = {
        {"invalid byte in a value", Value(DictObj::make({{"Path", Value("/home/a\xFF"
                                                                        "b")}}))},
        {"invalid byte in a key", Value(DictObj::make({{"k\xC3", Value(1)}}))},
        {"embedded NUL", Value(DictObj::make({{"Path", Value(std::string("a\0b", 3))}}))},
        {"nested in an array",
         Value(DictObj::make({{"List", Value(ArrayObj::make({Value("ok"), Value("\xC0\xAF")}))}}))},
    };
    for (const auto& [what, value] : bad) {
        std::string error;
        EXPECT_TRUE(plist::toBinary(value, &error).empty()) << what;
        EXPECT_NE(error.find("unchanged"), std::string::npos) << what << ": " << error;
        error.clear();
        EXPECT_TRUE(plist::encodeKeyedArchive(value, &error).empty()) << what;
        EXPECT_FALSE(error.empty()) << what;
        EXPECT_TRUE(plist::toXml(value).empty()) << what;
    }
    // A control character is fine in binary but not in XML.
    const Value bell(DictObj::make({{"s", Value("ding\x07")}}));
    EXPECT_FALSE(plist::toBinary(bell).empty());
    EXPECT_TRUE(plist::toXml(bell).empty());
    const Value nonCharacter(DictObj::make({{"s", Value("a\xEF\xBF\xBE")}}));
    EXPECT_FALSE(plist::toBinary(nonCharacter).empty());
    EXPECT_TRUE(plist::toXml(nonCharacter).empty());
}

// A NUL inside a string would be read cut short (and inside a dictionary key it stops libplist
// altogether); a date that is not a number has no meaning. Neither file is read.
TEST(StrictBinaryRead, NulInsideAStringOrAKeyAndNonNumberDatesAreRefused) {
    const auto withString = [](const std::string& key, const std::string& text) {
        return plist::toBinary(Value(DictObj::make({{key, Value(text)}})));
    };
    const auto nulAt = [](Bytes bytes, const std::string& marker) {
        auto it = std::search(bytes.begin(), bytes.end(), marker.begin(), marker.end());
        EXPECT_NE(it, bytes.end());
        if (it != bytes.end())
            *(it + 1) = 0;
        return bytes;
    };
    std::string error;
    EXPECT_FALSE(plist::parse(nulAt(withString("request", "aXb"), "aXb"), &error));
    EXPECT_NE(error.find("NUL"), std::string::npos) << error;
    EXPECT_FALSE(plist::parse(nulAt(withString("kXy", "value"), "kXy"), &error));

    // A UTF-16 string (it holds an a-umlaut) with one of its units made zero.
    Bytes wide = withString("s", "\xC3\xA4z");
    const Bytes unitZ = {0x00, 'z'};
    auto z = std::search(wide.begin(), wide.end(), unitZ.begin(), unitZ.end());
    ASSERT_NE(z, wide.end());
    *(z + 1) = 0;
    EXPECT_FALSE(plist::parse(wide));

    Bytes dated = plist::toBinary(Value(DictObj::make({{"d", Value(tpc::core::Date{1.0})}})));
    const auto marker = std::find(dated.begin(), dated.end(), std::uint8_t{0x33});
    ASSERT_NE(marker, dated.end());
    const Bytes nan = {0x7F, 0xF8, 0, 0, 0, 0, 0, 0};
    std::copy(nan.begin(), nan.end(), marker + 1);
    EXPECT_FALSE(plist::parse(dated, &error));
    EXPECT_NE(error.find("date"), std::string::npos) << error;
}

TEST(XmlCheck, WellFormedDocumentsPassAndBrokenOnesDoNot) {
    const std::string good = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                             "<!DOCTYPE x SYSTEM \"x.dtd\">\n<!-- c -->\n"
                             "<x a=\"1\" b='&lt;&#x41;&#65;'><y/><![CDATA[<raw>]]>t&amp;t<?pi d?>"
                             "</x>\n<!-- after -->\n";
    std::string error;
    EXPECT_TRUE(plist::checkXml(good, &error)) << error;

    const std::vector<std::pair<std::string, std::string>> bad = {
        {"last end tag without '>'", "<x><y/></x"},
        {"unclosed element", "<x><y></x>"},
        {"mismatched end tag", "<x><y></z></x>"},
        {"NUL inside", std::string("<x>a\0b</x>", 10)},
        {"invalid UTF-8", "<x>a\xFF</x>"},
        {"attribute twice", "<x a=\"1\" a=\"2\"/>"},
        {"unquoted attribute", "<x a=1/>"},
        {"'<' in an attribute", "<x a=\"<\"/>"},
        {"unknown entity", "<x>&nbsp;</x>"},
        {"bare ampersand", "<x>a & b</x>"},
        {"reference to NUL", "<x>&#0;</x>"},
        {"text after the root", "<x/>junk"},
        {"two roots", "<x/><y/>"},
        {"internal subset", "<!DOCTYPE x [<!ENTITY e \"boom\">]><x>&e;</x>"},
        {"other encoding", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><x/>"},
        {"bad name", "<1x/>"},
        {"double hyphen in a comment", "<x><!-- a -- b --></x>"},
        {"control character", "<x>\x01</x>"},
        {"nothing", ""},
    };
    for (const auto& [what, text] : bad) {
        error.clear();
        EXPECT_FALSE(plist::checkXml(text, &error)) << what;
        EXPECT_NE(error.find("not well-formed"), std::string::npos) << what;
    }
    // An XML property list is held to the same rules.
    EXPECT_FALSE(plist::parse(bytesOf("<plist version=\"1.0\"><string>a\xFF</string></plist>")));
    EXPECT_FALSE(plist::parse(bytesOf("<plist version=\"1.0\"><string>a</string></plist")));
}

// Archive references are 32-bit: a dictionary whose only key is "CF$UID" with a larger number is
// an ordinary dictionary and comes back as one.
TEST(PlistWriting, ADictionaryPosingAsAHugeReferenceStaysADictionary) {
    const std::string xml = "<plist version=\"1.0\"><dict><key>CF$UID</key>"
                            "<integer>8589934592</integer></dict></plist>";
    const auto value = plist::parse(Bytes(xml.begin(), xml.end()));
    ASSERT_TRUE(value);
    const auto back = plist::parse(plist::toBinary(*value));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, *value);
}

} // namespace
} // namespace tpc::core
