#include "realbrowsers/ProfileProbe.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sys/wait.h>

namespace tpc::test::real {

namespace {

std::string probeRead(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool containsAny(const std::string& text, const std::vector<std::string>& needles) {
    return std::any_of(needles.begin(), needles.end(),
                       [&](const std::string& n) { return text.find(n) != std::string::npos; });
}

std::vector<fs::path> regularFilesUnder(const fs::path& root) {
    std::vector<fs::path> files;
    std::error_code ec;
    if (!fs::is_directory(fs::symlink_status(root, ec)))
        return files;
    for (auto it = fs::recursive_directory_iterator(
             root, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec))
        if (it->is_regular_file(ec) && !it->is_symlink(ec))
            files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

// A read-only connection; closed with the object.
struct ReadOnlyDb {
    explicit ReadOnlyDb(const fs::path& path) {
        if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
            error = db ? sqlite3_errmsg(db) : "out of memory";
            sqlite3_close(db);
            db = nullptr;
        }
    }
    ~ReadOnlyDb() { sqlite3_close(db); }
    ReadOnlyDb(const ReadOnlyDb&) = delete;
    ReadOnlyDb& operator=(const ReadOnlyDb&) = delete;

    // Rows of `sql` with `bind` as its parameter (when not empty); false on a failure.
    bool each(const std::string& sql, const std::string& bind,
              std::vector<std::vector<std::string>>& out) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) {
            error = sqlite3_errmsg(db);
            return false;
        }
        if (!bind.empty())
            sqlite3_bind_text(st, 1, bind.c_str(), -1, SQLITE_TRANSIENT);
        int rc = SQLITE_OK;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            std::vector<std::string> row;
            for (int i = 0; i < sqlite3_column_count(st); ++i) {
                const auto* text = sqlite3_column_text(st, i);
                row.emplace_back(text ? std::string(reinterpret_cast<const char*>(text),
                                                    sqlite3_column_bytes(st, i))
                                      : "NULL");
            }
            out.push_back(std::move(row));
        }
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) {
            error = sqlite3_errmsg(db);
            return false;
        }
        return true;
    }

    sqlite3* db = nullptr;
    std::string error;
};

std::string quotedName(const std::string& name) {
    std::string q = "\"";
    for (char c : name)
        q += c == '"' ? std::string("\"\"") : std::string(1, c);
    return q + "\"";
}

std::string shellQuoted(const std::string& s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

} // namespace

std::vector<std::string> filesNaming(const fs::path& root,
                                     const std::vector<std::string>& needles) {
    std::vector<std::string> found;
    for (const auto& file : regularFilesUnder(root)) {
        const auto relative = file.lexically_relative(root).string();
        if (containsAny(relative, needles) || containsAny(probeRead(file), needles))
            found.push_back(relative);
    }
    return found;
}

std::vector<std::string> entriesNamed(const fs::path& folder, const std::string& text) {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec))
        if (auto name = entry.path().filename().string(); name.find(text) != std::string::npos)
            names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<fs::path> sqliteStores(const fs::path& root) {
    static const std::string header("SQLite format 3\0", 16);
    std::vector<fs::path> stores;
    for (const auto& file : regularFilesUnder(root)) {
        std::ifstream in(file, std::ios::binary);
        std::string head(16, '\0');
        if (in.read(head.data(), 16) && head == header)
            stores.push_back(file);
    }
    return stores;
}

std::vector<std::string> queryRows(const fs::path& db, const std::string& sql) {
    std::vector<std::string> rows;
    ReadOnlyDb store(db);
    std::vector<std::vector<std::string>> cells;
    if (!store.db || !store.each(sql, {}, cells)) {
        ADD_FAILURE() << db << ": " << sql << ": " << store.error;
        return rows;
    }
    for (const auto& row : cells) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i ? "|" : "") + row[i];
        rows.push_back(line);
    }
    return rows;
}

std::string idList(const fs::path& db, const std::string& sql) {
    std::string ids;
    for (const auto& id : queryRows(db, sql))
        ids += (ids.empty() ? "" : ",") + id;
    return ids;
}

long long queryCount(const fs::path& db, const std::string& sql) {
    const auto rows = queryRows(db, sql);
    if (rows.empty())
        return -1;
    return std::atoll(rows.front().c_str());
}

std::vector<std::string> cellsNaming(const fs::path& db, const std::vector<std::string>& needles) {
    std::vector<std::string> found;
    std::error_code ec;
    if (!fs::exists(db, ec))
        return found;
    ReadOnlyDb store(db);
    std::vector<std::vector<std::string>> tables;
    if (!store.db ||
        !store.each("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name", {},
                    tables)) {
        ADD_FAILURE() << db << ": " << store.error;
        return found;
    }
    for (const auto& table : tables) {
        std::vector<std::vector<std::string>> columns;
        if (!store.each("SELECT name FROM pragma_table_info(?)", table[0], columns)) {
            // A virtual table whose module this connection lacks: its shadow tables are read.
            continue;
        }
        for (const auto& column : columns)
            for (const auto& needle : needles) {
                std::vector<std::vector<std::string>> hits;
                const auto sql = "SELECT CAST(" + quotedName(column[0]) + " AS TEXT) FROM " +
                                 quotedName(table[0]) + " WHERE instr(CAST(" +
                                 quotedName(column[0]) + " AS TEXT), ?) > 0";
                if (!store.each(sql, needle, hits))
                    continue;
                for (const auto& hit : hits)
                    found.push_back(table[0] + "." + column[0] + ": " + hit[0]);
            }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

std::string integrityOf(const fs::path& db) {
    ReadOnlyDb store(db);
    std::vector<std::vector<std::string>> rows;
    if (!store.db || !store.each("PRAGMA integrity_check", {}, rows))
        return "cannot check: " + store.error;
    std::string text;
    for (const auto& row : rows)
        text += (text.empty() ? "" : "; ") + row[0];
    return text;
}

std::string joined(const std::vector<std::string>& items) {
    if (items.empty())
        return "(none)";
    std::string text;
    for (const auto& item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text;
}

TpcResult runTpc(const fs::path& home, const fs::path& scratch,
                 const std::vector<std::string>& args) {
    std::string cmd = "env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME " +
                      shellQuoted(TPC_CLI_PATH) + " --home " + shellQuoted(home.string()) +
                      " --layout linux";
    for (const auto& a : args)
        cmd += " " + shellQuoted(a);
    const auto out = scratch / "tpc.out", err = scratch / "tpc.err";
    cmd += " </dev/null >" + shellQuoted(out.string()) + " 2>" + shellQuoted(err.string());
    const int status = std::system(cmd.c_str());
    TpcResult r;
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = probeRead(out);
    r.err = probeRead(err);
    return r;
}

} // namespace tpc::test::real
