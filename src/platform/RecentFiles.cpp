#include "platform/RecentFiles.h"

#include "core/PropertyList.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::platform {

namespace {

// Far above any real list of recent files; a larger file is not read into memory.
constexpr std::size_t kMaxFileSize = 256u << 20;

constexpr const char* kFreedesktopOwner = "http://freedesktop.org";

// The file's bytes when it is a regular file. A link is not followed: a rewrite would replace
// it, and what it points at is not ours.
std::optional<std::string> readBytes(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    std::optional<std::string> bytes;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) &&
        static_cast<std::uint64_t>(st.st_size) <= kMaxFileSize) {
        bytes.emplace();
        bytes->reserve(static_cast<std::size_t>(st.st_size));
        char buf[65536];
        for (;;) {
            const ssize_t n = ::read(fd, buf, sizeof buf);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 || bytes->size() + static_cast<std::size_t>(n) > kMaxFileSize) {
                bytes.reset();
                break;
            }
            if (n == 0)
                break;
            bytes->append(buf, static_cast<std::size_t>(n));
        }
    }
    ::close(fd);
    return bytes;
}

// Parses `bytes`, keeping the declaration, comments and processing instructions so that a
// rewrite loses nothing but the removed bookmarks. False unless the text is strictly well-formed
// XML (pugixml alone accepts some broken documents and stops early at a NUL without saying so)
// and pugixml read all of it into a tree with one <xbel> root.
bool parseXbel(const std::string& bytes, pugi::xml_document& doc) {
    if (!core::plist::checkXml(bytes))
        return false;
    const unsigned options = pugi::parse_default | pugi::parse_declaration | pugi::parse_comments |
                             pugi::parse_pi | pugi::parse_doctype;
    auto result = doc.load_buffer(bytes.data(), bytes.size(), options, pugi::encoding_utf8);
    if (result.status != pugi::status_ok)
        return false;
    std::size_t roots = 0;
    for (auto child : doc.children())
        roots += child.type() == pugi::node_element;
    return roots == 1 && std::strcmp(doc.document_element().name(), "xbel") == 0;
}

bool load(const std::filesystem::path& file, pugi::xml_document& doc) {
    auto bytes = readBytes(file);
    return bytes && parseXbel(*bytes, doc);
}

bool sameBookmark(const RecentBookmark& a, const RecentBookmark& b) {
    return a.href == b.href && a.mimeType == b.mimeType && a.applications == b.applications;
}

RecentBookmark describe(const pugi::xml_node& bookmark) {
    RecentBookmark b;
    b.href = bookmark.attribute("href").value();
    for (auto metadata : bookmark.child("info").children("metadata")) {
        if (std::strcmp(metadata.attribute("owner").value(), kFreedesktopOwner) != 0)
            continue;
        if (auto mime = metadata.child("mime:mime-type"))
            b.mimeType = mime.attribute("type").value();
        for (auto apps : metadata.children("bookmark:applications"))
            for (auto app : apps.children("bookmark:application"))
                b.applications.emplace_back(app.attribute("name").value());
    }
    return b;
}

template <typename Visit> void forEachBookmark(const pugi::xml_document& doc, Visit visit) {
    for (auto node : doc.document_element().children("bookmark"))
        visit(node, describe(node));
}

class StringWriter : public pugi::xml_writer {
public:
    std::vector<std::uint8_t> bytes;
    void write(const void* data, std::size_t size) override {
        const auto* p = static_cast<const std::uint8_t*>(data);
        bytes.insert(bytes.end(), p, p + size);
    }
};

} // namespace

RecentFiles::RecentFiles(std::filesystem::path file) : file_(std::move(file)) {}

std::optional<std::vector<RecentBookmark>> RecentFiles::read() const {
    pugi::xml_document doc;
    if (!load(file_, doc))
        return std::nullopt;
    std::vector<RecentBookmark> bookmarks;
    forEachBookmark(
        doc, [&](const pugi::xml_node&, RecentBookmark b) { bookmarks.push_back(std::move(b)); });
    return bookmarks;
}

RecentFiles::Totals
RecentFiles::count(const std::function<bool(const RecentBookmark&)>& which) const {
    Totals totals;
    auto bookmarks = read();
    if (!bookmarks)
        return totals;
    for (const auto& b : *bookmarks) {
        if (which && !which(b))
            continue;
        ++totals.count;
        totals.size += b.href.size();
    }
    return totals;
}

std::size_t RecentFiles::remove(const std::function<bool(const RecentBookmark&)>& which) {
    pugi::xml_document doc;
    if (!which || !load(file_, doc))
        return 0;
    std::vector<pugi::xml_node> doomed;
    std::vector<RecentBookmark> kept;
    forEachBookmark(doc, [&](const pugi::xml_node& node, RecentBookmark b) {
        if (which(b))
            doomed.push_back(node);
        else
            kept.push_back(std::move(b));
    });
    if (doomed.empty())
        return 0;
    auto root = doc.document_element();
    for (auto node : doomed)
        root.remove_child(node);
    StringWriter out;
    doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
    // The new text must itself be a whole xbel holding exactly the bookmarks that stay; anything
    // else and the old file is kept.
    const std::string text(out.bytes.begin(), out.bytes.end());
    pugi::xml_document check;
    if (!parseXbel(text, check))
        return 0;
    std::vector<RecentBookmark> after;
    forEachBookmark(
        check, [&](const pugi::xml_node&, RecentBookmark b) { after.push_back(std::move(b)); });
    if (!std::equal(after.begin(), after.end(), kept.begin(), kept.end(), sameBookmark))
        return 0;
    if (!core::plist::writeFileAtomically(file_, out.bytes, 0600))
        return 0;
    return doomed.size();
}

} // namespace tpc::platform
