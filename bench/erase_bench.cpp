// Overwrite throughput of the erase engine against the bare system calls it makes and against
// GNU shred, on the same files on the same disk.
//
//   erase_bench [--dir DIR] [--files N] [--size BYTES[k|M]] [--methods 0,2,7] [--rounds R]
//               [--no-shred]
//
// Every round writes fresh files for each contender; the table shows medians over the rounds.

#include "BenchSupport.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "erase/PatternBlocks.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using tpc::erase::kBlockSize;
using Seconds = std::chrono::duration<double>;

struct Options {
    fs::path dir = fs::temp_directory_path();
    int files = 4;
    std::uint64_t size = 16ull << 20;
    std::vector<std::int64_t> methods = {0, 2, 7};
    int rounds = 3;
    bool shred = true;
};

[[noreturn]] void usage(const std::string& why) {
    std::fprintf(stderr,
                 "erase_bench: %s\nusage: erase_bench [--dir DIR] [--files N] "
                 "[--size BYTES[k|M]] [--methods 0,2,7] [--rounds R] [--no-shred]\n",
                 why.c_str());
    std::exit(2);
}

std::uint64_t parseSize(const std::string& text) {
    char* end = nullptr;
    const unsigned long long n = std::strtoull(text.c_str(), &end, 10);
    const std::string unit = end ? end : "";
    if (end == text.c_str() || n == 0)
        usage("bad size");
    if (unit.empty())
        return n;
    if (unit == "k" || unit == "K")
        return n << 10;
    if (unit == "M" || unit == "m")
        return n << 20;
    usage("bad size unit");
}

Options parse(int argc, char** argv) {
    Options o;
    tpc::bench::readOptions(argc, argv, usage, [&](const std::string& arg, auto value) {
        if (arg == "--dir")
            o.dir = value();
        else if (arg == "--files")
            o.files = std::max(1, std::atoi(value().c_str()));
        else if (arg == "--size")
            o.size = parseSize(value());
        else if (arg == "--rounds")
            o.rounds = std::max(1, std::atoi(value().c_str()));
        else if (arg == "--no-shred")
            o.shred = false;
        else if (arg == "--methods") {
            o.methods.clear();
            const std::string list = value();
            for (std::size_t at = 0; at <= list.size();) {
                const auto comma = std::min(list.find(',', at), list.size());
                const long m = std::strtol(list.substr(at, comma - at).c_str(), nullptr, 10);
                if (m < 0 || m > 8)
                    usage("methods are 0..8");
                o.methods.push_back(m);
                at = comma + 1;
            }
        } else
            return false;
        return true;
    });
    return o;
}

// Fresh files of `size` bytes of ordinary content, flushed, so every contender starts alike.
std::vector<std::string> makeFiles(const fs::path& dir, const char* prefix, const Options& o) {
    std::vector<char> chunk(1 << 20);
    for (std::size_t i = 0; i < chunk.size(); ++i)
        chunk[i] = static_cast<char>('a' + i % 23);
    std::vector<std::string> paths;
    for (int f = 0; f < o.files; ++f) {
        const auto path = (dir / (std::string(prefix) + std::to_string(f))).string();
        unlink(path.c_str());
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0)
            usage("cannot create files in the folder");
        for (std::uint64_t done = 0; done < o.size;) {
            const auto n =
                static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), o.size - done));
            if (write(fd, chunk.data(), n) != static_cast<ssize_t>(n))
                usage("cannot write files in the folder");
            done += n;
        }
        fsync(fd);
        close(fd);
        paths.push_back(path);
    }
    return paths;
}

// The calls fillFilePath makes, in the same order with the same blocks, and nothing else.
void bareOverwrite(const std::string& path, std::uint64_t size, std::int64_t method) {
    const auto& blocks = tpc::erase::PatternBlocks::shared();
    const int passes = tpc::erase::passesForMethod(method);
    std::vector<const std::uint8_t*> pattern(static_cast<std::size_t>(passes));
    for (int p = 0; p < passes; ++p)
        pattern[static_cast<std::size_t>(p)] = blocks.fillBuffer(method, p);
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    const std::uint64_t rem = size % kBlockSize;
    const std::int64_t last = static_cast<std::int64_t>(size / kBlockSize) + (rem ? 1 : 0) - 1;
    std::int64_t i = 0;
    for (; i < last; ++i)
        for (const auto* block : pattern) {
            (void)pwrite(fd, block, kBlockSize, static_cast<off_t>(i) * kBlockSize);
            fsync(fd);
        }
    for (const auto* block : pattern) {
        (void)pwrite(fd, block, rem ? rem : kBlockSize, static_cast<off_t>(i) * kBlockSize);
        fsync(fd);
    }
    close(fd);
}

bool runShred(const std::vector<std::string>& paths, int passes) {
    std::vector<std::string> args = {"shred", "-n", std::to_string(passes), "-x"};
    args.insert(args.end(), paths.begin(), paths.end());
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawnp(&pid, "shred", nullptr, nullptr, argv.data(), environ) != 0)
        return false;
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

double timeIt(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

using tpc::bench::median;

bool shredAvailable() {
    pid_t pid = 0;
    char name[] = "shred";
    char version[] = "--version";
    char* argv[] = {name, version, nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    const bool spawned = posix_spawnp(&pid, "shred", &quiet, nullptr, argv, environ) == 0;
    posix_spawn_file_actions_destroy(&quiet);
    int status = 0;
    return spawned && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

} // namespace

int main(int argc, char** argv) {
    const Options o = parse(argc, argv);
    auto pattern = (o.dir / "tpc-erase-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        usage("cannot create a folder in --dir");
    const fs::path work = pattern;
    const bool shred = o.shred && shredAvailable();

    std::atomic<bool> abort{false};
    std::int64_t method = 0;
    tpc::core::RealClock clock;
    tpc::core::SystemLog log(false);
    tpc::erase::Deleter deleter(tpc::erase::DeleterEnv{.abortCleaning = abort,
                                                       .deletionOption = [&] { return method; },
                                                       .clock = clock,
                                                       .log = log});

    const double mib = static_cast<double>(o.size) * o.files / (1 << 20);
    std::printf("%d file(s) of %.2f MiB (%.2f MiB in all) in %s, median of %d round(s)\n", o.files,
                static_cast<double>(o.size) / (1 << 20), mib, o.dir.c_str(), o.rounds);
    if (!shred)
        std::printf("note: shred %s; its column is left out\n",
                    o.shred ? "is not installed" : "was not asked for");
    std::printf("\n%-7s %6s | %10s %10s %10s | %10s %11s\n", "method", "passes", "ours MB/s",
                "bare MB/s", "shred MB/s", "ours/bare", "ours/shred");
    std::printf(
        "-------------------------------------------------------------------------------\n");

    bool withinBudget = true;
    for (const std::int64_t m : o.methods) {
        method = m;
        const int passes = tpc::erase::passesForMethod(m);
        std::vector<double> ours, bare, ratios, gnu;
        for (int round = 0; round < o.rounds; ++round) {
            const auto oursPaths = makeFiles(work, "ours", o);
            const auto barePaths = makeFiles(work, "bare", o);
            double tOurs = 0, tBare = 0;
            // File by file, alternating who goes first, so that drift in the disk's speed hits
            // both alike.
            for (std::size_t f = 0; f < oursPaths.size(); ++f) {
                auto runOurs = [&] {
                    tOurs += timeIt([&] { deleter.fillFilePath(oursPaths[f], o.size); });
                };
                auto runBare = [&] {
                    tBare += timeIt([&] { bareOverwrite(barePaths[f], o.size, m); });
                };
                if ((f + static_cast<std::size_t>(round)) % 2 == 0) {
                    runOurs();
                    runBare();
                } else {
                    runBare();
                    runOurs();
                }
            }
            ours.push_back(tOurs);
            bare.push_back(tBare);
            ratios.push_back(tOurs / tBare);
            if (shred) {
                const auto paths = makeFiles(work, "shred", o);
                gnu.push_back(timeIt([&] { runShred(paths, passes); }));
            }
        }
        const double mb = static_cast<double>(o.size) * o.files / 1e6;
        const double tOurs = median(ours), tBare = median(bare);
        const double ratio = median(ratios);
        withinBudget = withinBudget && ratio <= 1.1;
        if (shred) {
            const double tShred = median(gnu);
            std::printf("%-7lld %6d | %10.2f %10.2f %10.2f | %10.3f %11.3f\n",
                        static_cast<long long>(m), passes, mb / tOurs, mb / tBare, mb / tShred,
                        ratio, tOurs / tShred);
        } else {
            std::printf("%-7lld %6d | %10.2f %10.2f %10s | %10.3f %11s\n",
                        static_cast<long long>(m), passes, mb / tOurs, mb / tBare, "-", ratio, "-");
        }
        std::fflush(stdout);
    }
    std::printf("\nMB/s: megabytes of file overwritten (all passes) per second. Ratios are time "
                "ours / time other (ours/bare: median of the rounds' ratios).\n");
    std::error_code ec;
    fs::remove_all(work, ec);
    return withinBudget ? 0 : 1;
}
