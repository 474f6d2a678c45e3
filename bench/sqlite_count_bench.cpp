// Counting a browser history store: our SQLite layer (SQLite::countRows, exactly as a counting
// operation does it) against the sqlite3 shell reading the same rows into /dev/null. The whole
// `tpc count` command against the shell, with peak memory, is history_count_bench.
//
// Usage: sqlite_count_bench [total-rows (default 500000)] [repeats (default 5)]
// Builds a Chrome-like "History" store in a temporary folder, removed afterwards.

#include "BenchSupport.h"
#include "browsers/sqlite/SQLite.h"

#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace {

using tpc::browsers::CountPair;
using Clock = std::chrono::steady_clock;

// The tables as the browser creates them.
const char* const kSchema = R"SQL(
CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);
CREATE TABLE urls(id INTEGER PRIMARY KEY AUTOINCREMENT,url LONGVARCHAR,title LONGVARCHAR,visit_count INTEGER DEFAULT 0 NOT NULL,typed_count INTEGER DEFAULT 0 NOT NULL,last_visit_time INTEGER NOT NULL,hidden INTEGER DEFAULT 0 NOT NULL);
CREATE TABLE visits(id INTEGER PRIMARY KEY AUTOINCREMENT,url INTEGER NOT NULL,visit_time INTEGER NOT NULL,from_visit INTEGER,transition INTEGER DEFAULT 0 NOT NULL,segment_id INTEGER,visit_duration INTEGER DEFAULT 0 NOT NULL,incremented_omnibox_typed_score BOOLEAN DEFAULT FALSE NOT NULL,opener_visit INTEGER,originator_cache_guid TEXT,originator_visit_id INTEGER,originator_from_visit INTEGER,originator_opener_visit INTEGER,is_known_to_sync BOOLEAN DEFAULT FALSE NOT NULL,consider_for_ntp_most_visited BOOLEAN DEFAULT FALSE NOT NULL,external_referrer_url TEXT,visited_link_id INTEGER);
CREATE TABLE visit_source(id INTEGER PRIMARY KEY,source INTEGER NOT NULL);
CREATE TABLE keyword_search_terms (keyword_id INTEGER NOT NULL,url_id INTEGER NOT NULL,term LONGVARCHAR NOT NULL,normalized_term LONGVARCHAR NOT NULL);
CREATE TABLE downloads (id INTEGER PRIMARY KEY,guid VARCHAR NOT NULL,current_path LONGVARCHAR NOT NULL,target_path LONGVARCHAR NOT NULL,start_time INTEGER NOT NULL,received_bytes INTEGER NOT NULL,total_bytes INTEGER NOT NULL,state INTEGER NOT NULL,danger_type INTEGER NOT NULL,interrupt_reason INTEGER NOT NULL,hash BLOB NOT NULL,end_time INTEGER NOT NULL,opened INTEGER NOT NULL,last_access_time INTEGER NOT NULL,transient INTEGER NOT NULL,referrer VARCHAR NOT NULL,site_url VARCHAR NOT NULL,embedder_download_data VARCHAR NOT NULL,tab_url VARCHAR NOT NULL,tab_referrer_url VARCHAR NOT NULL,http_method VARCHAR NOT NULL,by_ext_id VARCHAR NOT NULL,by_ext_name VARCHAR NOT NULL,by_web_app_id VARCHAR NOT NULL,etag VARCHAR NOT NULL,last_modified VARCHAR NOT NULL,mime_type VARCHAR(255) NOT NULL,original_mime_type VARCHAR(255) NOT NULL);
CREATE TABLE downloads_url_chains (id INTEGER NOT NULL,chain_index INTEGER NOT NULL,url LONGVARCHAR NOT NULL, PRIMARY KEY (id, chain_index) );
CREATE TABLE segments (id INTEGER PRIMARY KEY,name VARCHAR,url_id INTEGER NON NULL);
CREATE TABLE segment_usage (id INTEGER PRIMARY KEY,segment_id INTEGER NOT NULL,time_slot INTEGER NOT NULL,visit_count INTEGER DEFAULT 0 NOT NULL);
CREATE INDEX visits_url_index ON visits (url);
CREATE INDEX visits_from_index ON visits (from_visit);
CREATE INDEX visits_time_index ON visits (visit_time);
CREATE INDEX urls_url_index ON urls (url);
CREATE INDEX keyword_search_terms_index1 ON keyword_search_terms (keyword_id, normalized_term);
CREATE INDEX keyword_search_terms_index2 ON keyword_search_terms (url_id);
CREATE INDEX keyword_search_terms_index3 ON keyword_search_terms (term);
CREATE INDEX segments_name ON segments(name);
CREATE INDEX segments_url_id ON segments(url_id);
CREATE INDEX segment_usage_time_slot_segment_id ON segment_usage(time_slot, segment_id);
CREATE INDEX segments_usage_seg_id ON segment_usage(segment_id);
INSERT INTO meta VALUES('mmap_status','-1'),('version','67'),('last_compatible_version','16');
)SQL";

const char* const kTables[] = {
    "urls",          "visits",    "keyword_search_terms", "segments",
    "segment_usage", "downloads", "downloads_url_chains", "visit_source"};

// Share of the total rows per table, in per mille, in the order of kTables.
const int kShares[] = {200, 400, 60, 60, 120, 10, 20, 130};

using tpc::bench::Random;

class Database {
public:
    explicit Database(const std::string& path) {
        if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK)
            throw std::runtime_error("cannot create " + path);
    }
    ~Database() { sqlite3_close(db_); }
    void exec(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string error = message ? message : "?";
            sqlite3_free(message);
            throw std::runtime_error("SQL failed: " + error);
        }
    }
    // Inserts `count` rows through one prepared statement; `bind` fills row i.
    void fill(const std::string& sql, std::int64_t count,
              const std::function<void(sqlite3_stmt*, std::int64_t)>& bind) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
            throw std::runtime_error("cannot prepare " + sql);
        for (std::int64_t i = 0; i < count; ++i) {
            bind(stmt, i);
            if (sqlite3_step(stmt) != SQLITE_DONE)
                throw std::runtime_error("insert failed: " + std::string(sqlite3_errmsg(db_)));
            sqlite3_reset(stmt);
            sqlite3_clear_bindings(stmt);
        }
        sqlite3_finalize(stmt);
    }

private:
    sqlite3* db_ = nullptr;
};

void bindText(sqlite3_stmt* stmt, int index, const std::string& text) {
    sqlite3_bind_text(stmt, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

// Microseconds since 1601, as the browser stores times.
constexpr std::int64_t kNow = 13'340'000'000'000'000LL;

void buildHistory(const std::string& path, std::int64_t totalRows) {
    std::vector<std::int64_t> rows;
    for (const int share : kShares)
        rows.push_back(totalRows * share / 1000);
    rows[1] += totalRows - [&] {
        std::int64_t sum = 0;
        for (const auto n : rows)
            sum += n;
        return sum;
    }();

    Database db(path);
    db.exec("PRAGMA journal_mode = TRUNCATE; PRAGMA synchronous = OFF;");
    db.exec(kSchema);
    db.exec("BEGIN;");
    Random random;
    const std::int64_t urls = std::max<std::int64_t>(rows[0], 1);
    auto siteUrl = [&](std::int64_t i) {
        return "https://www." + std::to_string(i % 4000) + "-site.example/" + random.word(4, 12) +
               "/" + random.word(6, 40) + "?ref=" + std::to_string(random.next() % 100000);
    };

    db.fill(
        "INSERT INTO urls(url,title,visit_count,typed_count,last_visit_time,hidden) "
        "VALUES(?,?,?,?,?,0)",
        rows[0], [&](sqlite3_stmt* s, std::int64_t i) {
            bindText(s, 1, siteUrl(i));
            bindText(s, 2,
                     random.word(3, 10) + " " + random.word(3, 12) + " - " + random.word(5, 20));
            sqlite3_bind_int64(s, 3, static_cast<std::int64_t>(random.below(40)));
            sqlite3_bind_int64(s, 4, static_cast<std::int64_t>(random.below(3)));
            sqlite3_bind_int64(s, 5, kNow - static_cast<std::int64_t>(random.below(1ULL << 40)));
        });
    db.fill("INSERT INTO visits(url,visit_time,from_visit,transition,segment_id,visit_duration,"
            "incremented_omnibox_typed_score,opener_visit,originator_cache_guid,"
            "originator_visit_id,originator_from_visit,originator_opener_visit,is_known_to_sync,"
            "consider_for_ntp_most_visited,external_referrer_url,visited_link_id) "
            "VALUES(?,?,?,?,?,?,0,0,'',0,0,0,0,?,'',0)",
            rows[1], [&](sqlite3_stmt* s, std::int64_t i) {
                sqlite3_bind_int64(s, 1, 1 + static_cast<std::int64_t>(random.below(urls)));
                sqlite3_bind_int64(s, 2,
                                   kNow - static_cast<std::int64_t>(random.below(1ULL << 40)));
                sqlite3_bind_int64(s, 3, i > 0 && random.below(3) == 0 ? i : 0);
                sqlite3_bind_int64(s, 4, 805306368 + static_cast<std::int64_t>(random.below(10)));
                sqlite3_bind_int64(s, 5, static_cast<std::int64_t>(random.below(5000)));
                sqlite3_bind_int64(s, 6, static_cast<std::int64_t>(random.below(600'000'000)));
                sqlite3_bind_int64(s, 7, static_cast<std::int64_t>(random.below(2)));
            });
    db.fill("INSERT INTO keyword_search_terms VALUES(2,?,?,?)", rows[2],
            [&](sqlite3_stmt* s, std::int64_t) {
                const std::string term = random.word(3, 10) + " " + random.word(2, 12);
                sqlite3_bind_int64(s, 1, 1 + static_cast<std::int64_t>(random.below(urls)));
                bindText(s, 2, term);
                bindText(s, 3, term);
            });
    db.fill("INSERT INTO segments(name,url_id) VALUES(?,?)", rows[3],
            [&](sqlite3_stmt* s, std::int64_t i) {
                bindText(s, 1, "https://www." + std::to_string(i) + "-site.example/");
                sqlite3_bind_int64(s, 2, 1 + static_cast<std::int64_t>(random.below(urls)));
            });
    db.fill("INSERT INTO segment_usage(segment_id,time_slot,visit_count) VALUES(?,?,?)", rows[4],
            [&](sqlite3_stmt* s, std::int64_t) {
                sqlite3_bind_int64(s, 1, 1 + static_cast<std::int64_t>(random.below(5000)));
                sqlite3_bind_int64(s, 2,
                                   kNow - static_cast<std::int64_t>(random.below(1ULL << 40)));
                sqlite3_bind_int64(s, 3, static_cast<std::int64_t>(random.below(30)));
            });
    db.fill("INSERT INTO downloads VALUES(?,?,?,?,?,?,?,1,0,0,?,?,0,?,0,?,?,'',?,'','GET','','','',"
            "?,'','application/octet-stream','application/octet-stream')",
            rows[5], [&](sqlite3_stmt* s, std::int64_t i) {
                const std::string file = "/home/user/Downloads/" + random.word(5, 30) + ".zip";
                const auto bytes = static_cast<std::int64_t>(random.below(1ULL << 33));
                std::uint8_t hash[32];
                for (auto& b : hash)
                    b = static_cast<std::uint8_t>(random.next());
                sqlite3_bind_int64(s, 1, i + 1);
                bindText(s, 2,
                         random.word(8, 8) + "-" + random.word(4, 4) + "-" + random.word(4, 4) +
                             "-" + random.word(4, 4) + "-" + random.word(12, 12));
                bindText(s, 3, file);
                bindText(s, 4, file);
                sqlite3_bind_int64(s, 5,
                                   kNow - static_cast<std::int64_t>(random.below(1ULL << 40)));
                sqlite3_bind_int64(s, 6, bytes);
                sqlite3_bind_int64(s, 7, bytes);
                sqlite3_bind_blob(s, 8, hash, sizeof hash, SQLITE_TRANSIENT);
                sqlite3_bind_int64(s, 9, kNow);
                sqlite3_bind_int64(s, 10, kNow);
                bindText(s, 11, siteUrl(i));
                bindText(s, 12, "https://www." + std::to_string(i % 4000) + "-site.example/");
                bindText(s, 13, siteUrl(i));
                bindText(s, 14, std::string("\"").append(random.word(16, 16)).append("\""));
            });
    db.fill("INSERT INTO downloads_url_chains VALUES(?,?,?)", rows[6],
            [&](sqlite3_stmt* s, std::int64_t i) {
                sqlite3_bind_int64(s, 1, i / 2 + 1);
                sqlite3_bind_int64(s, 2, i % 2);
                bindText(s, 3, siteUrl(i));
            });
    db.fill("INSERT INTO visit_source VALUES(?,?)", rows[7], [&](sqlite3_stmt* s, std::int64_t i) {
        sqlite3_bind_int64(s, 1, i + 1);
        sqlite3_bind_int64(s, 2, static_cast<std::int64_t>(random.below(4)));
    });
    db.exec("COMMIT;");
}

// Counts every table exactly as a counting operation does; answers the total rows.
std::int64_t countWithOurLayer(const std::string& path, std::int64_t* totalSize) {
    std::int64_t count = 0;
    std::int64_t size = 0;
    tpc::browsers::SQLite db;
    db.setfileName("History");
    for (const char* table : kTables) {
        db.setfilePath(path);
        const CountPair pair = db.countRows(std::string("SELECT * FROM ") + table + ";");
        count += pair.count;
        size += pair.size;
    }
    if (totalSize)
        *totalSize = size;
    return count;
}

// One run of the shell with all eight SELECTs, its output thrown away.
void readWithShell(const std::string& shell, const std::string& path) {
    std::string sql;
    for (const char* table : kTables)
        sql += std::string("SELECT * FROM ") + table + ";";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> argv = {const_cast<char*>(shell.c_str()), const_cast<char*>(path.c_str()),
                               sql.data(), nullptr};
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, shell.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0)
        throw std::runtime_error("cannot start " + shell);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("the sqlite3 shell failed");
}

std::string findShell() {
    for (const char* dir : {"/usr/bin", "/usr/local/bin", "/bin"}) {
        const std::string candidate = std::string(dir) + "/sqlite3";
        if (access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return {};
}

double millisecondsOf(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

using tpc::bench::median;

} // namespace

int main(int argc, char** argv) {
    const std::int64_t totalRows = argc > 1 ? std::atoll(argv[1]) : 500'000;
    const int repeats = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    const std::string shell = findShell();
    if (shell.empty()) {
        std::fprintf(stderr, "sqlite3 shell not found (Debian package \"sqlite3\")\n");
        return 2;
    }

    std::string folder =
        (std::filesystem::temp_directory_path() / "tpc-sqlite-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 2;
    }
    const std::string path = folder + "/History";
    int exitCode = 0;
    try {
        const double buildMs = millisecondsOf([&] { buildHistory(path, totalRows); });
        std::printf("store: %lld rows in 8 tables, %.1f MB, built in %.0f ms\n",
                    static_cast<long long>(totalRows),
                    static_cast<double>(std::filesystem::file_size(path)) / 1e6, buildMs);

        // Warm the page cache and check both read everything.
        std::int64_t size = 0;
        const std::int64_t counted = countWithOurLayer(path, &size);
        readWithShell(shell, path);
        if (counted != totalRows)
            throw std::runtime_error("counted " + std::to_string(counted) + " rows");
        std::printf("count pair total: %lld rows, %lld bytes\n", static_cast<long long>(counted),
                    static_cast<long long>(size));

        std::vector<double> ours;
        std::vector<double> theirs;
        for (int i = 0; i < repeats; ++i) {
            ours.push_back(millisecondsOf([&] { countWithOurLayer(path, nullptr); }));
            theirs.push_back(millisecondsOf([&] { readWithShell(shell, path); }));
        }
        const double oursMs = median(ours);
        const double shellMs = median(theirs);
        std::printf("ours  (countRows, 8 tables): %8.1f ms (median of %d)\n", oursMs, repeats);
        std::printf("shell (%s, 8 SELECTs > /dev/null): %8.1f ms (median of %d)\n", shell.c_str(),
                    shellMs, repeats);
        std::printf("ratio ours/shell: %.2f\n", oursMs / shellMs);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "benchmark failed: %s\n", e.what());
        exitCode = 1;
    }
    std::error_code ec;
    std::filesystem::remove_all(folder, ec);
    return exitCode;
}
