// Sizing a big listed folder with the command line's file eraser scan against `du -sb` walking
// the same folder: the whole `tpc scan eraser` run (start-up, scan, saving the list) against the
// bare walk, on a warm cache.
//
//   walk_bench [--dir DIR] [--files N] [--runs R] [--tpc PATH]
//
// Builds a fake home under DIR holding one folder of N small files (100 to a folder, three
// levels deep), lists that folder in the home's file eraser list, checks once that the scan
// counts every entry, then times the best of R runs of each. Exits 1 when tpc takes more than
// 1.5 times as long as du.

#include "BenchSupport.h"
#include "core/Clock.h"
#include "core/Context.h"
#include "core/MainThread.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "eraser/EraserList.h"
#include "platform/Platform.h"
#include "support/ImmediateMainThread.h"
#include "support/RecordingFrontend.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Seconds = std::chrono::duration<double>;

constexpr int kFilesPerFolder = 100;
constexpr int kFanOut = 10;
constexpr double kBudget = 1.5;

struct Options {
    fs::path dir = fs::temp_directory_path();
    long files = 200000;
    int runs = 5;
    std::string tpc =
#ifdef TPC_CLI_PATH
        TPC_CLI_PATH;
#else
        "tpc";
#endif
};

[[noreturn]] void usage(const std::string& why) {
    std::fprintf(stderr,
                 "walk_bench: %s\nusage: walk_bench [--dir DIR] [--files N] [--runs R] "
                 "[--tpc PATH]\n",
                 why.c_str());
    std::exit(2);
}

Options parse(int argc, char** argv) {
    Options o;
    tpc::bench::readOptions(argc, argv, usage, [&](const std::string& arg, auto value) {
        if (arg == "--dir")
            o.dir = value();
        else if (arg == "--files")
            o.files = std::max(1L, std::atol(value().c_str()));
        else if (arg == "--runs")
            o.runs = std::max(1, std::atoi(value().c_str()));
        else if (arg == "--tpc")
            o.tpc = value();
        else
            return false;
        return true;
    });
    return o;
}

// N files of 0..299 bytes, 100 to a leaf folder, leaves grouped ten by ten on two levels above.
// Answers the number of entries under `top` (files and folders).
std::uint64_t buildTree(const fs::path& top, long files) {
    std::uint64_t entries = 0;
    std::vector<char> bytes(300, 'x');
    auto makeDir = [&entries](const fs::path& p) {
        if (::mkdir(p.c_str(), 0755) == 0)
            ++entries;
        else if (errno != EEXIST)
            usage("cannot create " + p.string());
    };
    ::mkdir(top.c_str(), 0755);
    const long leaves = (files + kFilesPerFolder - 1) / kFilesPerFolder;
    for (long leaf = 0; leaf < leaves; ++leaf) {
        const fs::path a = top / ("a" + std::to_string(leaf / (kFanOut * kFanOut)));
        const fs::path b = a / ("b" + std::to_string(leaf / kFanOut % kFanOut));
        const fs::path c = b / ("c" + std::to_string(leaf % kFanOut));
        makeDir(a);
        makeDir(b);
        makeDir(c);
        for (int f = 0; f < kFilesPerFolder && leaf * kFilesPerFolder + f < files; ++f) {
            const auto path = (c / ("f" + std::to_string(f))).string();
            const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
            if (fd < 0)
                usage("cannot create files in the folder");
            const auto n = static_cast<std::size_t>((leaf * 7 + f * 13) % 300);
            if (::write(fd, bytes.data(), n) != static_cast<ssize_t>(n))
                usage("cannot write files in the folder");
            ::close(fd);
            ++entries;
        }
    }
    return entries;
}

// Lists `folder` in the file eraser list of `home` (linux layout), as adding it on the page does.
void listInEraser(const fs::path& home, const fs::path& folder) {
    tpc::platform::PlatformOptions po;
    po.layout = tpc::platform::Layout::Linux;
    po.home = home;
    po.environment = std::map<std::string, std::string>{};
    tpc::platform::Platform platform(po);
    tpc::core::RealClock clock;
    tpc::core::SystemLog log(false);
    tpc::core::Settings settings(platform.settingsFolder(), log, clock);
    tpc::core::TaskFlags flags;
    tpc::test::RecordingFrontend frontend;
    tpc::test::ImmediateMainThread main;
    tpc::core::Context ctx{settings, flags, frontend, main, platform, clock, log};
    tpc::eraser::EraserList list(ctx);
    list.loadShredder();
    list.addPaths({folder.string()});
    if (list.findRow(folder.string()) < 0 || !settings.fileExists("File Eraser"))
        usage("cannot list the folder in the file eraser");
}

// Runs `args`; its output goes to `out` (or nowhere). False when it did not exit with 0.
bool run(const std::vector<std::string>& args, std::string* out = nullptr) {
    std::vector<char*> argv;
    std::vector<std::string> copy = args;
    for (auto& a : copy)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    int pipeFds[2] = {-1, -1};
    if (out && ::pipe2(pipeFds, O_CLOEXEC) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (out)
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    else
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
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
    int status = 0;
    return spawned && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

double timeIt(const std::function<bool()>& work) {
    const auto start = std::chrono::steady_clock::now();
    if (!work())
        usage("a timed command failed");
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

// The item count of the scan's result line, or -1.
long long itemsIn(const std::string& output) {
    const std::string label = "Total Items To Clean: ";
    const auto at = output.find(label);
    return at == std::string::npos ? -1 : std::atoll(output.c_str() + at + label.size());
}

} // namespace

int main(int argc, char** argv) {
    const Options o = parse(argc, argv);
    auto pattern = (o.dir / "tpc-walk-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        usage("cannot create a folder in --dir");
    const fs::path work = pattern;
    const fs::path home = work / "home";
    const fs::path folder = home / "big";
    fs::create_directories(home);

    std::printf("building %ld files under %s ...\n", o.files, folder.c_str());
    std::fflush(stdout);
    const std::uint64_t entries = buildTree(folder, o.files);
    listInEraser(home, folder);

    const std::vector<std::string> tpc = {o.tpc,   "--home", home.string(), "--layout",
                                          "linux", "scan",   "eraser"};
    const std::vector<std::string> du = {"du", "-sb", folder.string()};

    // Warms the cache, and checks that the scan counts what was built.
    std::string output;
    if (!run(du) || !run(tpc, &output))
        usage("cannot run du or tpc");
    if (itemsIn(output) != static_cast<long long>(entries)) {
        std::fprintf(stderr, "walk_bench: the scan counted %lld items, the folder holds %llu\n",
                     itemsIn(output), static_cast<unsigned long long>(entries));
        fs::remove_all(work);
        return 2;
    }

    double bestTpc = std::numeric_limits<double>::max();
    double bestDu = bestTpc;
    for (int r = 0; r < o.runs; ++r) {
        // Alternating who goes first, so that drift in the machine's speed hits both alike.
        auto timeDu = [&] {
            bestDu = std::min(bestDu, timeIt([&] { return run(du); }));
        };
        auto timeTpc = [&] {
            bestTpc = std::min(bestTpc, timeIt([&] { return run(tpc); }));
        };
        if (r % 2 == 0) {
            timeDu();
            timeTpc();
        } else {
            timeTpc();
            timeDu();
        }
    }

    const double ratio = bestTpc / bestDu;
    std::printf("%llu entries, best of %d runs each\n", static_cast<unsigned long long>(entries),
                o.runs);
    std::printf("  tpc scan eraser  %8.3f s\n", bestTpc);
    std::printf("  du -sb           %8.3f s\n", bestDu);
    std::printf("  ratio tpc/du     %8.2f (budget %.2f)\n", ratio, kBudget);
    std::error_code ec;
    fs::remove_all(work, ec);
    return ratio <= kBudget ? 0 : 1;
}
