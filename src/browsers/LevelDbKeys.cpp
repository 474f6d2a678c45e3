#include "browsers/LevelDbKeys.h"

#include "fs/Entries.h"

#include <cstdlib>
#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/iterator.h>
#include <leveldb/options.h>
#include <leveldb/write_batch.h>

#include <algorithm>
#include <cstdarg>
#include <memory>

namespace tpc::browsers {
namespace {

// The origin a per-site key belongs to; nullopt for keys of no site ("VERSION", anything else).
std::optional<std::string_view> ldbKeyOrigin(std::string_view key) {
    for (std::string_view prefix : {"META:", "METAACCESS:"})
        if (key.starts_with(prefix))
            return key.substr(prefix.size());
    if (key.starts_with('_')) {
        const auto nul = key.find('\0');
        if (nul != std::string_view::npos)
            return key.substr(1, nul - 1);
    }
    return std::nullopt;
}

// LevelDB writes its diagnostics to a LOG file in the database folder, moving the previous one
// to LOG.old, even before it finds the database locked: the browser's own log stays as it is.
class LdbSilentLogger : public leveldb::Logger {
public:
    void Logv(const char*, std::va_list) override {}
};

// Opens an existing database, never through a link at its own name; nullptr with `error` set.
std::unique_ptr<leveldb::DB> ldbOpen(const std::filesystem::path& db, std::string* error) {
    // Without CURRENT there is no database, and LevelDB would still leave LOCK in the folder.
    if (!tpc::fs::isFolderNoFollow(db) || !tpc::fs::isRegularFileNoFollow(db / "CURRENT")) {
        if (error)
            *error = db.string() + ": no LevelDB database there";
        return nullptr;
    }
    static LdbSilentLogger silent;
    leveldb::Options options; // bytewise comparator, as the browser's
    options.create_if_missing = false;
    options.info_log = &silent;
    leveldb::DB* raw = nullptr;
    const auto status = leveldb::DB::Open(options, db.string(), &raw);
    if (!status.ok()) {
        if (error)
            *error = status.ToString();
        return nullptr;
    }
    return std::unique_ptr<leveldb::DB>(raw);
}

// Calls `each` with every key (and its value) that `goes`; false when reading fails.
template <typename Each>
bool ldbEach(leveldb::DB& db, const LevelDbKeyFilter& goes, std::string* error, Each each) {
    std::unique_ptr<leveldb::Iterator> it(db.NewIterator(leveldb::ReadOptions()));
    for (it->SeekToFirst(); it->Valid(); it->Next())
        if (goes(std::string_view(it->key().data(), it->key().size())))
            each(it->key(), it->value());
    if (!it->status().ok()) {
        if (error)
            *error = it->status().ToString();
        return false;
    }
    return true;
}

} // namespace

std::optional<std::string> webOriginHost(std::string_view origin) {
    const auto sep = origin.find("://");
    if (sep == std::string_view::npos)
        return std::nullopt;
    const auto scheme = origin.substr(0, sep);
    if (scheme != "http" && scheme != "https")
        return std::nullopt;
    auto authority = origin.substr(sep + 3);
    // A storage key may follow its origin with "/" and, when partitioned, "^<attributes>".
    if (const auto slash = authority.find('/'); slash != std::string_view::npos) {
        const auto rest = authority.substr(slash + 1);
        if (!rest.empty() && rest.front() != '^')
            return std::nullopt;
        authority = authority.substr(0, slash);
    }
    std::string_view host = authority;
    std::string_view port;
    if (authority.starts_with('[')) {
        const auto close = authority.find(']');
        if (close == std::string_view::npos)
            return std::nullopt;
        host = authority.substr(0, close + 1);
        const auto after = authority.substr(close + 1);
        if (!after.empty() && !after.starts_with(':'))
            return std::nullopt;
        port = after.empty() ? after : after.substr(1);
        if (after.size() == 1)
            return std::nullopt;
    } else if (const auto colon = authority.find(':'); colon != std::string_view::npos) {
        host = authority.substr(0, colon);
        port = authority.substr(colon + 1);
        if (port.empty())
            return std::nullopt;
    }
    if (host.empty() || host.find_first_of("@^ \t") != std::string_view::npos ||
        !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    return std::string(host);
}

LevelDbKeyFilter localStorageKeysNotKept(std::function<bool(const std::string& host)> kept) {
    return [kept = std::move(kept)](std::string_view key) {
        const auto origin = ldbKeyOrigin(key);
        const auto host = origin ? webOriginHost(*origin) : std::nullopt;
        return host && !kept(*host);
    };
}

LevelDbMeasure measureLevelDbKeys(const std::filesystem::path& db, const LevelDbKeyFilter& goes) {
    // Opening a database rewrites its log and manifest, and a running browser holds it locked:
    // a scan reads a copy instead, and leaves the browser's files as they are.
    LevelDbMeasure m;
    if (!tpc::fs::isFolderNoFollow(db))
        return m;
    std::string folder = (std::filesystem::temp_directory_path() / "tpc-ldb-XXXXXX").string();
    if (!::mkdtemp(folder.data()))
        return m;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(db, ec)) {
        const auto name = entry.path().filename().string();
        if (name != "LOCK" && !name.starts_with("LOG") && tpc::fs::isRegularFileNoFollow(entry))
            std::filesystem::copy_file(entry.path(), folder + "/" + name, ec);
    }
    if (const auto handle = ldbOpen(folder, nullptr))
        m.readable =
            ldbEach(*handle, goes, nullptr, [&](const leveldb::Slice& k, const leveldb::Slice& v) {
                ++m.keys;
                m.bytes += static_cast<std::int64_t>(k.size() + v.size());
            });
    std::filesystem::remove_all(folder, ec);
    return m.readable ? m : LevelDbMeasure{};
}

bool removeLevelDbKeys(const std::filesystem::path& db, const LevelDbKeyFilter& goes,
                       std::string* error) {
    auto handle = ldbOpen(db, error);
    if (!handle)
        return false;
    leveldb::WriteBatch batch;
    int count = 0;
    if (!ldbEach(*handle, goes, error, [&](const leveldb::Slice& k, const leveldb::Slice&) {
            batch.Delete(k);
            ++count;
        }))
        return false;
    if (count == 0)
        return true;
    leveldb::WriteOptions options;
    options.sync = true;
    const auto status = handle->Write(options, &batch);
    if (!status.ok()) {
        if (error)
            *error = status.ToString();
        return false;
    }
    // A delete only marks a key gone: the tables are rewritten without the removed values, and
    // the next opening writes a manifest that no longer names their keys.
    handle->CompactRange(nullptr, nullptr);
    handle.reset();
    ldbOpen(db, nullptr);
    return true;
}

} // namespace tpc::browsers
