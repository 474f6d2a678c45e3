// Property lists and keyed archives: the bytes are checked with libplist directly, so that the
// files are what a standard property-list reader expects, and every kind of value round-trips.

#include "core/PropertyList.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <csignal>
#include <cstring>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>

namespace tpc::core {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

// ---- libplist helpers (the "standard reader") ----------------------------------------------

struct Plist {
    plist_t node = nullptr;
    explicit Plist(const std::vector<std::uint8_t>& bytes) {
        plist_from_bin(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::uint32_t>(bytes.size()), &node);
    }
    ~Plist() {
        if (node)
            plist_free(node);
    }
    Plist(const Plist&) = delete;
    Plist& operator=(const Plist&) = delete;
};

std::string str(plist_t node) {
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return "<not a string>";
    std::uint64_t len = 0;
    const char* p = plist_get_string_ptr(node, &len);
    return std::string(p, len);
}

std::uint64_t uid(plist_t node) {
    EXPECT_TRUE(node && plist_get_node_type(node) == PLIST_UID);
    std::uint64_t v = ~0ull;
    if (node && plist_get_node_type(node) == PLIST_UID)
        plist_get_uid_val(node, &v);
    return v;
}

plist_t objectAt(plist_t top, std::uint64_t index) {
    plist_t objects = plist_dict_get_item(top, "$objects");
    return plist_array_get_item(objects, static_cast<std::uint32_t>(index));
}

// Number of entries of $objects that are class entries named `name`.
int countClassEntries(plist_t top, const std::string& name) {
    plist_t objects = plist_dict_get_item(top, "$objects");
    int n = 0;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i) {
        plist_t o = plist_array_get_item(objects, i);
        if (plist_get_node_type(o) == PLIST_DICT &&
            str(plist_dict_get_item(o, "$classname")) == name)
            ++n;
    }
    return n;
}

// Number of objects in $objects whose class is `name` (following the $class UID).
int countObjectsOfClass(plist_t top, const std::string& name) {
    plist_t objects = plist_dict_get_item(top, "$objects");
    int n = 0;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i) {
        plist_t o = plist_array_get_item(objects, i);
        if (plist_get_node_type(o) != PLIST_DICT)
            continue;
        plist_t cls = plist_dict_get_item(o, "$class");
        if (cls && str(plist_dict_get_item(objectAt(top, uid(cls)), "$classname")) == name)
            ++n;
    }
    return n;
}

// ---- building archives by hand ---------------------------------------------------------------

Value U(std::uint64_t n) {
    return Value(DictObj::make({{"CF$UID", Value(static_cast<long long>(n))}}));
}

Value classEntry(std::initializer_list<const char*> names) {
    auto classes = ArrayObj::make();
    for (const char* n : names)
        classes->append(Value(n));
    return Value(
        DictObj::make({{"$classname", Value(*names.begin())}, {"$classes", Value(classes)}}));
}

Value archive(ArrayRef objects, Value root = U(1)) {
    return Value(DictObj::make({{"$archiver", Value("NSKeyedArchiver")},
                                {"$version", Value(100000)},
                                {"$top", Value(DictObj::make({{"root", root}}))},
                                {"$objects", Value(objects)}}));
}

Value uidArray(std::initializer_list<std::uint64_t> uids) {
    auto a = ArrayObj::make();
    for (auto u : uids)
        a->append(U(u));
    return Value(a);
}

std::optional<Value> roundTrip(const Value& v, std::string* error = nullptr) {
    const auto bytes = plist::encodeKeyedArchive(v);
    auto parsed = plist::parse(bytes, error);
    if (!parsed)
        return std::nullopt;
    return plist::decodeKeyedArchive(*parsed, error);
}

std::vector<std::uint8_t> bytesOf(const std::string& s) {
    return {s.begin(), s.end()};
}

// ---- the archive layout ----------------------------------------------------------------------

TEST(KeyedArchiveTest, LayoutIsWhatAStandardReaderExpects) {
    auto dict = DictObj::make({{"presetName", Value("General")}, {"presetIndex", Value(-1)}});
    const auto bytes = plist::encodeKeyedArchive(Value(dict));
    ASSERT_GE(bytes.size(), 8u);
    EXPECT_EQ(0, std::memcmp(bytes.data(), "bplist00", 8));

    Plist p(bytes);
    ASSERT_NE(p.node, nullptr);
    ASSERT_EQ(plist_get_node_type(p.node), PLIST_DICT);
    EXPECT_EQ(str(plist_dict_get_item(p.node, "$archiver")), "NSKeyedArchiver");
    std::uint64_t version = 0;
    plist_t v = plist_dict_get_item(p.node, "$version");
    ASSERT_NE(v, nullptr);
    ASSERT_EQ(plist_get_node_type(v), PLIST_UINT);
    plist_get_uint_val(v, &version);
    EXPECT_EQ(version, 100000u);

    plist_t top = plist_dict_get_item(p.node, "$top");
    ASSERT_NE(top, nullptr);
    ASSERT_EQ(plist_get_node_type(top), PLIST_DICT);
    const std::uint64_t root = uid(plist_dict_get_item(top, "root"));

    plist_t objects = plist_dict_get_item(p.node, "$objects");
    ASSERT_NE(objects, nullptr);
    ASSERT_EQ(plist_get_node_type(objects), PLIST_ARRAY);
    EXPECT_EQ(str(plist_array_get_item(objects, 0)), "$null");
    ASSERT_LT(root, plist_array_get_size(objects));
    EXPECT_NE(root, 0u);

    plist_t rootObj = objectAt(p.node, root);
    ASSERT_EQ(plist_get_node_type(rootObj), PLIST_DICT);
    plist_t keys = plist_dict_get_item(rootObj, "NS.keys");
    plist_t vals = plist_dict_get_item(rootObj, "NS.objects");
    ASSERT_NE(keys, nullptr);
    ASSERT_NE(vals, nullptr);
    ASSERT_EQ(plist_array_get_size(keys), 2u);
    ASSERT_EQ(plist_array_get_size(vals), 2u);
    // Keys come out sorted (std::map): presetIndex, presetName.
    EXPECT_EQ(str(objectAt(p.node, uid(plist_array_get_item(keys, 0)))), "presetIndex");
    EXPECT_EQ(str(objectAt(p.node, uid(plist_array_get_item(keys, 1)))), "presetName");
    EXPECT_EQ(str(objectAt(p.node, uid(plist_array_get_item(vals, 1)))), "General");
    // The number is inline and a standard reader sees -1.
    plist_t minusOne = objectAt(p.node, uid(plist_array_get_item(vals, 0)));
    ASSERT_EQ(plist_get_node_type(minusOne), PLIST_UINT);
    std::uint64_t raw = 0;
    plist_get_uint_val(minusOne, &raw);
    EXPECT_EQ(static_cast<std::int64_t>(raw), -1);

    plist_t cls = objectAt(p.node, uid(plist_dict_get_item(rootObj, "$class")));
    ASSERT_EQ(plist_get_node_type(cls), PLIST_DICT);
    EXPECT_EQ(str(plist_dict_get_item(cls, "$classname")), "NSMutableDictionary");
    plist_t chain = plist_dict_get_item(cls, "$classes");
    ASSERT_EQ(plist_array_get_size(chain), 3u);
    EXPECT_EQ(str(plist_array_get_item(chain, 0)), "NSMutableDictionary");
    EXPECT_EQ(str(plist_array_get_item(chain, 1)), "NSDictionary");
    EXPECT_EQ(str(plist_array_get_item(chain, 2)), "NSObject");
}

TEST(KeyedArchiveTest, MinusOneIsAnEightByteSignedIntegerOnDisk) {
    const auto bytes = plist::encodeKeyedArchive(Value(ArrayObj::make({Value(-1)})));
    // Binary plist integer marker 0x13 (8 bytes) followed by all ones.
    const std::vector<std::uint8_t> pattern = {0x13, 0xFF, 0xFF, 0xFF, 0xFF,
                                               0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end()), bytes.end());
    // And the XML rendering of the same archive by libplist says -1.
    Plist p(bytes);
    char* xml = nullptr;
    std::uint32_t len = 0;
    plist_to_xml(p.node, &xml, &len);
    ASSERT_NE(xml, nullptr);
    EXPECT_NE(std::string(xml, len).find("<integer>-1</integer>"), std::string::npos);
    plist_to_xml_free(xml);
}

TEST(KeyedArchiveTest, ArraysAndDatesUseTheirClasses) {
    auto root = DictObj::make(
        {{"list", Value(ArrayObj::make({Value(1), Value("x")}))}, {"when", Value(Date{123.5})}});
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(countObjectsOfClass(p.node, "NSMutableArray"), 1);
    EXPECT_EQ(countObjectsOfClass(p.node, "NSDate"), 1);

    plist_t objects = plist_dict_get_item(p.node, "$objects");
    bool sawDate = false;
    bool sawArray = false;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i) {
        plist_t o = plist_array_get_item(objects, i);
        if (plist_get_node_type(o) != PLIST_DICT)
            continue;
        plist_t clsRef = plist_dict_get_item(o, "$class");
        const std::string cls =
            clsRef ? str(plist_dict_get_item(objectAt(p.node, uid(clsRef)), "$classname")) : "";
        if (cls == "NSDate") {
            sawDate = true;
            plist_t t = plist_dict_get_item(o, "NS.time");
            ASSERT_NE(t, nullptr);
            ASSERT_EQ(plist_get_node_type(t), PLIST_REAL);
            double d = 0;
            plist_get_real_val(t, &d);
            EXPECT_DOUBLE_EQ(d, 123.5);
        }
        if (cls == "NSMutableArray") {
            sawArray = true;
            EXPECT_EQ(plist_array_get_size(plist_dict_get_item(o, "NS.objects")), 2u);
            EXPECT_EQ(plist_dict_get_item(o, "NS.keys"), nullptr);
        }
        if (plist_dict_get_item(o, "$classname")) {
            plist_t chain = plist_dict_get_item(o, "$classes");
            if (str(plist_dict_get_item(o, "$classname")) == "NSDate") {
                ASSERT_EQ(plist_array_get_size(chain), 2u);
                EXPECT_EQ(str(plist_array_get_item(chain, 0)), "NSDate");
                EXPECT_EQ(str(plist_array_get_item(chain, 1)), "NSObject");
            }
            if (str(plist_dict_get_item(o, "$classname")) == "NSMutableArray") {
                ASSERT_EQ(plist_array_get_size(chain), 3u);
                EXPECT_EQ(str(plist_array_get_item(chain, 1)), "NSArray");
            }
        }
    }
    EXPECT_TRUE(sawDate);
    EXPECT_TRUE(sawArray);
}

TEST(KeyedArchiveTest, ClassEntriesAreStoredOnce) {
    auto root = DictObj::make();
    for (int i = 0; i < 5; ++i) {
        root->set("d" + std::to_string(i), Value(DictObj::make({{"x", Value(i)}})));
        root->set("a" + std::to_string(i), Value(ArrayObj::make({Value(i)})));
        root->set("t" + std::to_string(i), Value(Date{static_cast<double>(i)}));
    }
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(countClassEntries(p.node, "NSMutableDictionary"), 1);
    EXPECT_EQ(countClassEntries(p.node, "NSMutableArray"), 1);
    EXPECT_EQ(countClassEntries(p.node, "NSDate"), 1);
    EXPECT_EQ(countObjectsOfClass(p.node, "NSMutableDictionary"), 6);
}

TEST(KeyedArchiveTest, SharedSubDictionaryIsStoredOnceAndStaysShared) {
    auto shared = DictObj::make({{"Description", Value("Cookies")}, {"Mark", Value(1)}});
    auto sharedList = ArrayObj::make({Value(shared)});
    auto root = DictObj::make({{"first", Value(shared)},
                               {"second", Value(shared)},
                               {"listA", Value(sharedList)},
                               {"listB", Value(sharedList)}});
    const auto bytes = plist::encodeKeyedArchive(Value(root));
    Plist p(bytes);
    ASSERT_NE(p.node, nullptr);
    // Root and the one shared dictionary; the one shared array.
    EXPECT_EQ(countObjectsOfClass(p.node, "NSMutableDictionary"), 2);
    EXPECT_EQ(countObjectsOfClass(p.node, "NSMutableArray"), 1);

    auto back = roundTrip(Value(root));
    ASSERT_TRUE(back);
    auto d = back->dict();
    ASSERT_TRUE(d);
    ASSERT_TRUE(d->getDict("first"));
    EXPECT_EQ(d->getDict("first"), d->getDict("second"));
    EXPECT_EQ(d->getArray("listA"), d->getArray("listB"));
    EXPECT_EQ(d->getArray("listA")->at(0).dict(), d->getDict("first"));
    EXPECT_EQ(d->getDict("first")->getString("Description"), "Cookies");
}

TEST(KeyedArchiveTest, EqualStringsAreStoredOnce) {
    auto root = DictObj::make({{"a", Value("same")}, {"b", Value("same")}, {"same", Value("a")}});
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    plist_t objects = plist_dict_get_item(p.node, "$objects");
    int same = 0;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i)
        if (str(plist_array_get_item(objects, i)) == "same")
            ++same;
    EXPECT_EQ(same, 1);
}

TEST(KeyedArchiveTest, EveryKindOfValueRoundTrips) {
    const Data bytes = {0, 1, 2, 0xFF, 0, 0x80};
    auto inner =
        DictObj::make({{"deep", Value(ArrayObj::make({Value(DictObj::make({{"z", Value(0)}})),
                                                      Value(ArrayObj::make())}))}});
    auto root = DictObj::make({
        {"presetName", Value("General")},
        {"minusOne", Value(-1)},
        {"intMin", Value(static_cast<long long>(std::numeric_limits<std::int64_t>::min()))},
        {"intMax", Value(static_cast<long long>(std::numeric_limits<std::int64_t>::max()))},
        {"zero", Value(0)},
        {"bigSize", Value(static_cast<unsigned long long>(5'000'000'000'000ull))},
        {"size32", Value(static_cast<unsigned long long>(4'294'967'296ull))},
        {"yes", Value(true)},
        {"no", Value(false)},
        {"real", Value(3.25)},
        {"negReal", Value(-1e-300)},
        {"date", Value(Date{123456789.125})},
        {"oldDate", Value(Date{-86400.5})},
        {"data", Value(bytes)},
        {"emptyData", Value(Data{})},
        {"unicode", Value("Grüße, 日本語 and 😀")},
        {"empty", Value("")},
        {"$dollar", Value("escaped")},
        {"$$double", Value(2)},
        {"$", Value(3)},
        {"$null", Value("not null")},
        {"$class", Value("not a class")},
        {"nested", Value(inner)},
        {"emptyDict", Value::newDict()},
        {"emptyArray", Value::newArray()},
        {"array", Value(ArrayObj::make({Value(1), Value("two"), Value(nullptr), Value(3.0)}))},
        {"nullValue", Value(nullptr)},
    });
    std::string error;
    auto back = roundTrip(Value(root), &error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(*back, Value(root));
    auto d = back->dict();
    ASSERT_TRUE(d);
    EXPECT_EQ(d->items.size(), root->items.size());

    EXPECT_EQ(d->get("minusOne").kind(), Value::Kind::Int);
    EXPECT_EQ(d->getInt("minusOne"), -1);
    EXPECT_EQ(d->getInt("intMin"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(d->getInt("intMax"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(d->get("bigSize").kind(), Value::Kind::Int);
    EXPECT_EQ(d->getUInt("bigSize"), 5'000'000'000'000ull);
    EXPECT_EQ(d->getUInt("size32"), 4'294'967'296ull);
    EXPECT_EQ(d->get("yes").kind(), Value::Kind::Bool);
    EXPECT_TRUE(d->getBool("yes"));
    EXPECT_EQ(d->get("no").kind(), Value::Kind::Bool);
    EXPECT_FALSE(d->getBool("no", true));
    EXPECT_EQ(d->get("real").kind(), Value::Kind::Real);
    EXPECT_DOUBLE_EQ(d->get("real").toReal(), 3.25);
    ASSERT_TRUE(d->get("date").date());
    EXPECT_EQ(d->get("date").date()->secondsSince2001, 123456789.125);
    EXPECT_EQ(d->get("oldDate").date()->secondsSince2001, -86400.5);
    ASSERT_TRUE(d->get("data").data());
    EXPECT_EQ(*d->get("data").data(), bytes);
    EXPECT_EQ(d->getString("unicode"), "Grüße, 日本語 and 😀");
    EXPECT_TRUE(d->get("empty").isString());
    EXPECT_EQ(d->getString("$dollar"), "escaped");
    EXPECT_EQ(d->getInt("$$double"), 2);
    EXPECT_EQ(d->getInt("$"), 3);
    EXPECT_EQ(d->getString("$null"), "not null");
    EXPECT_EQ(d->getString("$class"), "not a class");
    EXPECT_TRUE(d->has("nullValue"));
    EXPECT_TRUE(d->get("nullValue").isNull());
    ASSERT_TRUE(d->getArray("array"));
    ASSERT_EQ(d->getArray("array")->size(), 4u);
    EXPECT_TRUE(d->getArray("array")->at(2).isNull());
    EXPECT_EQ(d->getDict("nested")->getArray("deep")->at(0).dict()->getInt("z", 7), 0);
}

TEST(KeyedArchiveTest, DollarKeysAreEscapedInTheArchive) {
    auto root = DictObj::make({{"$key", Value(1)}, {"$$two", Value(2)}, {"plain", Value(3)}});
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    plist_t objects = plist_dict_get_item(p.node, "$objects");
    std::set<std::string> strings;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i) {
        plist_t o = plist_array_get_item(objects, i);
        if (plist_get_node_type(o) == PLIST_STRING)
            strings.insert(str(o));
    }
    EXPECT_TRUE(strings.count("$$key"));
    EXPECT_TRUE(strings.count("$$$two"));
    EXPECT_TRUE(strings.count("plain"));
    EXPECT_FALSE(strings.count("$key"));
}

TEST(KeyedArchiveTest, NullAndScalarRoots) {
    auto nullBack = roundTrip(Value());
    ASSERT_TRUE(nullBack);
    EXPECT_TRUE(nullBack->isNull());
    auto s = roundTrip(Value("just text"));
    ASSERT_TRUE(s);
    EXPECT_EQ(s->toString(), "just text");
    auto a = roundTrip(Value(ArrayObj::make({Value(true), Value(Date{1.0})})));
    ASSERT_TRUE(a);
    ASSERT_TRUE(a->array());
    EXPECT_EQ(a->array()->at(1).date()->secondsSince2001, 1.0);
}

TEST(KeyedArchiveTest, InMemoryCycleIsEncodedAsABackReferenceAndCutOnRead) {
    auto a = DictObj::make({{"name", Value("a")}});
    auto list = ArrayObj::make({Value(a)});
    a->set("self", Value(a));
    a->set("list", Value(list));
    const auto bytes = plist::encodeKeyedArchive(Value(a));
    // Break the in-memory cycle before anything can fail, so LeakSanitizer stays quiet.
    a->remove("self");
    list->items.clear();

    auto parsed = plist::parse(bytes);
    ASSERT_TRUE(parsed);
    std::string error;
    auto back = plist::decodeKeyedArchive(*parsed, &error);
    ASSERT_TRUE(back) << error;
    auto d = back->dict();
    ASSERT_TRUE(d);
    EXPECT_EQ(d->getString("name"), "a");
    EXPECT_TRUE(d->has("self"));
    EXPECT_TRUE(d->get("self").isNull());
    ASSERT_TRUE(d->getArray("list"));
    ASSERT_EQ(d->getArray("list")->size(), 1u);
    EXPECT_TRUE(d->getArray("list")->at(0).isNull());
}

// ---- reading archives written by others -----------------------------------------------------

TEST(KeyedArchiveTest, ReadsImmutableClassesAndMutableStringAndData) {
    auto objects = ArrayObj::make({
        Value("$null"),
        // 1: root dictionary (immutable class)
        Value(DictObj::make({{"NS.keys", uidArray({2, 3, 4, 5})},
                             {"NS.objects", uidArray({6, 8, 10, 12})},
                             {"$class", U(14)}})),
        Value("text"),
        Value("blob"),
        Value("list"),
        Value("when"),
        // 6: NSMutableString
        Value(DictObj::make({{"NS.string", Value("mutable text")}, {"$class", U(7)}})),
        classEntry({"NSMutableString", "NSString", "NSObject"}),
        // 8: NSMutableData
        Value(DictObj::make({{"NS.data", Value(Data{9, 8, 7})}, {"$class", U(9)}})),
        classEntry({"NSMutableData", "NSData", "NSObject"}),
        // 10: NSArray holding the string twice and a nil
        Value(DictObj::make({{"NS.objects", uidArray({6, 0, 6})}, {"$class", U(11)}})),
        classEntry({"NSArray", "NSObject"}),
        // 12: NSDate with an integer time
        Value(DictObj::make({{"NS.time", Value(600)}, {"$class", U(13)}})),
        classEntry({"NSDate", "NSObject"}),
        classEntry({"NSDictionary", "NSObject"}),
    });
    std::string error;
    auto v = plist::decodeKeyedArchive(archive(objects), &error);
    ASSERT_TRUE(v) << error;
    auto d = v->dict();
    ASSERT_TRUE(d);
    EXPECT_EQ(d->getString("text"), "mutable text");
    ASSERT_TRUE(d->get("blob").data());
    EXPECT_EQ(*d->get("blob").data(), (Data{9, 8, 7}));
    auto list = d->getArray("list");
    ASSERT_TRUE(list);
    ASSERT_EQ(list->size(), 3u);
    EXPECT_EQ(list->at(0).toString(), "mutable text");
    EXPECT_TRUE(list->at(1).isNull());
    EXPECT_EQ(list->at(2).toString(), "mutable text");
    ASSERT_TRUE(d->get("when").date());
    EXPECT_EQ(d->get("when").date()->secondsSince2001, 600.0);
}

TEST(KeyedArchiveTest, HandBuiltCycleIsCutWithoutHangOrLeak) {
    // 1: dict {"me": 1, "kids": 4}; 4: array [1, 5]; 5: dict {"up": 4, "root": 1}
    auto objects = ArrayObj::make({
        Value("$null"),
        Value(DictObj::make(
            {{"NS.keys", uidArray({2, 3})}, {"NS.objects", uidArray({1, 4})}, {"$class", U(6)}})),
        Value("me"),
        Value("kids"),
        Value(DictObj::make({{"NS.objects", uidArray({1, 5})}, {"$class", U(7)}})),
        Value(DictObj::make(
            {{"NS.keys", uidArray({8, 9})}, {"NS.objects", uidArray({4, 1})}, {"$class", U(6)}})),
        classEntry({"NSMutableDictionary", "NSDictionary", "NSObject"}),
        classEntry({"NSMutableArray", "NSArray", "NSObject"}),
        Value("up"),
        Value("root"),
    });
    std::string error;
    auto v = plist::decodeKeyedArchive(archive(objects), &error);
    ASSERT_TRUE(v) << error;
    auto d = v->dict();
    ASSERT_TRUE(d);
    EXPECT_TRUE(d->get("me").isNull());
    auto kids = d->getArray("kids");
    ASSERT_TRUE(kids);
    ASSERT_EQ(kids->size(), 2u);
    EXPECT_TRUE(kids->at(0).isNull());
    auto child = kids->at(1).dict();
    ASSERT_TRUE(child);
    EXPECT_TRUE(child->get("up").isNull());
    EXPECT_TRUE(child->get("root").isNull());
}

TEST(KeyedArchiveTest, HandBuiltArchiveWrittenAsBinaryIsReadFromFile) {
    TempDir dir;
    auto objects = ArrayObj::make({
        Value("$null"),
        Value(DictObj::make(
            {{"NS.keys", uidArray({2})}, {"NS.objects", uidArray({3})}, {"$class", U(5)}})),
        Value("presetName"),
        Value(DictObj::make({{"NS.string", Value("General")}, {"$class", U(4)}})),
        classEntry({"NSMutableString", "NSString", "NSObject"}),
        classEntry({"NSMutableDictionary", "NSDictionary", "NSObject"}),
    });
    const auto file = dir / "General.plist";
    ASSERT_TRUE(plist::writeFileAtomically(file, plist::toBinary(archive(objects))));
    // The CF$UID dictionaries became real UIDs in the file.
    Plist p(plist::toBinary(archive(objects)));
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(plist_dict_get_item(p.node, "$top"), "root")),
              PLIST_UID);
    std::string error;
    auto v = plist::readSettingsFile(file, &error);
    ASSERT_TRUE(v) << error;
    ASSERT_TRUE(v->dict());
    EXPECT_EQ(v->dict()->getString("presetName"), "General");
}

TEST(KeyedArchiveTest, MalformedArchivesAreRefused) {
    auto dictClass = [] {
        return classEntry({"NSMutableDictionary", "NSDictionary", "NSObject"});
    };
    auto good = [&] {
        return ArrayObj::make({
            Value("$null"),
            Value(DictObj::make(
                {{"NS.keys", uidArray({2})}, {"NS.objects", uidArray({2})}, {"$class", U(3)}})),
            Value("k"),
            dictClass(),
        });
    };
    std::string error;
    ASSERT_TRUE(plist::decodeKeyedArchive(archive(good()), &error)) << error;

    struct Case {
        const char* what;
        Value archive;
    };
    std::vector<Case> cases;
    cases.push_back({"not a dict", Value("x")});
    cases.push_back({"root out of range", archive(good(), U(99))});
    cases.push_back({"root not a uid", archive(good(), Value(1))});
    {
        auto a = archive(good());
        a.dict()->remove("$top");
        cases.push_back({"no $top", a});
    }
    {
        auto a = archive(good());
        a.dict()->set("$top", Value(DictObj::make({{"object", U(1)}})));
        cases.push_back({"no root", a});
    }
    {
        auto a = archive(good());
        a.dict()->set("$objects", Value("nope"));
        cases.push_back({"objects not an array", a});
    }
    {
        auto a = archive(good());
        a.dict()->set("$archiver", Value("SomethingElse"));
        cases.push_back({"other archiver", a});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.objects", uidArray({2, 2}));
        cases.push_back({"length mismatch", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.objects", uidArray({42}));
        cases.push_back({"value out of range", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.keys", uidArray({0}));
        cases.push_back({"nil key", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.keys", uidArray({1}));
        cases.push_back({"key is a dict", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.keys", ArrayObj::make({Value("k")}));
        cases.push_back({"key not a uid", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("NS.keys", Value(3));
        cases.push_back({"keys not an array", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->remove("$class");
        cases.push_back({"no class", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("$class", U(77));
        cases.push_back({"class out of range", archive(o)});
    }
    {
        auto o = good();
        o->items[1].dict()->set("$class", U(2));
        cases.push_back({"class is a string", archive(o)});
    }
    {
        auto o = good();
        o->items[3] = classEntry({"NSURL", "NSObject"});
        cases.push_back({"unknown class", archive(o)});
    }
    {
        auto o = good();
        o->items[1] = U(2);
        cases.push_back({"bare uid object", archive(o)});
    }
    {
        auto o = good();
        o->items[1] = Value(ArrayObj::make({Value(1)}));
        cases.push_back({"raw array object", archive(o)});
    }
    {
        auto o = ArrayObj::make({Value("$null"),
                                 Value(DictObj::make({{"NS.string", Value(5)}, {"$class", U(2)}})),
                                 classEntry({"NSString", "NSObject"})});
        cases.push_back({"NSString without text", archive(o)});
    }
    {
        auto o = ArrayObj::make(
            {Value("$null"), Value(DictObj::make({{"NS.time", Value("noon")}, {"$class", U(2)}})),
             classEntry({"NSDate", "NSObject"})});
        cases.push_back({"NSDate without time", archive(o)});
    }
    {
        // An NSString whose NS.string refers to itself.
        auto o = ArrayObj::make({Value("$null"),
                                 Value(DictObj::make({{"NS.string", U(1)}, {"$class", U(2)}})),
                                 classEntry({"NSString", "NSObject"})});
        cases.push_back({"self-referring string", archive(o)});
    }
    for (const auto& c : cases) {
        std::string err;
        EXPECT_FALSE(plist::decodeKeyedArchive(c.archive, &err)) << c.what;
        EXPECT_FALSE(err.empty()) << c.what;
    }
}

TEST(KeyedArchiveTest, VeryDeepArchiveIsRefusedNotOverflowed) {
    // 5000 arrays each holding the next one.
    const std::uint64_t depth = 5000;
    auto objects = ArrayObj::make({Value("$null")});
    const std::uint64_t cls = depth + 1;
    for (std::uint64_t i = 1; i <= depth; ++i) {
        auto refs = i < depth ? uidArray({i + 1}) : uidArray({});
        objects->append(Value(DictObj::make({{"NS.objects", refs}, {"$class", U(cls)}})));
    }
    objects->append(classEntry({"NSMutableArray", "NSArray", "NSObject"}));
    std::string error;
    EXPECT_FALSE(plist::decodeKeyedArchive(archive(objects), &error));
    EXPECT_NE(error.find("deep"), std::string::npos) << error;
}

// ---- plain property lists --------------------------------------------------------------------

TEST(PropertyListTest, PlainBinaryAndXmlRoundTrip) {
    auto root = DictObj::make({
        {"i", Value(-7)},
        {"u", Value(static_cast<unsigned long long>(1ull << 40))},
        {"b", Value(true)},
        {"r", Value(0.5)},
        {"s", Value("ä😀")},
        {"d", Value(Data{1, 2, 3})},
        {"t", Value(Date{3600})},
        {"a", Value(ArrayObj::make({Value(1), Value(DictObj::make({{"x", Value("y")}}))}))},
    });
    auto fromBin = plist::parse(plist::toBinary(Value(root)));
    ASSERT_TRUE(fromBin);
    EXPECT_EQ(*fromBin, Value(root));
    EXPECT_EQ(fromBin->dict()->get("i").kind(), Value::Kind::Int);
    EXPECT_EQ(fromBin->dict()->get("b").kind(), Value::Kind::Bool);

    const std::string xml = plist::toXml(Value(root));
    EXPECT_NE(xml.find("<integer>-7</integer>"), std::string::npos);
    auto fromXml = plist::parse(bytesOf(xml));
    ASSERT_TRUE(fromXml);
    EXPECT_EQ(*fromXml, Value(root));
}

TEST(PropertyListTest, NullsAreSkippedAndCyclesCutInPlainLists) {
    auto a = DictObj::make({{"keep", Value(1)}, {"drop", Value(nullptr)}});
    a->set("self", Value(a));
    auto back = plist::parse(plist::toBinary(Value(a)));
    a->remove("self");
    ASSERT_TRUE(back);
    EXPECT_EQ(back->dict()->size(), 1u);
    EXPECT_EQ(back->dict()->getInt("keep"), 1);
}

TEST(PropertyListTest, ReadsHandWrittenXml) {
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <!-- a comment with <array> in it -->
    <key>presetName</key><string>General</string>
    <key>presetIndex</key><integer>-1</integer>
    <key>On</key><true/>
    <key>Off</key><false/>
    <key>Blob</key><data>AAEC</data>
    <key>When</key><date>2001-01-02T00:00:00Z</date>
    <key>Empty</key><array/>
    <key>Nested</key><dict><key>x</key><real>1.5</real></dict>
</dict>
</plist>
)";
    std::string error;
    auto v = plist::parse(bytesOf(xml), &error);
    ASSERT_TRUE(v) << error;
    auto d = v->dict();
    ASSERT_TRUE(d);
    EXPECT_EQ(d->getString("presetName"), "General");
    EXPECT_EQ(d->getInt("presetIndex"), -1);
    EXPECT_EQ(d->get("On").kind(), Value::Kind::Bool);
    EXPECT_TRUE(d->getBool("On"));
    EXPECT_FALSE(d->getBool("Off", true));
    EXPECT_EQ(*d->get("Blob").data(), (Data{0, 1, 2}));
    EXPECT_EQ(d->get("When").date()->secondsSince2001, 86400.0);
    ASSERT_TRUE(d->getArray("Empty"));
    EXPECT_TRUE(d->getArray("Empty")->empty());
    EXPECT_DOUBLE_EQ(d->getDict("Nested")->get("x").toReal(), 1.5);
}

TEST(PropertyListTest, UidsAppearAsCFUIDDictionaries) {
    auto parsed = plist::parse(plist::encodeKeyedArchive(Value(DictObj::make())));
    ASSERT_TRUE(parsed);
    auto root = parsed->dict()->getDict("$top")->getDict("root");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->size(), 1u);
    EXPECT_EQ(root->getInt("CF$UID"), 1);
}

TEST(PropertyListTest, GarbageEmptyAndTruncatedInputIsRefused) {
    std::string error;
    EXPECT_FALSE(plist::parse({}, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(plist::parse(bytesOf("this is not a property list \x01\x02\x03"), &error));
    EXPECT_FALSE(plist::parse(bytesOf("bplist00"), &error));
    EXPECT_FALSE(plist::parse(bytesOf("<plist version=\"1.0\"><dict><key>a</key>"), &error));
    std::vector<std::uint8_t> zeros(100, 0);
    EXPECT_FALSE(plist::parse(zeros, &error));

    auto root = DictObj::make({{"list", Value(ArrayObj::make({Value("a"), Value(1), Value(2.5)}))},
                               {"when", Value(Date{5})}});
    const auto archiveBytes = plist::encodeKeyedArchive(Value(root));
    for (std::size_t n = 0; n < archiveBytes.size(); ++n) {
        std::vector<std::uint8_t> cut(archiveBytes.begin(), archiveBytes.begin() + n);
        EXPECT_FALSE(plist::parse(cut)) << "prefix of " << n << " bytes";
    }
    const std::string xml = plist::toXml(Value(root));
    for (std::size_t n = 0; n + 10 < xml.size(); n += 7)
        (void)plist::parse(bytesOf(xml.substr(0, n))); // must not crash; most are refused
}

TEST(PropertyListTest, CorruptedBytesNeverCrash) {
    auto root =
        DictObj::make({{"presetName", Value("Presets")},
                       {"Array Of Presets",
                        Value(ArrayObj::make(
                            {Value(DictObj::make({{"Mark", Value(1)}, {"When", Value(Date{9})}})),
                             Value("x")}))}});
    const auto good = plist::encodeKeyedArchive(Value(root));
    std::mt19937 rng(12345);
    for (int i = 0; i < 3000; ++i) {
        auto bytes = good;
        const int flips = 1 + static_cast<int>(rng() % 4);
        for (int k = 0; k < flips; ++k)
            bytes[rng() % bytes.size()] = static_cast<std::uint8_t>(rng());
        std::string error;
        if (auto v = plist::parse(bytes, &error))
            (void)plist::decodeKeyedArchive(*v, &error);
    }
}

TEST(PropertyListTest, BinaryCycleIsRefused) {
    // One array whose only element is itself.
    std::vector<std::uint8_t> b = {'b', 'p', 'l', 'i', 's', 't', '0', '0', 0xA1, 0x00, 8};
    std::uint8_t trailer[32] = {};
    trailer[6] = 1;
    trailer[7] = 1;
    trailer[15] = 1;
    trailer[31] = 10;
    b.insert(b.end(), trailer, trailer + 32);
    std::string error;
    EXPECT_FALSE(plist::parse(b, &error));
    EXPECT_FALSE(error.empty());
}

std::vector<std::uint8_t> nestedBinaryArrays(std::uint32_t n) {
    std::vector<std::uint8_t> d = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t i = 0; i < n; ++i) {
        offsets.push_back(static_cast<std::uint32_t>(d.size()));
        if (i + 1 < n) {
            d.push_back(0xA1);
            const std::uint32_t next = i + 1;
            d.push_back(static_cast<std::uint8_t>(next >> 16));
            d.push_back(static_cast<std::uint8_t>(next >> 8));
            d.push_back(static_cast<std::uint8_t>(next));
        } else {
            d.push_back(0xA0);
        }
    }
    const auto table = static_cast<std::uint32_t>(d.size());
    for (auto o : offsets)
        for (int s = 24; s >= 0; s -= 8)
            d.push_back(static_cast<std::uint8_t>(o >> s));
    std::uint8_t t[32] = {};
    t[6] = 4;
    t[7] = 3;
    for (int s = 0; s < 4; ++s) {
        t[12 + s] = static_cast<std::uint8_t>(n >> (24 - 8 * s));
        t[28 + s] = static_cast<std::uint8_t>(table >> (24 - 8 * s));
    }
    d.insert(d.end(), t, t + 32);
    return d;
}

TEST(PropertyListTest, DeepNestingIsRefusedNotOverflowed) {
    std::string error;
    auto shallow = plist::parse(nestedBinaryArrays(50), &error);
    ASSERT_TRUE(shallow) << error;
    EXPECT_TRUE(shallow->isArray());
    EXPECT_FALSE(plist::parse(nestedBinaryArrays(300000), &error));
    EXPECT_NE(error.find("deep"), std::string::npos) << error;

    std::string xml = "<plist version=\"1.0\">";
    for (int i = 0; i < 300000; ++i)
        xml += "<array>";
    for (int i = 0; i < 300000; ++i)
        xml += "</array>";
    xml += "</plist>";
    EXPECT_FALSE(plist::parse(bytesOf(xml), &error));
    EXPECT_NE(error.find("deep"), std::string::npos) << error;
}

// ---- files -----------------------------------------------------------------------------------

TEST(PropertyListFileTest, ReadSettingsFileTakesArchivesAndPlainLists) {
    TempDir dir;
    auto dict = DictObj::make({{"presetName", Value("X")}, {"n", Value(-1)}});
    ASSERT_TRUE(
        plist::writeFileAtomically(dir / "a.plist", plist::encodeKeyedArchive(Value(dict))));
    ASSERT_TRUE(plist::writeFileAtomically(dir / "b.plist", plist::toBinary(Value(dict))));
    const std::string xml = plist::toXml(Value(dict));
    ASSERT_TRUE(plist::writeFileAtomically(dir / "c.plist", bytesOf(xml)));
    for (const char* name : {"a.plist", "b.plist", "c.plist"}) {
        std::string error;
        auto v = plist::readSettingsFile(dir / name, &error);
        ASSERT_TRUE(v) << name << ": " << error;
        EXPECT_EQ(*v, Value(dict)) << name;
    }
    // readFile does not decode the archive.
    auto raw = plist::readFile(dir / "a.plist");
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->dict()->getString("$archiver"), "NSKeyedArchiver");

    std::string error;
    EXPECT_FALSE(plist::readSettingsFile(dir / "missing.plist", &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(plist::readSettingsFile(dir.path(), &error));
    test::writeFile(dir / "empty.plist", "");
    EXPECT_FALSE(plist::readSettingsFile(dir / "empty.plist", &error));
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(PropertyListFileTest, AtomicWriteReplacesAndLeavesNoTemporaryFile) {
    TempDir dir;
    const auto file = dir / "out.bin";
    ASSERT_TRUE(plist::writeFileAtomically(file, bytesOf("first"), 0600));
    EXPECT_EQ(test::readFile(file), "first");
    ASSERT_TRUE(plist::writeFileAtomically(file, bytesOf("second, longer"), 0600));
    EXPECT_EQ(test::readFile(file), "second, longer");
    ASSERT_TRUE(plist::writeFileAtomically(file, {}, 0600));
    EXPECT_EQ(test::readFile(file), "");
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"out.bin"});
    struct stat st {};
    ASSERT_EQ(::stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST(PropertyListFileTest, FailedRenameKeepsTargetAndRemovesTemporaryFile) {
    TempDir dir;
    // The target is a folder with something in it: rename cannot replace it.
    test::writeFile(dir / "target" / "inside", "keep");
    std::string error;
    EXPECT_FALSE(plist::writeFileAtomically(dir / "target", bytesOf("new"), 0644, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(test::readFile(dir / "target" / "inside"), "keep");
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"target"});

    EXPECT_FALSE(plist::writeFileAtomically(dir / "no" / "such" / "folder.plist", bytesOf("x"),
                                            0644, &error));
    EXPECT_FALSE(error.empty());
}

TEST(PropertyListFileTest, FailedWriteKeepsOldFileAndRemovesTemporaryFile) {
    TempDir dir;
    const auto file = dir / "settings.plist";
    const std::string old(4096, 'o');
    test::writeFile(file, old);
    // A file-size limit makes the write itself fail (works even for root).
    struct sigaction ignore {};
    struct sigaction previous {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(::sigaction(SIGXFSZ, &ignore, &previous), 0);
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit small = saved;
    small.rlim_cur = 100;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string error;
    const bool ok =
        plist::writeFileAtomically(file, std::vector<std::uint8_t>(1000, 'n'), 0644, &error);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::sigaction(SIGXFSZ, &previous, nullptr);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(test::readFile(file), old);
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"settings.plist"});
}

} // namespace
} // namespace tpc::core
