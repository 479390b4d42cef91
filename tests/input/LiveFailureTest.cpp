// What a live connection says and does when its peer or the way to it is not as it should be.
#include <dlfcn.h>
#include <mbedtls/aes.h>
#include <mbedtls/md.h>
#include <sys/resource.h>

#include <atomic>

#include "LiveRig.h"
#include "app/diagnostics/Exceptions.h"
#include "input/EncryptedStream.h"
#include "input/LoggerSocket.h"

// The cipher library works unless a test breaks it.
namespace {
enum class Broken { kNothing, kDigest, kCipher };
Broken broken = Broken::kNothing;
}  // namespace

extern "C" const mbedtls_md_info_t* mbedtls_md_info_from_string(const char* name) {
    if (broken == Broken::kDigest) return nullptr;
    const auto real = reinterpret_cast<decltype(&mbedtls_md_info_from_string)>(
        dlsym(RTLD_NEXT, "mbedtls_md_info_from_string"));
    return real(name);
}
extern "C" int mbedtls_aes_setkey_dec(mbedtls_aes_context* context, const unsigned char* key,
                                      unsigned bits) {
    if (broken == Broken::kCipher) return -1;
    const auto real = reinterpret_cast<decltype(&mbedtls_aes_setkey_dec)>(
        dlsym(RTLD_NEXT, "mbedtls_aes_setkey_dec"));
    return real(context, key, bits);
}

namespace trelis::test {
namespace {

using Fault = sim::Fault;

const std::string kEnded = "INF Stream ended";
const std::string kBadData = "WRN Failed to unpack data from logger";
const std::string kBadTag = "WRN Message could not be authenticated, wrong key or data corrupted";
const std::string kTryPlain = "INF Check that logger is set up for non-encrypted data";
const std::string kTryKey = "INF Check that logger is set up for encrypted data";
const std::string kKey = "geheim";
const Texts kNone;

class LiveFailure : public LiveTest {
  protected:
    /// Whether the run came to its end without a fatal message.
    bool run(std::uint16_t port, const std::string& key = {}) {
        target(port, key);
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

    std::string printed_;  // of the last run
};

struct Row {
    Fault fault;
    std::uint64_t after;  ///< good answers before it
    Texts messages;
    std::string printed;  ///< by the stream library
    std::string loggerKey;
    std::string clientKey;
};

Row plain(Fault fault, std::uint64_t after, Texts messages, std::string printed = {}) {
    return {fault, after, std::move(messages), std::move(printed), "", ""};
}
Row secret(Fault fault, std::uint64_t after, Texts messages, std::string printed = {}) {
    return {fault, after, std::move(messages), std::move(printed), kKey, kKey};
}

TEST_F(LiveFailure, EachEndIsToldInItsWords) {
    const std::string unpack = "WRN uncompress error (p->in_len: ";
    const std::string magic = "WRN Didn't find magic number";
    const std::string reset = "WRN Stream read error: Connection reset by peer";
    const std::vector<Row> rows = {
        plain(Fault::kClose, 0, {kEnded, kTryPlain}),
        plain(Fault::kClose, 2, {kEnded}),
        plain(Fault::kReset, 2, {kBadData}, reset),
        plain(Fault::kGarbage, 2, {kBadData}, magic),
        plain(Fault::kBadBlock, 0, {kBadData, kTryPlain}, unpack),
        plain(Fault::kEmpty, 2, {kBadData}, "ERR Data len 0: Stopping"),
        plain(Fault::kTooLong, 2, {kBadData}, "18087"),
        plain(Fault::kOverflow, 2, {kBadData}, "4294967295"),
        secret(Fault::kClose, 0, {kEnded, kTryKey}),
        secret(Fault::kClose, 2, {kEnded}),
        secret(Fault::kReset, 2, kNone, reset),
        secret(Fault::kGarbage, 0, {kTryKey}, magic),
        secret(Fault::kBadBlock, 0, {kTryKey}, unpack),
        secret(Fault::kEmpty, 0, {kEnded}),  // empty frames are allowed
        secret(Fault::kTooLong, 2, {"ERR Got invalid data length when decrypting"}),
        secret(Fault::kOverflow, 2, {"ERR Decryption buffer overflow"}),
        secret(Fault::kOddLength, 2, {"ERR Decryption failed"},
               "ERR Length: 17 is not divisible by 16"),
        secret(Fault::kWrongTag, 2, {kBadTag}),
        secret(Fault::kWrongKey, 0, {kBadTag, kTryKey}),
        {Fault::kNone, 0, {kBadData, kTryPlain}, magic, kKey, ""},  // encrypted data unasked
    };
    const auto signal = store_.getSignal("Can0.Fast.Counter");
    for (const Row& row : rows) {
        signal->parsed = false;
        signal->clearSamples();
        store_.recount();
        SCOPED_TRACE("fault " + std::to_string(static_cast<int>(row.fault)) + " key " +
                     row.clientKey);
        sim::ServeOptions options = fast(row.loggerKey);
        options.fault = row.fault;
        options.faultAfter = row.after;
        const ServedLogger logger(options, [this] { return sim::scenarioFeed(scenario_); });
        const bool fatal = row.messages != kNone && row.messages.front().starts_with("ERR");
        EXPECT_EQ(run(logger.server().port(), row.clientKey), !fatal);
        EXPECT_EQ(takeMessages(), row.messages) << printed_;
        EXPECT_NE(printed_.find(row.printed), std::string::npos) << printed_;
        EXPECT_EQ(printed_.find(kKey), std::string::npos);
        EXPECT_GE(store_.framesRead, 1000 * row.after);
        EXPECT_EQ(signal->hasData, store_.framesRead > 0) << "what came before the fault is kept";
    }
}

TEST_F(LiveFailure, CipherThatDoesNotWork) {
    for (const auto& [what, text] :
         {std::pair(Broken::kDigest, "ERR Decryption initialization failed"),
          std::pair(Broken::kCipher, "ERR Failed to start decryption")}) {
        const ServedLogger logger(fast(kKey), [this] { return sim::scenarioFeed(scenario_); });
        broken = what;
        EXPECT_FALSE(run(logger.server().port(), kKey));
        broken = Broken::kNothing;
        EXPECT_EQ(takeMessages(), Texts{text});
    }
}

TEST_F(LiveFailure, NoSocketNoHostNoPeer) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    target(1);
    store_.hostName = std::string(300, 'x');
    LiveLink link;
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    runLiveConnection(store_, link);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(takeMessages(), Texts{"WRN Network connection failed"});
    runLiveConnection(store_, link);
    EXPECT_EQ(takeMessages(), Texts{"WRN Network connection failed, no such host"});

    EXPECT_TRUE(run(Listener(false).port));
    EXPECT_EQ(takeMessages(), Texts{"WRN Network connection failed: Connection refused"});
    EXPECT_FALSE(store_.connected);

    const DeafListener deaf;
    target(deaf.port);
    EXPECT_EQ(connectToLogger(store_, std::chrono::milliseconds(20)), kNotConnected);
    EXPECT_EQ(takeMessages(), Texts{"WRN Network connection failed: Connection timed out"});
}

TEST_F(LiveFailure, CommandByteThatCannotBeSent) {
    // The peer resets the connection while the client deals with its first answer.
    const Listener listener;
    std::atomic<bool> reset = false;
    std::thread peer([&] {
        Descriptor client(accept(listener.socket.get(), nullptr, nullptr));
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
    EXPECT_TRUE(run(listener.port));
    peer.join();
    EXPECT_EQ(takeMessages(), Texts{"WRN Network failure"});
    EXPECT_NE(printed_.find("WRN Write error: Connection reset by peer"), std::string::npos);
    EXPECT_EQ(store_.framesRead, 1U);
}

/// The two ends of a connection without a port.
struct SocketPair {
    SocketPair() : SocketPair(make()) {}
    explicit SocketPair(std::array<int, 2> ends) : near(ends[0]), far(ends[1]) {}
    static std::array<int, 2> make() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        return ends;
    }
    Descriptor near;
    Descriptor far;
};

// A stop shuts the socket down, which the writer may meet before it looks for the stop.
TEST_F(LiveFailure, StopOnTheWayToACommandByteIsSilent) {
    const SocketPair pair;
    shutdown(pair.near.get(), SHUT_RDWR);
    target(1);
    store_.socket = pair.near.get();
    for (const bool stopped : {false, true}) {
        store_.liveStopRequested = stopped;
        testing::internal::CaptureStderr();
        EXPECT_EQ(sendCommand(store_, 0), SendResult::kFailed);
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), stopped);
    }
    store_.socket = -1;
}

TEST_F(LiveFailure, PlainBufferTurnsRoundWithoutLoss) {
    // Frames of a size that fits the buffer once and a half, so that waiting bytes are moved. The
    // key's characters are two bytes each: only half of its bytes count.
    const std::string key = "\xC3\xA5\xC3\xA4\xC3\xB6\xC3\xBC";
    SocketPair pair;
    Bytes stream;
    Bytes expected;
    for (std::uint32_t i = 0; stream.size() < 5'000'000; ++i) {
        append(stream, block(payload(17982, i)));
        append(expected, payload(17982, i));
    }
    stream.resize(stream.size() / 16 * 16);
    std::thread peer([&] {
        FrameSender sender(key.substr(0, 4), {1, 2, 3});
        const auto put = [&](std::span<const std::uint8_t> bytes) {
            while (!bytes.empty()) {
                const ssize_t sent = write(pair.far.get(), bytes.data(), bytes.size());
                ASSERT_GT(sent, 0);
                bytes = bytes.subspan(static_cast<std::size_t>(sent));
            }
        };
        put(sender.head);
        for (std::span<const std::uint8_t> rest = stream; !rest.empty();) {
            const std::size_t length = std::min<std::size_t>(1'400'000, rest.size());
            put(sender.frame(rest.first(length)));
            put(sender.frame({}));
            rest = rest.subspan(length);
        }
        pair.far.reset();
    });
    StreamCodec codec;
    ASSERT_EQ(initNetworkStreamCodec(codec), 0);
    EncryptedStream encrypted;
    Bytes records;
    while (encrypted.readFrame(codec, pair.near.get(), key) == kStreamDone)
        while (encrypted.unpackNext(codec) == kStreamBlock)
            append(records, takeRecords(codec));
    peer.join();
    EXPECT_GE(records.size(), expected.size() - 17982);
    EXPECT_TRUE(std::equal(records.begin(), records.end(), expected.begin()));
}

}  // namespace
}  // namespace trelis::test
