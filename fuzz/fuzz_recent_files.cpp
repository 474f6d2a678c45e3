// recently-used.xbel: read and count any bytes, then the system junk clean's two edits (remove
// the file bookmarks, remove the folder bookmarks). Input that is not well-formed XML must never
// be rewritten, a rewrite must be well-formed and must lose nothing but the removed bookmarks.

#include "FuzzSupport.h"

#include "core/PropertyList.h"
#include "platform/RecentFiles.h"

#include <string_view>

namespace plist = tpc::core::plist;
using tpc::platform::RecentBookmark;
using tpc::platform::RecentFiles;
using namespace tpc::fuzz;

namespace {

bool sameBookmark(const RecentBookmark& a, const RecentBookmark& b) {
    return a.href == b.href && a.mimeType == b.mimeType && a.applications == b.applications;
}

void removeAndCheck(const Bytes& input, bool wellFormed, bool (*which)(const RecentBookmark&)) {
    const auto file = scratchFolder() / "recently-used.xbel";
    writeBytes(file, input);
    RecentFiles recent(file);
    const auto before = recent.read();
    const auto removed = recent.remove(which);
    const auto after = readBytes(file);
    check(after.has_value(), "the list of recent files is gone after a clean");
    if (*after == input)
        return;
    check(wellFormed, "a list of recent files that is not well-formed XML was rewritten");
    const std::string_view text(reinterpret_cast<const char*>(after->data()), after->size());
    std::string error;
    if (!plist::checkXml(text, &error))
        fail("a rewritten list of recent files is not well-formed XML: " + error);
    check(before.has_value() && removed > 0, "the list of recent files changed without a removal");

    // What is left is what was there less the bookmarks removed, in the same order.
    const auto now = recent.read();
    check(now.has_value(), "a rewritten list of recent files does not read");
    std::vector<RecentBookmark> expected;
    for (const auto& b : *before)
        if (!which(b))
            expected.push_back(b);
    check(now->size() == expected.size() && before->size() - expected.size() == removed,
          "a rewrite removed other bookmarks than those asked for");
    for (std::size_t i = 0; i < expected.size(); ++i)
        check(sameBookmark((*now)[i], expected[i]), "a rewrite changed a bookmark that stays");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    const bool wellFormed =
        plist::checkXml(std::string_view(reinterpret_cast<const char*>(data), size));

    const auto file = scratchFolder() / "recently-used.xbel";
    writeBytes(file, input);
    RecentFiles recent(file);
    const auto bookmarks = recent.read();
    const auto files = recent.count(RecentFiles::isFile);
    const auto folders = recent.count(RecentFiles::isFolder);
    if (bookmarks)
        check(files.count + folders.count == bookmarks->size(), "bookmarks counted twice or not");

    removeAndCheck(input, wellFormed, RecentFiles::isFile);
    removeAndCheck(input, wellFormed, RecentFiles::isFolder);
    return 0;
}
