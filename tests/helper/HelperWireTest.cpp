#include "erase/HelperWire.h"

#include "core/PropertyList.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tpc::test {
namespace {

namespace wire = erase::wire;

wire::Message everyKey() {
    wire::Message m;
    m.request = "erase";
    m.eraseOption = 7;
    m.uuid = "0F6A5E2C-1B7D-4C3E-9A8B-123456789ABC";
    m.path = wire::pathData("/var/tmp/some file");
    m.reply = "started";
    return m;
}

std::vector<std::uint8_t> bodyOf(const std::vector<std::uint8_t>& frame) {
    return {frame.begin() + 4, frame.end()};
}

// Both ends of a local stream socket, closed afterwards.
struct SocketPair {
    int fd[2] = {-1, -1};
    SocketPair() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fd), 0); }
    ~SocketPair() {
        for (int f : fd)
            if (f >= 0)
                ::close(f);
    }
    void write(const std::vector<std::uint8_t>& bytes) {
        ASSERT_EQ(::write(fd[0], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void closeWriter() {
        ::close(fd[0]);
        fd[0] = -1;
    }
};

std::vector<std::uint8_t> header(std::uint32_t size) {
    return {static_cast<std::uint8_t>(size >> 24), static_cast<std::uint8_t>(size >> 16),
            static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
}

TEST(HelperWire, EveryKeySurvivesTheRoundTrip) {
    const wire::Message m = everyKey();
    const auto frame = wire::encode(m);
    auto decoded = wire::decodeBody(bodyOf(frame));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, m);
}

TEST(HelperWire, FrameStartsWithTheBigEndianBodyLength) {
    const auto frame = wire::encode(everyKey());
    ASSERT_GT(frame.size(), 4u);
    const std::size_t size = (std::size_t{frame[0]} << 24) | (std::size_t{frame[1]} << 16) |
                             (std::size_t{frame[2]} << 8) | frame[3];
    EXPECT_EQ(size, frame.size() - 4);
    const std::string magic(frame.begin() + 4, frame.begin() + 12);
    EXPECT_EQ(magic, "bplist00");
}

TEST(HelperWire, PathIsDataOfItsBytesAndOneZero) {
    const std::string path = "/home/someone/Library/caché";
    const core::Data data = wire::pathData(path);
    ASSERT_EQ(data.size(), path.size() + 1);
    EXPECT_EQ(data.back(), 0);
    EXPECT_EQ(std::string(data.begin(), data.end() - 1), path);

    wire::Message m;
    m.path = data;
    auto value = core::plist::parse(bodyOf(wire::encode(m)));
    ASSERT_TRUE(value);
    const core::Data* sent = value->dict()->get("path").data();
    ASSERT_NE(sent, nullptr);
    EXPECT_EQ(*sent, data);
}

TEST(HelperWire, PathFromDataNeedsExactlyOneTrailingZero) {
    EXPECT_EQ(wire::pathFromData(wire::pathData("/a/b")), "/a/b");
    EXPECT_FALSE(wire::pathFromData({'/', 'a'}));
    EXPECT_FALSE(wire::pathFromData({'/', 'a', 0, 'b', 0}));
    EXPECT_FALSE(wire::pathFromData({}));
    EXPECT_EQ(wire::pathFromData({0}), "");
}

TEST(HelperWire, EraseOptionIsAnUnsignedInteger) {
    wire::Message m = wire::requestMessage("erase");
    m.eraseOption = 8;
    EXPECT_EQ(wire::toValue(m).dict()->get("erase option").kind(), core::Value::Kind::UInt);

    const auto body = bodyOf(wire::encode(m));
    plist_t root = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(body.data()),
                   static_cast<std::uint32_t>(body.size()), &root);
    ASSERT_NE(root, nullptr);
    plist_t option = plist_dict_get_item(root, "erase option");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(plist_get_node_type(option), PLIST_UINT);
    std::uint64_t value = 0;
    plist_get_uint_val(option, &value);
    EXPECT_EQ(value, 8u);
    plist_free(root);
}

TEST(HelperWire, AbsentKeysAreNotSent) {
    wire::Message m = wire::requestMessage("delete");
    m.uuid = "U";
    m.path = wire::pathData("/x");
    auto dict = wire::toValue(m).dict();
    EXPECT_FALSE(dict->has("erase option"));
    EXPECT_FALSE(dict->has("reply"));
    EXPECT_EQ(dict->size(), 3u);
}

TEST(HelperWire, KeysOfTheWrongKindAreRefused) {
    auto dict = core::DictObj::make({{"request", core::Value(5)}});
    EXPECT_FALSE(wire::fromValue(core::Value(dict)));
    dict = core::DictObj::make({{"path", core::Value("/not/data")}});
    EXPECT_FALSE(wire::fromValue(core::Value(dict)));
    dict = core::DictObj::make({{"erase option", core::Value("8")}});
    EXPECT_FALSE(wire::fromValue(core::Value(dict)));
    EXPECT_FALSE(wire::fromValue(core::Value::newArray()));
    // Unknown keys are ignored.
    dict = core::DictObj::make({{"reply", core::Value("no")}, {"extra", core::Value(1)}});
    auto m = wire::fromValue(core::Value(dict));
    ASSERT_TRUE(m);
    EXPECT_EQ(m->reply, "no");
}

TEST(HelperWire, OnlyBinaryPropertyListsAreMessages) {
    const std::string xml = core::plist::toXml(wire::toValue(wire::replyMessage("no")));
    EXPECT_FALSE(wire::decodeBody({xml.begin(), xml.end()}));
    EXPECT_FALSE(wire::decodeBody({}));
    EXPECT_FALSE(wire::decodeBody({'b', 'p', 'l', 'i', 's', 't', '0', '0', 1, 2, 3}));
}

TEST(HelperWire, ReadsAWholeFrame) {
    SocketPair s;
    ASSERT_TRUE(wire::writeMessage(s.fd[0], everyKey()));
    auto result = wire::readMessage(s.fd[1]);
    ASSERT_EQ(result.status, wire::ReadStatus::Ok);
    EXPECT_EQ(result.message, everyKey());
}

TEST(HelperWire, CleanEndIsEof) {
    SocketPair s;
    s.closeWriter();
    EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::Eof);
}

TEST(HelperWire, TruncatedFramesAreRefused) {
    {
        SocketPair s;
        s.write({0, 0});
        s.closeWriter();
        EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::Truncated);
    }
    {
        SocketPair s;
        auto frame = wire::encode(everyKey());
        frame.resize(frame.size() - 3);
        s.write(frame);
        s.closeWriter();
        EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::Truncated);
    }
}

TEST(HelperWire, OversizedFramesAreRefusedUnread) {
    SocketPair s;
    s.write(header(wire::kMaxMessageSize + 1));
    EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::TooLarge);
    SocketPair t;
    t.write(header(0xFFFFFFFFu));
    EXPECT_EQ(wire::readMessage(t.fd[1]).status, wire::ReadStatus::TooLarge);
    // The limit is the caller's.
    SocketPair u;
    ASSERT_TRUE(wire::writeMessage(u.fd[0], everyKey()));
    EXPECT_EQ(wire::readMessage(u.fd[1], 16).status, wire::ReadStatus::TooLarge);
}

TEST(HelperWire, GarbageBodiesAreRefusedAndTheStreamStaysInStep) {
    SocketPair s;
    auto bytes = header(5);
    for (char c : std::string("hello"))
        bytes.push_back(static_cast<std::uint8_t>(c));
    s.write(bytes);
    s.write(header(0));
    ASSERT_TRUE(wire::writeMessage(s.fd[0], wire::replyMessage("done")));
    EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::Garbage);
    EXPECT_EQ(wire::readMessage(s.fd[1]).status, wire::ReadStatus::Garbage);
    auto last = wire::readMessage(s.fd[1]);
    ASSERT_EQ(last.status, wire::ReadStatus::Ok);
    EXPECT_EQ(last.message.reply, "done");
}

TEST(HelperWire, RandomBytesNeverCrashTheReader) {
    // A fixed pseudo-random sequence, framed and unframed.
    std::uint32_t x = 2463534242u;
    for (int round = 0; round < 200; ++round) {
        std::vector<std::uint8_t> body(static_cast<std::size_t>(round * 7 % 300));
        for (auto& b : body) {
            x ^= x << 13;
            x ^= x >> 17;
            x ^= x << 5;
            b = static_cast<std::uint8_t>(x);
        }
        if (round % 2 == 0 && body.size() >= 8)
            std::copy_n("bplist00", 8, body.begin());
        SocketPair s;
        auto frame = header(static_cast<std::uint32_t>(body.size()));
        frame.insert(frame.end(), body.begin(), body.end());
        s.write(frame);
        s.closeWriter();
        const auto status = wire::readMessage(s.fd[1]).status;
        EXPECT_TRUE(status == wire::ReadStatus::Garbage || status == wire::ReadStatus::Ok);
    }
}

TEST(HelperWire, WritingToAClosedPeerFailsQuietly) {
    SocketPair s;
    ::close(s.fd[1]);
    s.fd[1] = -1;
    EXPECT_FALSE(wire::writeMessage(s.fd[0], everyKey()));
}

} // namespace
} // namespace tpc::test
