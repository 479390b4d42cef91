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
#include "simlogger/StreamCipher.h"

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

TEST_F(LiveFailure, EachEndIsToldInItsWords) {
    const std::string unpack = "WRN uncompress error (p->in_len: ";
    const std::string magic = "WRN Didn't find magic number";
    const std::string odd = "ERR Length: 17 is not divisible by 16";
    const std::string reset = "WRN Stream read error: Connection reset by peer";
    const struct {
        std::string loggerKey;
        std::string clientKey;
        Fault fault;
        std::uint64_t after;  ///< good answers before it
        Texts messages;
        std::string printed = {};  ///< by the stream library
    } rows[] = {
        {"", "", Fault::kClose, 0, {kEnded, kTryPlain}},
        {"", "", Fault::kClose, 2, {kEnded}},
        {"", "", Fault::kReset, 2, {kBadData}, reset},
        {"", "", Fault::kGarbage, 2, {kBadData}, magic},
        {"", "", Fault::kBadBlock, 0, {kBadData, kTryPlain}, unpack},
        {"", "", Fault::kEmpty, 2, {kBadData}, "ERR Data len 0: Stopping"},
        {"", "", Fault::kTooLong, 2, {kBadData}, "18087"},
        {"", "", Fault::kOverflow, 2, {kBadData}, "4294967295"},
        {kKey, kKey, Fault::kClose, 0, {kEnded, kTryKey}},
        {kKey, kKey, Fault::kClose, 2, {kEnded}},
        {kKey, kKey, Fault::kReset, 2, {}, reset},
        {kKey, kKey, Fault::kGarbage, 0, {kTryKey}, magic},
        {kKey, kKey, Fault::kBadBlock, 0, {kTryKey}, unpack},
        {kKey, kKey, Fault::kEmpty, 0, {kEnded}},  // empty frames are allowed
        {kKey, kKey, Fault::kTooLong, 2, {"ERR Got invalid data length when decrypting"}},
        {kKey, kKey, Fault::kOverflow, 2, {"ERR Decryption buffer overflow"}},
        {kKey, kKey, Fault::kOddLength, 2, {"ERR Decryption failed"}, odd},
        {kKey, kKey, Fault::kWrongTag, 2, {kBadTag}},
        {kKey, kKey, Fault::kWrongKey, 0, {kBadTag, kTryKey}},
        {kKey, "", Fault::kNone, 0, {kBadData, kTryPlain}, magic},  // encrypted data unasked
    };
    const auto signal = store_.getSignal("Can0.Fast.Counter");
    for (const auto& row : rows) {
        signal->parsed = false;
        signal->clearSamples();
        store_.recount();
        SCOPED_TRACE("fault " + std::to_string(static_cast<int>(row.fault)) + " key " +
                     row.clientKey);
        sim::ServeOptions options = fast(row.loggerKey);
        options.fault = row.fault;
        options.faultAfter = row.after;
        const ServedLogger logger(options, [this] { return sim::scenarioFeed(scenario_); });
        const bool fatal = !row.messages.empty() && row.messages.front().starts_with("ERR");
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
    Bytes blocks;
    Bytes expected;
    for (std::uint32_t i = 0; blocks.size() < 5'000'000; ++i) {
        append(blocks, block(payload(17982, i)));
        append(expected, payload(17982, i));
    }
    blocks.resize(blocks.size() / 16 * 16);
    sim::StreamCipher sender(key.substr(0, 4), {1, 2, 3});
    Bytes sent(sender.head().begin(), sender.head().end());
    for (std::span<const std::uint8_t> rest = blocks; !rest.empty();) {
        const std::size_t length = std::min<std::size_t>(1'400'000, rest.size());
        append(sent, sender.frame(rest.first(length)));
        append(sent, sender.frame({}));
        rest = rest.subspan(length);
    }
    const Descriptor file = fileWith(sent);
    StreamCodec codec;
    ASSERT_EQ(initStreamCodec(codec, 1), 0);
    EncryptedStream encrypted;
    Bytes records;
    while (encrypted.readFrame(codec, file.get(), key) == kStreamDone)
        while (encrypted.unpackNext(codec) == kStreamBlock)
            append(records, takeRecords(codec));
    expected.resize(expected.size() - 17982);  // the last block has lost its end
    EXPECT_TRUE(records == expected);
}

}  // namespace
}  // namespace trelis::test
