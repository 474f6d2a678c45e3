#pragma once
// Runs the real `tpc` program on fake homes.

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace tpc::test {

namespace fs = std::filesystem;

struct Result {
    int code = -1;
    std::string out;
    std::string err;
};

inline std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

class Tpc : public ::testing::Test {
protected:
    TempDir dir;
    fs::path home = dir / "home";
    fs::path root = dir / "root";

    void SetUp() override { fs::create_directories(home); }

    // Runs tpc with `args` and the environment `env` ("NAME=value" words), standard input empty.
    Result tpc(const std::vector<std::string>& args, const std::vector<std::string>& env = {}) {
        std::string cmd = "env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME";
        for (const auto& e : env)
            cmd += " " + quote(e);
        cmd += " " + quote(TPC_CLI_PATH);
        for (const auto& a : args)
            cmd += " " + quote(a);
        auto out = dir / "stdout", err = dir / "stderr";
        cmd += " </dev/null >" + quote(out.string()) + " 2>" + quote(err.string());
        int status = std::system(cmd.c_str());
        Result r;
        r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        r.out = readFile(out);
        r.err = readFile(err);
        return r;
    }

    Result macos(std::vector<std::string> args) {
        args.insert(args.begin(), {"--layout", "macos", "--home", home.string()});
        return tpc(args);
    }

    // tpc in the macos layout on the fake home and root.
    Result run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--root", root.string()});
        return macos(args);
    }

    // The JSON document a command printed, after checking it succeeded.
    static nlohmann::json jsonOf(const Result& r) {
        EXPECT_EQ(r.code, 0) << r.err;
        return r.code == 0 ? nlohmann::json::parse(r.out) : nlohmann::json::object();
    }

    fs::path folder() const {
        return home / "Library/Application Support/Tavrin Software/Tavrin Privacy Cleaner";
    }
};

// Runs SQL on a database file (created with its folders when missing).
inline void sqlExec(const fs::path& db, const std::string& text) {
    fs::create_directories(db.parent_path());
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(db.c_str(), &handle), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle, text.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(handle);
}

// The hosts of a Firefox cookie store, sorted.
inline std::vector<std::string> hostsIn(const fs::path& db) {
    std::vector<std::string> out;
    sqlite3* handle = nullptr;
    sqlite3_open(db.c_str(), &handle);
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(handle, "SELECT host FROM moz_cookies ORDER BY host", -1, &st, nullptr);
    while (sqlite3_step(st) == SQLITE_ROW)
        out.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    sqlite3_finalize(st);
    sqlite3_close(handle);
    return out;
}

} // namespace tpc::test
