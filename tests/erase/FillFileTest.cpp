// The overwrite of one file: which block goes where, in which order, and when it stops.
#include "erase/EraseHarness.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tpc::erase::test {
namespace {

namespace fs = std::filesystem;
constexpr std::size_t B = kBlockSize;

// The calls an overwrite of `size` bytes should make with no failure and no abort.
std::vector<std::string> expectedCalls(std::int64_t method, std::size_t size) {
    std::vector<std::string> calls;
    const auto patterns = passPatterns(method);
    const std::size_t whole = size / B + (size % B ? 1 : 0);
    for (std::size_t block = 0; block < whole; ++block) {
        const std::size_t length = block + 1 < whole ? B : (size % B ? size % B : B);
        for (const auto& p : patterns) {
            calls.push_back("W " + std::to_string(block * B) + " " + std::to_string(length) + " " +
                            p);
            calls.push_back("S");
        }
    }
    return calls;
}

std::vector<std::string> describe(const std::vector<WriterCall>& calls) {
    std::vector<std::string> out;
    for (const auto& c : calls)
        out.push_back(c.kind == WriterCall::Sync ? "S"
                                                 : "W " + std::to_string(c.offset) + " " +
                                                       std::to_string(c.length) + " " + c.pattern);
    return out;
}

class FillFile : public ::testing::Test {
protected:
    EraseHarness h;
};

TEST_F(FillFile, EachBlockGetsAllItsPassesFlushedBeforeTheNextBlock) {
    h.option = 2;
    h.makeFile("f", 2 * B + 100);
    h.deleter().fillFilePath(h.path("f"), 2 * B + 100);
    EXPECT_EQ(describe(h.writer.calls), expectedCalls(2, 2 * B + 100));
    EXPECT_EQ(fs::file_size(h.path("f")), 2 * B + 100) << "never truncated or extended";
}

TEST_F(FillFile, ExactlyOneBlockIsWrittenWholeOncePerPass) {
    h.option = 3;
    h.makeFile("f", B);
    h.deleter().fillFilePath(h.path("f"), B);
    EXPECT_EQ(describe(h.writer.calls), expectedCalls(3, B));
    EXPECT_EQ(h.writer.writes().size(), 3u);
}

TEST_F(FillFile, OneByteOverABlockWritesOneByteAtTheEnd) {
    h.option = 0;
    h.makeFile("f", B + 1);
    h.deleter().fillFilePath(h.path("f"), B + 1);
    EXPECT_EQ(describe(h.writer.calls),
              (std::vector<std::string>{"W 0 32768 00", "S", "W 32768 1 00", "S"}));
}

TEST_F(FillFile, EveryMethodWritesItsPassCountOnEveryBlock) {
    for (std::int64_t method = 0; method <= 8; ++method) {
        EraseHarness run;
        run.option = method;
        run.makeFile("f", 2 * B + 7);
        run.deleter().fillFilePath(run.path("f"), 2 * B + 7);
        EXPECT_EQ(describe(run.writer.calls), expectedCalls(method, 2 * B + 7)) << method;
    }
}

TEST_F(FillFile, TheFileEndsHoldingTheLastPassPattern) {
    h.option = 2; // last pass: the random block
    const std::size_t size = 2 * B + 1000;
    h.makeFile("f", size);
    h.deleter().fillFilePath(h.path("f"), size);
    const auto data = tpc::test::readFile(h.path("f"));
    ASSERT_EQ(data.size(), size);
    const auto* rnd = PatternBlocks::shared().buffRND();
    for (std::size_t i = 0; i < size; ++i)
        ASSERT_EQ(static_cast<std::uint8_t>(data[i]), rnd[i % B]) << "byte " << i;

    h.option = 5; // last pass: 0xAA
    h.deleter().fillFilePath(h.path("f"), size);
    EXPECT_EQ(tpc::test::readFile(h.path("f")), std::string(size, '\xAA'));
}

TEST_F(FillFile, AFailedWriteEndsTheWholeBlocksButNotTheFinalBlock) {
    h.option = 2;
    h.writer.failWrite = 1; // block 0, pass 1
    h.makeFile("f", 3 * B + 10);
    h.deleter().fillFilePath(h.path("f"), 3 * B + 10);
    EXPECT_EQ(describe(h.writer.calls),
              (std::vector<std::string>{"W 0 32768 55", "S", "W 0 32768 AA", "S", "W 0 32768 RND",
                                        "S", "W 32768 10 55", "S", "W 32768 10 AA", "S",
                                        "W 32768 10 RND", "S"}))
        << "block 0 finishes its passes; the final block is written at the index reached";
}

TEST_F(FillFile, AbortStopsBeforeTheNextBlockAndBeforeEachFinalPass) {
    h.option = 2;
    h.writer.after = [&](const WriterCall& c) {
        if (c.kind == WriterCall::Write && h.writer.writes().size() == 2)
            h.abort = true;
    };
    h.makeFile("f", 3 * B);
    h.deleter().fillFilePath(h.path("f"), 3 * B);
    EXPECT_EQ(describe(h.writer.writes()),
              (std::vector<std::string>{"W 0 32768 55", "W 0 32768 AA", "W 0 32768 RND"}));

    EraseHarness last;
    last.option = 3;
    last.writer.after = [&](const WriterCall&) {
        last.abort = true;
    };
    last.makeFile("f", B);
    last.deleter().fillFilePath(last.path("f"), B);
    EXPECT_EQ(describe(last.writer.writes()), (std::vector<std::string>{"W 0 32768 00"}));
}

TEST_F(FillFile, NothingIsOpenedForAnEmptyFileAnAbortOrAMethodWithoutPatterns) {
    h.makeFile("f", 5000);
    WriteOpenWatch watch(h.dir.path());
    h.deleter().fillFilePath(h.path("f"), 0);
    h.option = 9;
    h.deleter().fillFilePath(h.path("f"), 5000);
    h.option = -1;
    h.deleter().fillFilePath(h.path("f"), 5000);
    h.option = 0;
    h.abort = true;
    h.deleter().fillFilePath(h.path("f"), 5000);
    EXPECT_TRUE(watch.opened().empty());
    EXPECT_TRUE(h.writer.calls.empty());
}

TEST_F(FillFile, NeverWritesPastTheFilesEnd) {
    h.option = 0;
    h.makeFile("f", 40000);
    h.deleter().fillFilePath(h.path("f"), 100000);
    EXPECT_EQ(fs::file_size(h.path("f")), 40000u);
    EXPECT_EQ(tpc::test::readFile(h.path("f")), std::string(40000, '\0'));
}

TEST_F(FillFile, RefusesLinksHardLinkedFilesAndOtherTypes) {
    h.option = 0;
    const auto target = h.makeFile("target", 5000);
    fs::create_symlink(h.path("target"), h.path("link"));
    h.deleter().fillFilePath(h.path("link"), 5000);

    const auto shared = h.makeFile("shared", 5000);
    fs::create_hard_link(h.path("shared"), h.path("other-name"));
    h.deleter().fillFilePath(h.path("shared"), 5000);

    fs::create_directory(h.path("folder"));
    h.deleter().fillFilePath(h.path("folder"), 5000);
    h.deleter().fillFilePath(h.path("missing"), 5000);
    h.deleter().fillFilePath("relative/path", 5000);

    EXPECT_TRUE(h.writer.calls.empty());
    EXPECT_EQ(tpc::test::readFile(h.path("target")), target);
    EXPECT_EQ(tpc::test::readFile(h.path("other-name")), shared);
}

} // namespace
} // namespace tpc::erase::test
