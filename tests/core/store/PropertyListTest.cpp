// Property lists and keyed archives: the bytes are checked with libplist directly, so that the
// files are what a standard property-list reader expects, and every kind of value round-trips.

#include "core/PropertyList.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>

namespace tpc::core {
namespace {

namespace fs = std::filesystem;
using test::bytesOf;
using test::namesIn;
using test::TempDir;
using Strings = std::vector<std::string>;

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

// The entries of $objects.
std::vector<plist_t> objectsIn(plist_t top) {
    plist_t list = plist_dict_get_item(top, "$objects");
    std::vector<plist_t> out;
    for (std::uint32_t i = 0; i < plist_array_get_size(list); ++i)
        out.push_back(plist_array_get_item(list, i));
    return out;
}

// Number of entries of $objects that are class entries named `name`.
long countClassEntries(plist_t top, const std::string& name) {
    return std::ranges::count_if(objectsIn(top), [&](plist_t o) {
        return str(plist_dict_get_item(o, "$classname")) == name;
    });
}

// Number of entries of $objects that are the string `s`.
long countStrings(plist_t top, const std::string& s) {
    return std::ranges::count_if(objectsIn(top), [&](plist_t o) { return str(o) == s; });
}

// The class entry of an archived object.
plist_t classOf(plist_t top, plist_t object) {
    return objectAt(top, uid(plist_dict_get_item(object, "$class")));
}

// An integer as a standard reader sees it (libplist keeps the 64-bit pattern).
std::int64_t integer(plist_t node) {
    EXPECT_EQ(plist_get_node_type(node), PLIST_UINT);
    std::uint64_t raw = 0;
    plist_get_uint_val(node, &raw);
    return static_cast<std::int64_t>(raw);
}

// The objects in $objects whose class is `name`.
std::vector<plist_t> objectsOfClass(plist_t top, const std::string& name) {
    std::vector<plist_t> out;
    for (plist_t o : objectsIn(top))
        if (plist_dict_get_item(o, "$class") &&
            str(plist_dict_get_item(classOf(top, o), "$classname")) == name)
            out.push_back(o);
    return out;
}

// The "$classes" chain of the object's class entry.
Strings classChain(plist_t top, plist_t object) {
    plist_t chain = plist_dict_get_item(classOf(top, object), "$classes");
    Strings out;
    for (std::uint32_t i = 0; i < plist_array_get_size(chain); ++i)
        out.push_back(str(plist_array_get_item(chain, i)));
    return out;
}

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

// ---- the archive layout ----------------------------------------------------------------------

TEST(KeyedArchiveTest, LayoutIsWhatAStandardReaderExpects) {
    auto dict = DictObj::make({{"presetName", Value("General")}, {"presetIndex", Value(-1)}});
    const auto bytes = plist::encodeKeyedArchive(Value(dict));
    ASSERT_GE(bytes.size(), 8u);
    EXPECT_EQ(0, std::memcmp(bytes.data(), "bplist00", 8));
    // -1 is an 8-byte integer (marker 0x13) of all ones on disk.
    const std::vector<std::uint8_t> minusOne = {0x13, 0xFF, 0xFF, 0xFF, 0xFF,
                                                0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), minusOne.begin(), minusOne.end()),
              bytes.end());

    Plist p(bytes);
    ASSERT_EQ(plist_get_node_type(p.node), PLIST_DICT);
    EXPECT_EQ(str(plist_dict_get_item(p.node, "$archiver")), "NSKeyedArchiver");
    EXPECT_EQ(integer(plist_dict_get_item(p.node, "$version")), 100000);
    plist_t objects = plist_dict_get_item(p.node, "$objects");
    ASSERT_EQ(plist_get_node_type(objects), PLIST_ARRAY);
    EXPECT_EQ(str(plist_array_get_item(objects, 0)), "$null");
    const std::uint64_t root =
        uid(plist_dict_get_item(plist_dict_get_item(p.node, "$top"), "root"));
    ASSERT_NE(root, 0u);
    ASSERT_LT(root, plist_array_get_size(objects));

    plist_t rootObj = objectAt(p.node, root);
    ASSERT_EQ(plist_get_node_type(rootObj), PLIST_DICT);
    EXPECT_EQ(str(plist_dict_get_item(classOf(p.node, rootObj), "$classname")),
              "NSMutableDictionary");
    EXPECT_EQ(classChain(p.node, rootObj),
              (Strings{"NSMutableDictionary", "NSDictionary", "NSObject"}));
    ASSERT_EQ(plist_array_get_size(plist_dict_get_item(rootObj, "NS.keys")), 2u);
    ASSERT_EQ(plist_array_get_size(plist_dict_get_item(rootObj, "NS.objects")), 2u);
    auto entry = [&](const char* list, std::uint32_t i) {
        return objectAt(p.node, uid(plist_array_get_item(plist_dict_get_item(rootObj, list), i)));
    };
    // Keys come out sorted (std::map); the number is inline and a standard reader sees -1.
    EXPECT_EQ(str(entry("NS.keys", 0)), "presetIndex");
    EXPECT_EQ(str(entry("NS.keys", 1)), "presetName");
    EXPECT_EQ(str(entry("NS.objects", 1)), "General");
    EXPECT_EQ(integer(entry("NS.objects", 0)), -1);
}

TEST(KeyedArchiveTest, ArraysAndDatesUseTheirClassesStoredOnce) {
    auto root = DictObj::make();
    for (int i = 0; i < 5; ++i) {
        root->set("d" + std::to_string(i), Value(DictObj::make({{"x", Value(i)}})));
        root->set("a" + std::to_string(i), Value(ArrayObj::make({Value(i), Value("x")})));
        root->set("t" + std::to_string(i), Value(Date{100.5 + i}));
    }
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(countClassEntries(p.node, "NSMutableDictionary"), 1);
    EXPECT_EQ(countClassEntries(p.node, "NSMutableArray"), 1);
    EXPECT_EQ(countClassEntries(p.node, "NSDate"), 1);
    EXPECT_EQ(objectsOfClass(p.node, "NSMutableDictionary").size(), 6u);

    const auto arrays = objectsOfClass(p.node, "NSMutableArray");
    ASSERT_EQ(arrays.size(), 5u);
    EXPECT_EQ(classChain(p.node, arrays[0]), (Strings{"NSMutableArray", "NSArray", "NSObject"}));
    for (plist_t a : arrays) {
        EXPECT_EQ(plist_array_get_size(plist_dict_get_item(a, "NS.objects")), 2u);
        EXPECT_EQ(plist_dict_get_item(a, "NS.keys"), nullptr);
    }
    const auto dates = objectsOfClass(p.node, "NSDate");
    ASSERT_EQ(dates.size(), 5u);
    EXPECT_EQ(classChain(p.node, dates[0]), (Strings{"NSDate", "NSObject"}));
    double sum = 0;
    for (plist_t date : dates) {
        plist_t t = plist_dict_get_item(date, "NS.time");
        EXPECT_EQ(plist_get_node_type(t), PLIST_REAL);
        double seconds = 0;
        plist_get_real_val(t, &seconds);
        sum += seconds;
    }
    EXPECT_DOUBLE_EQ(sum, 5 * 100.5 + 10);
}

TEST(KeyedArchiveTest, SharedObjectsAndEqualStringsAreStoredOnceAndStayShared) {
    auto shared = DictObj::make({{"Description", Value("Cookies")}, {"Mark", Value(1)}});
    auto sharedList = ArrayObj::make({Value(shared)});
    auto root = DictObj::make({{"first", Value(shared)},
                               {"second", Value(shared)},
                               {"listA", Value(sharedList)},
                               {"listB", Value(sharedList)},
                               {"Description", Value("Cookies")}});
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    // Root and the one shared dictionary; the one shared array.
    EXPECT_EQ(objectsOfClass(p.node, "NSMutableDictionary").size(), 2u);
    EXPECT_EQ(objectsOfClass(p.node, "NSMutableArray").size(), 1u);
    // A string used as key and value in several places is one object.
    EXPECT_EQ(countStrings(p.node, "Cookies"), 1);
    EXPECT_EQ(countStrings(p.node, "Description"), 1);

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

TEST(KeyedArchiveTest, EveryKindOfValueRoundTripsAndDollarKeysAreEscaped) {
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
        {"data", Value(Data{0, 1, 2, 0xFF, 0, 0x80})},
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
    // Keys beginning with '$' get one more '$' in the archive, so none is taken for a marker.
    Plist p(plist::encodeKeyedArchive(Value(root)));
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(countStrings(p.node, "$$dollar"), 1);
    EXPECT_EQ(countStrings(p.node, "$$$double"), 1);
    EXPECT_EQ(countStrings(p.node, "$$class"), 1);
    EXPECT_EQ(countStrings(p.node, "$dollar"), 0);
    EXPECT_EQ(countStrings(p.node, "$null"), 1); // only the nil marker

    std::string error;
    auto back = roundTrip(Value(root), &error);
    ASSERT_TRUE(back) << error;
    // Equality covers every value (and the null entries); numbers compare across kinds, so the
    // kinds are checked on their own.
    EXPECT_EQ(*back, Value(root));
    auto d = back->dict();
    ASSERT_TRUE(d);
    EXPECT_EQ(d->get("minusOne").kind(), Value::Kind::Int);
    EXPECT_EQ(d->get("bigSize").kind(), Value::Kind::Int);
    EXPECT_EQ(d->get("yes").kind(), Value::Kind::Bool);
    EXPECT_EQ(d->get("no").kind(), Value::Kind::Bool);
    EXPECT_EQ(d->get("real").kind(), Value::Kind::Real);
    EXPECT_EQ(d->getArray("array")->at(3).kind(), Value::Kind::Real);

    // Null, scalar and array roots.
    for (const Value& v :
         {Value(), Value("just text"), Value(ArrayObj::make({Value(true), Value(Date{1.0})}))}) {
        auto scalar = roundTrip(v, &error);
        ASSERT_TRUE(scalar) << error;
        EXPECT_EQ(*scalar, v);
        EXPECT_EQ(scalar->kind(), v.kind());
    }
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
    EXPECT_EQ(*back, Value(DictObj::make({{"name", Value("a")},
                                          {"self", Value(nullptr)},
                                          {"list", Value(ArrayObj::make({Value(nullptr)}))}})));
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
    const Value text("mutable text");
    EXPECT_EQ(*v,
              Value(DictObj::make({{"text", text},
                                   {"blob", Value(Data{9, 8, 7})},
                                   {"list", Value(ArrayObj::make({text, Value(nullptr), text}))},
                                   {"when", Value(Date{600})}})));
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
    auto child = DictObj::make({{"up", Value(nullptr)}, {"root", Value(nullptr)}});
    EXPECT_EQ(*v, Value(DictObj::make(
                      {{"me", Value(nullptr)},
                       {"kids", Value(ArrayObj::make({Value(nullptr), Value(child)}))}})));
}

TEST(KeyedArchiveTest, UidsAreCFUIDDictionariesInMemoryAndRealUidsInFiles) {
    auto parsed = plist::parse(plist::encodeKeyedArchive(Value(DictObj::make())));
    ASSERT_TRUE(parsed);
    auto rootRef = parsed->dict()->getDict("$top")->getDict("root");
    ASSERT_TRUE(rootRef);
    EXPECT_EQ(rootRef->size(), 1u);
    EXPECT_EQ(rootRef->getInt("CF$UID"), 1);

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
    const auto bytes = plist::toBinary(archive(objects));
    Plist p(bytes);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(plist_dict_get_item(p.node, "$top"), "root")),
              PLIST_UID);
    const auto file = dir / "General.plist";
    ASSERT_TRUE(plist::writeFileAtomically(file, bytes));
    std::string error;
    auto v = plist::readSettingsFile(file, &error);
    ASSERT_TRUE(v) << error;
    ASSERT_TRUE(v->dict());
    EXPECT_EQ(v->dict()->getString("presetName"), "General");
}

TEST(KeyedArchiveTest, MalformedArchivesAreRefused) {
    auto good = [] {
        return ArrayObj::make({
            Value("$null"),
            Value(DictObj::make(
                {{"NS.keys", uidArray({2})}, {"NS.objects", uidArray({2})}, {"$class", U(3)}})),
            Value("k"),
            classEntry({"NSMutableDictionary", "NSDictionary", "NSObject"}),
        });
    };
    std::string error;
    ASSERT_TRUE(plist::decodeKeyedArchive(archive(good()), &error)) << error;

    std::vector<std::pair<std::string, Value>> cases = {
        {"not a dict", Value("x")},
        {"root out of range", archive(good(), U(99))},
        {"root not a uid", archive(good(), Value(1))},
    };
    auto badTop = [&](const char* what, auto change) {
        auto a = archive(good());
        change(*a.dict());
        cases.emplace_back(what, a);
    };
    badTop("no $top", [](DictObj& a) { a.remove("$top"); });
    badTop("no root", [](DictObj& a) { a.set("$top", Value(DictObj::make({{"object", U(1)}}))); });
    badTop("objects not an array", [](DictObj& a) { a.set("$objects", Value("nope")); });
    badTop("other archiver", [](DictObj& a) { a.set("$archiver", Value("SomethingElse")); });
    auto badObjects = [&](const char* what, auto change) {
        auto o = good();
        change(*o);
        cases.emplace_back(what, archive(o));
    };
    // Sets `key` of the root dictionary object to `value`.
    auto badRoot = [&](const char* what, const char* key, Value value) {
        badObjects(what, [&](ArrayObj& o) { o.items[1].dict()->set(key, value); });
    };
    badRoot("length mismatch", "NS.objects", uidArray({2, 2}));
    badRoot("value out of range", "NS.objects", uidArray({42}));
    badRoot("nil key", "NS.keys", uidArray({0}));
    badRoot("key is a dict", "NS.keys", uidArray({1}));
    badRoot("key not a uid", "NS.keys", Value(ArrayObj::make({Value("k")})));
    badRoot("keys not an array", "NS.keys", Value(3));
    badRoot("class out of range", "$class", U(77));
    badRoot("class is a string", "$class", U(2));
    badObjects("no class", [](ArrayObj& o) { o.items[1].dict()->remove("$class"); });
    badObjects("unknown class", [](ArrayObj& o) {
        o.items[3] = classEntry({"NSURL", "NSObject"});
    });
    badObjects("bare uid object", [](ArrayObj& o) { o.items[1] = U(2); });
    badObjects("raw array object",
               [](ArrayObj& o) { o.items[1] = Value(ArrayObj::make({Value(1)})); });
    // A one-object archive: {key: value} of class `cls`.
    auto single = [&](const char* what, const char* key, Value value, const char* cls) {
        cases.emplace_back(
            what, archive(ArrayObj::make({Value("$null"),
                                          Value(DictObj::make({{key, value}, {"$class", U(2)}})),
                                          classEntry({cls, "NSObject"})})));
    };
    single("NSString without text", "NS.string", Value(5), "NSString");
    single("NSDate without time", "NS.time", Value("noon"), "NSDate");
    single("self-referring string", "NS.string", U(1), "NSString");
    for (const auto& [what, bad] : cases) {
        error.clear();
        EXPECT_FALSE(plist::decodeKeyedArchive(bad, &error)) << what;
        EXPECT_FALSE(error.empty()) << what;
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
    const auto expected = DictObj::make({{"presetName", Value("General")},
                                         {"presetIndex", Value(-1)},
                                         {"On", Value(true)},
                                         {"Off", Value(false)},
                                         {"Blob", Value(Data{0, 1, 2})},
                                         {"When", Value(Date{86400})},
                                         {"Empty", Value::newArray()},
                                         {"Nested", Value(DictObj::make({{"x", Value(1.5)}}))}});
    EXPECT_EQ(*v, Value(expected));
    EXPECT_EQ(v->dict()->get("On").kind(), Value::Kind::Bool);
    EXPECT_EQ(v->dict()->get("Off").kind(), Value::Kind::Bool);
}

TEST(PropertyListTest, GarbageEmptyTruncatedAndCyclicInputIsRefused) {
    std::string error;
    EXPECT_FALSE(plist::parse({}, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(plist::parse(bytesOf("this is not a property list \x01\x02\x03"), &error));
    EXPECT_FALSE(plist::parse(bytesOf("bplist00"), &error));
    EXPECT_FALSE(plist::parse(bytesOf("<plist version=\"1.0\"><dict><key>a</key>"), &error));
    std::vector<std::uint8_t> zeros(100, 0);
    EXPECT_FALSE(plist::parse(zeros, &error));

    // A binary list whose one array holds itself.
    std::vector<std::uint8_t> cycle = {'b', 'p', 'l', 'i', 's', 't', '0', '0', 0xA1, 0x00, 8};
    std::uint8_t trailer[32] = {};
    trailer[6] = 1;
    trailer[7] = 1;
    trailer[15] = 1;
    trailer[31] = 10;
    cycle.insert(cycle.end(), trailer, trailer + 32);
    error.clear();
    EXPECT_FALSE(plist::parse(cycle, &error));
    EXPECT_FALSE(error.empty());

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
