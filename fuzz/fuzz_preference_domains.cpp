// Preference-domain edits on a file of any bytes: delete a key, write a value, add to a
// dictionary. A file that does not parse whole as a dictionary is never rewritten; a rewritten
// file holds exactly the old dictionary with the one edit.

#include "FuzzSupport.h"

#include "core/PropertyList.h"
#include "platform/PreferenceDomains.h"

namespace plist = tpc::core::plist;
namespace core = tpc::core;
using tpc::platform::PreferenceDomains;
using namespace tpc::fuzz;

namespace {

constexpr const char* kDomain = "org.example.fuzz";

// Runs one edit on a fresh copy of the input and checks the file afterwards against `expected`
// (the edited dictionary), or against the input when the file must not change.
template <typename Edit, typename Expect>
void editAndCheck(const Bytes& input, const core::DictRef& original, Edit edit, Expect expect,
                  const char* name) {
    PreferenceDomains domains(scratchFolder() / "prefs");
    const auto file = domains.fileFor(kDomain);
    writeBytes(file, input);
    const bool rewritten = edit(domains);
    const auto after = readBytes(file);
    check(after.has_value(), "a preference file is gone after an edit");
    if (!original) {
        if (rewritten || *after != input)
            fail(std::string(name) + " rewrote a file that is not a whole dictionary");
        return;
    }
    if (!rewritten) {
        if (*after != input)
            fail(std::string(name) + " changed a file without rewriting it");
        return;
    }
    auto edited = core::Value(original).deepCopy();
    expect(*edited.dict());
    const auto back = plist::parse(*after);
    if (!back || !sameValue(*back, edited))
        fail(std::string(name) + " wrote something else than the edited dictionary");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    const auto parsed = plist::parse(input);
    const core::DictRef original = parsed ? parsed->dict() : nullptr;
    // A key that is there, when there is one, so that the edits meet existing values.
    const std::string key =
        original && !original->items.empty() ? original->items.begin()->first : "missing";

    std::filesystem::create_directories(scratchFolder() / "prefs");
    PreferenceDomains(scratchFolder() / "prefs").read(kDomain);
    editAndCheck(
        input, original, [&](PreferenceDomains& d) { return d.deleteKey(kDomain, key); },
        [&](core::DictObj& dict) { dict.remove(key); }, "deleteKey");
    editAndCheck(
        input, original, [&](PreferenceDomains& d) { return d.write(kDomain, key, "0"); },
        [&](core::DictObj& dict) { dict.set(key, "0"); }, "write");
    editAndCheck(
        input, original,
        [&](PreferenceDomains& d) { return d.dictAdd(kDomain, key, "sub", "value"); },
        [&](core::DictObj& dict) {
            auto inner = dict.getDict(key);
            if (!inner) {
                inner = core::DictObj::make();
                dict.set(key, core::Value(inner));
            }
            inner->set("sub", "value");
        },
        "dictAdd");
    return 0;
}
