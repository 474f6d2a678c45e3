// Counting a big browser history: the whole `tpc count Chromium "Internet History"` run (start-up,
// count, printing the pair) against the sqlite3 shell printing every row of the same tables into
// /dev/null, on a warm cache, with the peak memory of each.
//
//   history_count_bench [--dir DIR] [--rows N] [--runs R] [--tpc PATH] [--shell PATH]
//
// Builds a fake home under DIR (linux layout) whose Chromium profile holds a "History" store of N
// rows (default 1,000,000) in the browser's table layout, checks once that the count sees every
// row, then runs each side R times (default 5), alternating who goes first, and reports the
// median wall time and the peak resident memory of each. Exits 1 when tpc takes longer than the
// shell or more than 30 MB.

#include "BenchSupport.h"
#include "support/StoreSchemas.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr double kMemoryBudgetMb = 30.0;

// The tables the history item counts, with each one's share of the rows in per mille: a
// long-used profile has about two visits per page and a few downloads.
struct TableShare {
    const char* table;
    int perMille;
};
constexpr TableShare kShares[] = {
    {"urls", 200},    {"visits", 400},        {"visit_source", 130}, {"keyword_search_terms", 60},
    {"segments", 60}, {"segment_usage", 120}, {"downloads", 10},     {"downloads_url_chains", 20}};

struct Options {
    fs::path dir = fs::temp_directory_path();
    std::int64_t rows = 1'000'000;
    int runs = 5;
    std::string tpc =
#ifdef TPC_CLI_PATH
        TPC_CLI_PATH;
#else
        "tpc";
#endif
    std::string shell = "sqlite3";
};

[[noreturn]] void usage(const std::string& why) {
    std::fprintf(stderr,
                 "history_count_bench: %s\nusage: history_count_bench [--dir DIR] [--rows N] "
                 "[--runs R] [--tpc PATH] [--shell PATH]\n",
                 why.c_str());
    std::exit(2);
}

Options parse(int argc, char** argv) {
    Options o;
    tpc::bench::readOptions(argc, argv, usage, [&](const std::string& arg, auto value) {
        if (arg == "--dir")
            o.dir = value();
        else if (arg == "--rows")
            o.rows = std::max<std::int64_t>(1000, std::atoll(value().c_str()));
        else if (arg == "--runs")
            o.runs = std::max(1, std::atoi(value().c_str()));
        else if (arg == "--tpc")
            o.tpc = value();
        else if (arg == "--shell")
            o.shell = value();
        else
            return false;
        return true;
    });
    return o;
}

// ---- building the store ----

using tpc::bench::Random;

// Microseconds since 1601, as the browser stores times.
constexpr std::int64_t kNow = 13'340'000'000'000'000LL;

struct Column {
    std::string name;
    std::string type;
    bool key = false;
};

class Store {
public:
    explicit Store(const fs::path& path) {
        if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK)
            throw std::runtime_error("cannot create " + path.string());
    }
    ~Store() { sqlite3_close(db_); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void exec(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string error = message ? message : "?";
            sqlite3_free(message);
            throw std::runtime_error("SQL failed: " + error);
        }
    }

    std::vector<Column> columns(const std::string& table) {
        std::vector<Column> list;
        sqlite3_stmt* stmt = prepare("PRAGMA table_info(" + table + ");");
        while (sqlite3_step(stmt) == SQLITE_ROW)
            list.push_back({text(stmt, 1), text(stmt, 2), sqlite3_column_int(stmt, 5) > 0});
        sqlite3_finalize(stmt);
        return list;
    }

    // Fills `table` with `count` rows whose values look like the browser's: keys numbered from 1,
    // times in the browser's epoch, addresses and titles of realistic lengths, 32-byte hashes.
    void fill(const std::string& table, std::int64_t count, Random& random) {
        const auto cols = columns(table);
        std::string names;
        std::string marks;
        for (const auto& c : cols) {
            names += (names.empty() ? "" : ",") + c.name;
            marks += marks.empty() ? "?" : ",?";
        }
        sqlite3_stmt* stmt =
            prepare("INSERT INTO " + table + "(" + names + ") VALUES(" + marks + ");");
        for (std::int64_t row = 0; row < count; ++row) {
            for (std::size_t i = 0; i < cols.size(); ++i)
                bind(stmt, static_cast<int>(i) + 1, cols[i], row, random);
            if (sqlite3_step(stmt) != SQLITE_DONE)
                throw std::runtime_error("insert into " + table +
                                         " failed: " + sqlite3_errmsg(db_));
            sqlite3_reset(stmt);
        }
        sqlite3_finalize(stmt);
    }

private:
    sqlite3_stmt* prepare(const std::string& sql) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
            throw std::runtime_error("cannot prepare " + sql + ": " + sqlite3_errmsg(db_));
        return stmt;
    }

    static std::string text(sqlite3_stmt* stmt, int column) {
        const auto* value = sqlite3_column_text(stmt, column);
        return value ? reinterpret_cast<const char*>(value) : "";
    }

    static void bindText(sqlite3_stmt* stmt, int index, const std::string& value) {
        sqlite3_bind_text(stmt, index, value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT);
    }

    static void bind(sqlite3_stmt* stmt, int index, const Column& column, std::int64_t row,
                     Random& random) {
        const bool isText = column.type.find("CHAR") != std::string::npos || column.type == "TEXT";
        const bool looksLikeAddress = column.name.find("url") != std::string::npos ||
                                      column.name.find("path") != std::string::npos ||
                                      column.name == "name";
        if (column.key && !isText) {
            sqlite3_bind_int64(stmt, index, row + 1);
        } else if (column.type == "INTEGER" && column.name.find("time") != std::string::npos) {
            sqlite3_bind_int64(stmt, index, kNow - random.below(std::uint64_t{1} << 40));
        } else if (column.type == "INTEGER") {
            sqlite3_bind_int64(stmt, index, random.below(5000));
        } else if (column.type == "BOOLEAN") {
            sqlite3_bind_int64(stmt, index, random.below(2));
        } else if (column.type == "BLOB") {
            std::uint8_t hash[32];
            for (auto& b : hash)
                b = static_cast<std::uint8_t>(random.next());
            sqlite3_bind_blob(stmt, index, hash, sizeof hash, SQLITE_TRANSIENT);
        } else if (isText && looksLikeAddress) {
            bindText(stmt, index,
                     "https://www." + std::to_string(random.below(4000)) + "-site.example/" +
                         random.word(4, 12) + "/" + random.word(6, 40) +
                         "?ref=" + std::to_string(random.below(100000)));
        } else if (isText) {
            bindText(stmt, index, random.word(3, 12) + " " + random.word(3, 20));
        } else {
            sqlite3_bind_int64(stmt, index, 0);
        }
    }

    sqlite3* db_ = nullptr;
};

void buildHistory(const fs::path& path, std::int64_t rows) {
    Store store(path);
    store.exec("PRAGMA journal_mode = TRUNCATE; PRAGMA synchronous = OFF;");
    store.exec(tpc::test::schema::kHistory);
    store.exec("INSERT INTO meta VALUES('version','67'),('last_compatible_version','16');");
    store.exec("BEGIN;");
    Random random;
    std::int64_t left = rows;
    for (const auto& share : kShares) {
        const bool last = &share == &kShares[std::size(kShares) - 1];
        const std::int64_t count = last ? left : rows * share.perMille / 1000;
        store.fill(share.table, count, random);
        left -= count;
    }
    store.exec("COMMIT;");
}

// ---- running and measuring ----

struct Run {
    double seconds = 0;
    double peakMb = 0;
};

// Runs `args` with its output in `out` (or thrown away) and measures its wall time and peak
// resident memory. Throws when it cannot be started or does not exit with 0.
Run run(const std::vector<std::string>& args, std::string* out = nullptr) {
    std::vector<std::string> copy = args;
    std::vector<char*> argv;
    for (auto& a : copy)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    int pipeFds[2] = {-1, -1};
    if (out && ::pipe2(pipeFds, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot create a pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (out)
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    else
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    const bool spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (out) {
        ::close(pipeFds[1]);
        char buf[4096];
        for (ssize_t n; spawned && (n = ::read(pipeFds[0], buf, sizeof buf)) > 0;)
            out->append(buf, static_cast<std::size_t>(n));
        ::close(pipeFds[0]);
    }
    if (!spawned)
        throw std::runtime_error("cannot start " + args.front());
    int status = 0;
    rusage usage{};
    // wait4 answers this child's own peak, not the largest of all children so far.
    if (::wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(args.front() + " failed");
    Run r;
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    r.peakMb = static_cast<double>(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
    return r;
}

using tpc::bench::median;

// The number after `"count":` in tpc's JSON answer, or -1.
long long countIn(const std::string& json) {
    const auto at = json.find("\"count\":");
    return at == std::string::npos ? -1 : std::atoll(json.c_str() + at + 8);
}

double loadAverage() {
    double load[1] = {0};
    return ::getloadavg(load, 1) == 1 ? load[0] : -1;
}

struct Side {
    std::vector<double> seconds;
    std::vector<double> peaks;
    void add(const Run& r) {
        seconds.push_back(r.seconds);
        peaks.push_back(r.peakMb);
    }
    void print(const char* label) const {
        std::printf("  %-34s %8.3f s   peak %6.1f MB (median %.1f)\n", label, median(seconds),
                    *std::max_element(peaks.begin(), peaks.end()), median(peaks));
    }
};

} // namespace

int main(int argc, char** argv) {
    const Options o = parse(argc, argv);
    auto pattern = (o.dir / "tpc-history-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        usage("cannot create a folder in --dir");
    const fs::path work = pattern;
    const fs::path home = work / "home";
    const fs::path profile = home / ".config" / "chromium" / "Default";
    const fs::path store = profile / "History";
    int exitCode = 0;
    try {
        fs::create_directories(profile);
        std::printf("building a History store of %lld rows ...\n", static_cast<long long>(o.rows));
        std::fflush(stdout);
        buildHistory(store, o.rows);
        std::printf("store: %.1f MB\n", static_cast<double>(fs::file_size(store)) / 1e6);

        const std::vector<std::string> tpc = {o.tpc,         "--json",   "--home",
                                              home.string(), "--layout", "linux",
                                              "count",       "Chromium", "Internet History"};
        std::string selects;
        for (const auto& share : kShares)
            selects += std::string("SELECT * FROM ") + share.table + ";";
        const std::vector<std::string> shell = {o.shell, store.string(), selects};

        // Warms the cache (and tpc's settings folder), and checks that the count sees every row.
        std::string answer;
        run(shell);
        run(tpc, &answer);
        if (countIn(answer) != o.rows)
            throw std::runtime_error("tpc counted " + std::to_string(countIn(answer)) +
                                     " rows of " + std::to_string(o.rows) + ": " + answer);
        std::printf("tpc answers %s", answer.c_str());

        const double loadBefore = loadAverage();
        Side ours;
        Side theirs;
        for (int r = 0; r < o.runs; ++r) {
            // Alternating who goes first, so that drift in the machine's speed hits both alike.
            if (r % 2 == 0) {
                ours.add(run(tpc));
                theirs.add(run(shell));
            } else {
                theirs.add(run(shell));
                ours.add(run(tpc));
            }
        }
        std::printf("%lld rows, median of %d runs each (load average %.2f before, %.2f after)\n",
                    static_cast<long long>(o.rows), o.runs, loadBefore, loadAverage());
        ours.print("tpc count Chromium \"Internet History\"");
        theirs.print("sqlite3 shell, 8 SELECTs > /dev/null");
        const double ratio = median(ours.seconds) / median(theirs.seconds);
        const double ourPeak = *std::max_element(ours.peaks.begin(), ours.peaks.end());
        std::printf("  ratio tpc/shell %.2f (budget 1.00), tpc peak %.1f MB (budget %.0f MB)\n",
                    ratio, ourPeak, kMemoryBudgetMb);
        exitCode = ratio <= 1.0 && ourPeak <= kMemoryBudgetMb ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "history_count_bench: %s\n", e.what());
        exitCode = 2;
    }
    std::error_code ec;
    fs::remove_all(work, ec);
    return exitCode;
}
