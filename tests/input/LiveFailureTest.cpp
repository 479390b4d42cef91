// What a live connection says and does when its peer or the way to it is not as it should be.
#include <glibmm/init.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <functional>

#include "LiveRig.h"
#include "app/diagnostics/Exceptions.h"
#include "input/EncryptedStream.h"
#include "input/LiveConnection.h"
#include "input/stream/BlockMaker.h"

namespace trelis::test {
namespace {

using Fault = sim::Fault;
using Texts = std::vector<std::string>;

const std::string kEnded = "Stream ended";
const std::string kBadData = "Failed to unpack data from logger";
const std::string kBadTag = "Message could not be authenticated, wrong key or data corrupted";
const std::string kTryPlain = "Check that logger is set up for non-encrypted data";
const std::string kTryKey = "Check that logger is set up for encrypted data";

class LiveFailure : public testing::Test {
  protected:
    LiveFailure() {
        Glib::init();
        store_.noGui = true;
        wireLiveInputs(store_);
        buildModel(store_, scenario_);
        takeMessages();
    }

    /// Whether the run came to its end without a fatal message.
    bool run(std::uint16_t port, const std::string& key = {}) {
        store_.hostName = "127.0.0.1";
        store_.port = port;
        store_.decryptionKey = key;
        store_.networkInput = true;
        store_.liveMode = true;
        store_.running = true;
        store_.framesRead = 0;
        testing::internal::CaptureStderr();
        bool whole = true;
        try {
            store_.parseNow();
        } catch (const PrintMsgError&) {
            whole = false;
        }
        printed_ = testing::internal::GetCapturedStderr();
        EXPECT_EQ(store_.socket, -1);
        return whole;
    }

    sim::Scenario scenario_ = smallScenario();
    Store store_;
    std::string printed_;  // of the last run
};

struct Row {
    const char* name;
    Fault fault;
    std::uint64_t after;
    const char* loggerKey;
    const char* clientKey;
    bool fatal;
    Texts messages;
    const char* streamText;  ///< what the stream library prints
};

std::vector<Row> rows() {
    const Texts kNone;
    const char* const kUnpack = "WRN uncompress error (p->in_len: ";
    const char* const kMagic = "WRN Didn't find magic number";
    return {
        {"close at once", Fault::kClose, 0, "", "", false, {kEnded, kTryPlain}, ""},
        {"close", Fault::kClose, 2, "", "", false, {kEnded}, ""},
        {"close, encrypted", Fault::kClose, 2, "geheim", "geheim", false, {kEnded}, ""},
        {"close at once, encrypted",
         Fault::kClose,
         0,
         "geheim",
         "geheim",
         false,
         {kEnded, kTryKey},
         ""},
        {"reset", Fault::kReset, 2, "", "", false, {kBadData}, "WRN Stream read error: "},
        {"reset, encrypted", Fault::kReset, 2, "geheim", "geheim", false, kNone,
         "WRN Stream read error: "},
        {"garbage", Fault::kGarbage, 2, "", "", false, {kBadData}, kMagic},
        {"garbage, encrypted", Fault::kGarbage, 0, "geheim", "geheim", false, {kTryKey}, kMagic},
        {"bad block", Fault::kBadBlock, 0, "", "", false, {kBadData, kTryPlain}, kUnpack},
        {"bad block, encrypted",
         Fault::kBadBlock,
         0,
         "geheim",
         "geheim",
         false,
         {kTryKey},
         kUnpack},
        {"block of length 0",
         Fault::kEmpty,
         2,
         "",
         "",
         false,
         {kBadData},
         "ERR Data len 0: Stopping"},
        {"block too long", Fault::kTooLong, 2, "", "", false, {kBadData}, "18087"},
        {"block of 4 GB", Fault::kOverflow, 2, "", "", false, {kBadData}, "4294967295"},
        {"frame too long",
         Fault::kTooLong,
         2,
         "k",
         "k",
         true,
         {"Got invalid data length when decrypting"},
         ""},
        {"frame that fills the buffer",
         Fault::kOverflow,
         2,
         "k",
         "k",
         true,
         {"Decryption buffer overflow"},
         ""},
        {"frame of an odd length",
         Fault::kOddLength,
         2,
         "k",
         "k",
         true,
         {"Decryption failed"},
         "ERR Length: 17 is not divisible by 16"},
        {"wrong tag", Fault::kWrongTag, 2, "geheim", "geheim", false, {kBadTag}, ""},
        {"wrong key", Fault::kWrongKey, 0, "geheim", "geheim", false, {kBadTag, kTryKey}, ""},
        {"other key", Fault::kNone, 0, "other", "geheim", false, {kBadTag, kTryKey}, ""},
        {"encrypted data unasked",
         Fault::kNone,
         0,
         "geheim",
         "",
         false,
         {kBadData, kTryPlain},
         kMagic},
        {"empty frames", Fault::kEmpty, 0, "geheim", "geheim", false, {kEnded}, ""},
    };
}

TEST_F(LiveFailure, EachEndIsToldInItsWords) {
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.name);
        sim::ServeOptions options;
        options.speed = 0;
        options.fault = row.fault;
        options.faultAfter = row.after;
        options.key = row.loggerKey;
        const ServedLogger logger(options, [this] { return sim::scenarioFeed(scenario_); });
        EXPECT_EQ(run(logger.server().port(), row.clientKey), !row.fatal);
        EXPECT_EQ(takeMessages(), row.messages) << printed_;
        EXPECT_NE(printed_.find(row.streamText), std::string::npos) << printed_;
        EXPECT_EQ(printed_.find("geheim"), std::string::npos);
        // What came before the fault is kept.
        if (row.after > 0) {
            EXPECT_GE(store_.framesRead, 1000 * row.after);
        }
    }
}

TEST_F(LiveFailure, NoSocketNoHostNoPeer) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    testing::internal::CaptureStderr();
    store_.networkInput = true;
    store_.hostName = std::string(300, 'x');
    LiveLink link;
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    runLiveConnection(store_, link);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(takeMessages(), Texts{"Network connection failed"});
    runLiveConnection(store_, link);
    EXPECT_EQ(takeMessages(), Texts{"Network connection failed, no such host"});
    testing::internal::GetCapturedStderr();

    // A port that is taken but not listened to.
    const Descriptor taken(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(taken.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(taken.get(), reinterpret_cast<sockaddr*>(&address), &size);
    EXPECT_TRUE(run(ntohs(address.sin_port)));
    EXPECT_EQ(takeMessages(), Texts{"Network connection failed: Connection refused"});
    EXPECT_FALSE(store_.connected);
}

TEST_F(LiveFailure, CommandByteThatCannotBeSent) {
    // The peer resets the connection while the client deals with its first answer.
    const Descriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(listener.get(), 1), 0);
    getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
    std::atomic<bool> reset = false;
    std::thread peer([&] {
        Descriptor client(accept(listener.get(), nullptr, nullptr));
        std::uint8_t command = 9;
        EXPECT_EQ(recv(client.get(), &command, 1, 0), 1);
        EXPECT_EQ(command, 0);
        const Bytes answer = block(payload(18));
        EXPECT_EQ(send(client.get(), answer.data(), answer.size(), 0),
                  static_cast<ssize_t>(answer.size()));
        const linger hard{1, 0};
        setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        client.reset();
        reset = true;
    });
    store_.hooks.timeBaseListener = [&](std::uint64_t, std::uint64_t) {
        while (!reset)
            std::this_thread::yield();
    };
    EXPECT_TRUE(run(ntohs(address.sin_port)));
    peer.join();
    EXPECT_EQ(takeMessages(), Texts{"Network failure"});
    EXPECT_NE(printed_.find("WRN Write error: Connection reset by peer"), std::string::npos);
    EXPECT_EQ(store_.framesRead, 1U);
}

// The command bytes that a client sends, with what it is answered.
TEST_F(LiveFailure, EncryptedCommandByteIsOne) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const Descriptor near(ends[0]);
    const Descriptor far(ends[1]);
    // A key whose characters are two bytes each: only half of its bytes count.
    const std::string key = "\xC3\xA5\xC3\xA4\xC3\xB6\xC3\xBC";
    FrameSender sender(key.substr(0, 4), {1, 2, 3});
    Bytes plain = block(payload(180));
    append(plain, block(payload(360, 2)));
    plain.resize(plain.size() / 16 * 16);
    Bytes stream(sender.head.begin(), sender.head.end());
    append(stream, sender.frame({}));
    append(stream, sender.frame(plain));
    ASSERT_EQ(write(far.get(), stream.data(), stream.size()), static_cast<ssize_t>(stream.size()));

    StreamCodec codec;
    ASSERT_EQ(initNetworkStreamCodec(codec), 0);
    EncryptedStream encrypted;
    EXPECT_EQ(encrypted.readFrame(codec, near.get(), key), kStreamDone);
    EXPECT_EQ(encrypted.unpackNext(codec), kStreamDone);
    EXPECT_EQ(encrypted.readFrame(codec, near.get(), key), kStreamDone);
    EXPECT_EQ(encrypted.unpackNext(codec), kStreamBlock);
    EXPECT_EQ(takeRecords(codec), payload(180));
}

TEST_F(LiveFailure, PlainBufferTurnsRoundWithoutLoss) {
    // Frames of a size that fits the buffer once and a half, so that waiting bytes are moved.
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const Descriptor near(ends[0]);
    Descriptor far(ends[1]);
    Bytes plain;
    Bytes expected;
    for (std::uint32_t i = 0; plain.size() < 5'000'000; ++i) {
        append(plain, block(payload(17982, i)));
        append(expected, payload(17982, i));
    }
    plain.resize(plain.size() / 16 * 16);
    std::thread peer([&] {
        FrameSender sender("k", {});
        append(plain, {});
        const auto put = [&](const Bytes& bytes) {
            for (std::size_t at = 0; at < bytes.size();) {
                const ssize_t sent = write(far.get(), bytes.data() + at, bytes.size() - at);
                ASSERT_GT(sent, 0);
                at += static_cast<std::size_t>(sent);
            }
        };
        put(Bytes(sender.head.begin(), sender.head.end()));
        for (std::size_t at = 0; at < plain.size(); at += 1'400'000)
            put(sender.frame(
                std::span(plain).subspan(at, std::min<std::size_t>(1'400'000, plain.size() - at))));
        far.reset();
    });
    StreamCodec codec;
    ASSERT_EQ(initNetworkStreamCodec(codec), 0);
    EncryptedStream encrypted;
    Bytes records;
    while (encrypted.readFrame(codec, near.get(), "k") == kStreamDone)
        while (encrypted.unpackNext(codec) == kStreamBlock)
            append(records, takeRecords(codec));
    peer.join();
    EXPECT_GE(records.size(), expected.size() - 17982);
    EXPECT_TRUE(std::equal(records.begin(), records.end(), expected.begin()));
}

}  // namespace
}  // namespace trelis::test
