// Property lists: parse any bytes; a keyed archive is decoded too. What parses must come back
// unchanged from the binary and XML writers, and a decoded archive from the archive writer.

#include "FuzzSupport.h"

#include "core/PropertyList.h"

namespace plist = tpc::core::plist;
using namespace tpc::fuzz;

namespace {

void roundTrip(const tpc::core::Value& value) {
    if (containsNull(value))
        return; // the writers leave null values out
    std::string error;
    const auto binary = plist::toBinary(value, &error);
    if (!binary.empty()) {
        const auto back = plist::parse(binary, &error);
        if (!back)
            fail("toBinary wrote a list that does not parse: " + error);
        check(sameValue(*back, value), "toBinary changed a value");
    }
    const auto xml = plist::toXml(value, &error);
    if (!xml.empty()) {
        check(plist::checkXml(xml, &error), "toXml wrote XML that is not well-formed");
        const auto back = plist::parse(Bytes(xml.begin(), xml.end()), &error);
        if (!back)
            fail("toXml wrote a list that does not parse: " + error);
        check(sameValue(*back, value), "toXml changed a value");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, data + size);
    std::string error;
    const auto value = plist::parse(bytes, &error);
    if (!value)
        return 0;
    roundTrip(*value);

    const auto decoded = plist::decodeKeyedArchive(*value, &error);
    if (!decoded || containsNull(*decoded))
        return 0;
    const auto archive = plist::encodeKeyedArchive(*decoded, &error);
    if (archive.empty())
        return 0;
    const auto reparsed = plist::parse(archive, &error);
    if (!reparsed)
        fail("encodeKeyedArchive wrote a list that does not parse: " + error);
    const auto again = plist::decodeKeyedArchive(*reparsed, &error);
    if (!again)
        fail("encodeKeyedArchive wrote an archive that does not decode: " + error);
    check(sameValue(*again, *decoded), "a keyed archive changed on the way through the writer");
    return 0;
}
