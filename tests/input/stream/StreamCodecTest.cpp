#include "input/stream/StreamCodec.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <atomic>
#include <csignal>
#include <random>
#include <thread>

#include "input/stream/BlockMaker.h"
#include "input/stream/StreamLog.h"

namespace trelis::test {
namespace {

struct Reader {
    Reader() { EXPECT_EQ(initStreamCodec(codec, 1), 0); }
    StreamCodec codec;
};

/// Runs readBlock until it gives something else than a block; that result, the records joined, and
/// what was printed.
struct Outcome {
    int code = 0;
    int blocks = 0;
    Bytes records;
    std::string printed;
};

Outcome readAll(StreamCodec& codec, int fd) {
    Outcome outcome;
    testing::internal::CaptureStderr();
    while ((outcome.code = readBlock(codec, fd)) == kStreamBlock) {
        ++outcome.blocks;
        append(outcome.records, takeRecords(codec));
    }
    outcome.printed = testing::internal::GetCapturedStderr();
    return outcome;
}

Outcome readAll(std::span<const std::uint8_t> content) {
    const Descriptor file = fileWith(content);
    Reader reader;
    return readAll(reader.codec, file.get());
}

TEST(StreamCodec, ReadsManyBlocksInOrder) {
    // Incompressible and compressible blocks of many sizes, several times the read-ahead.
    Bytes stream;
    Bytes expected;
    std::mt19937 random(7);
    for (std::uint32_t i = 0; i < 60; ++i) {
        Bytes content = payload(kRecordSize * (1 + random() % 1000), i);
        if (i % 3 == 0) std::fill(content.begin(), content.end(), std::uint8_t{7});
        append(stream, block(content));
        append(expected, content);
    }
    const Outcome outcome = readAll(stream);
    EXPECT_EQ(outcome.code, kStreamEnd);
    EXPECT_EQ(outcome.blocks, 60);
    EXPECT_EQ(outcome.records, expected);
    EXPECT_EQ(outcome.printed, "");
}

TEST(StreamCodec, FirstBlockRulesTheRecordSize) {
    const Bytes old = payload(34);
    Outcome outcome = readAll(block(old, kOldBlockMagic));
    ASSERT_EQ(outcome.records.size(), 36U);
    EXPECT_EQ(outcome.records[17], 0);
    EXPECT_EQ(outcome.records[35], 0);
    EXPECT_TRUE(std::equal(old.begin() + 17, old.end(), outcome.records.begin() + 18));

    const Bytes first = payload(18);
    const Bytes second = payload(36, 5);
    Bytes mixed = block(first);
    append(mixed, block(second, kOldBlockMagic));
    outcome = readAll(mixed);
    Bytes joined = first;
    append(joined, second);
    EXPECT_EQ(outcome.records, joined);
}

TEST(StreamCodec, BytesBehindTheLastWholeRecordAreIgnored) {
    const Bytes content = payload(19);
    const Outcome outcome = readAll(block(content));
    EXPECT_EQ(outcome.records, Bytes(content.begin(), content.begin() + 18));
    EXPECT_TRUE(readAll(block(payload(17))).records.empty());
}

TEST(StreamCodec, NoRecordIsGivenBehindTheLast) {
    Reader reader;
    std::int32_t consumed = 0;
    ASSERT_EQ(unpackBlock(reader.codec, block(payload(18)), consumed), kStreamBlock);
    std::array<std::uint8_t, kRecordSize> record{};
    EXPECT_EQ(recordsLeft(reader.codec), 1);
    EXPECT_TRUE(nextRecord(reader.codec, record));
    EXPECT_EQ(recordsLeft(reader.codec), 0);
    EXPECT_FALSE(nextRecord(reader.codec, record));
    rewindRecords(reader.codec);
    EXPECT_EQ(recordsLeft(reader.codec), 1);
}

// A block of literals that claims a match at offset 0 behind them: the library then copies what the
// output held.
Bytes blockWithZeroOffset() {
    // 1 literal, a match of 19 + 200 bytes at offset 0, 5 literals.
    const Bytes packed = {0x1F, 0xAA, 0x00, 0x00, 200, 0x50, 1, 2, 3, 4, 5};
    return rawBlock(kBlockMagic, packed);
}

TEST(StreamCodec, NoByteOfAnEarlierBlockComesBack) {
    Bytes stream = block(Bytes(18000, 0xEE));
    append(stream, blockWithZeroOffset());
    const Outcome outcome = readAll(stream);
    const auto second = std::span(outcome.records).subspan(18000);
    EXPECT_EQ(std::count(second.begin(), second.end(), 0xEE), 0);
}

struct Damage {
    const char* name;
    Bytes bytes;
    int code;
    std::vector<std::string> printed;  ///< in this order
};

std::vector<Damage> damages() {
    const Bytes good = block(payload(180));
    const auto cut = [&](std::size_t length) {
        return Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
    };
    const auto withLength = [&](std::uint32_t length) {
        Bytes bytes = cut(4);
        appendWord(bytes, length);
        append(bytes, std::span(good).subspan(8));
        return bytes;
    };
    Bytes wrongMagic = good;
    wrongMagic[2] ^= 1U;
    Bytes tooLong = withLength(18087);
    tooLong.resize(8 + 18087, 0);
    const std::string magicText = "WRN Didn't find magic number";
    const std::string packText = "WRN uncompress error (p->in_len: ";
    return {
        {"magic cut", cut(3), kStreamEnd, {}},
        {"length cut", cut(6), kStreamEnd, {}},
        {"no content", cut(8), kStreamEnd, {}},
        {"content cut", cut(good.size() - 1), kStreamEnd, {}},
        {"wrong magic", wrongMagic, kStreamError, {magicText}},
        {"length 0", withLength(0), kStreamError, {"ERR Data len 0: Stopping", packText + "0"}},
        {"length too short", withLength(20), kStreamError, {packText + "20"}},
        {"length 18087", tooLong, kStreamError, {"18087"}},
        {"length above 2 GB", withLength(0xFFFFFFF0U), kStreamError, {"4294967280"}},
        {"unpacks to 18001", block(Bytes(18001, 3)), kStreamError, {packText}},
        {"unpacks to nothing", rawBlock(kBlockMagic, Bytes{0}), kStreamError, {packText + "1"}},
        {"match before the start",
         rawBlock(kBlockMagic, Bytes{0x1F, 0xAA, 0xFF, 0xFF, 2, 0}),
         kStreamError,
         {packText}},
    };
}

TEST(StreamCodec, DamageEndsTheStreamWithItsDiagnostic) {
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes before = payload(360, 9);
        Bytes stream = block(before);
        append(stream, damage.bytes);
        const Outcome outcome = readAll(stream);
        EXPECT_EQ(outcome.code, damage.code);
        EXPECT_EQ(outcome.records, before);
        std::size_t from = 0;
        for (const auto& text : damage.printed) {
            from = outcome.printed.find(text, from);
            ASSERT_NE(from, std::string::npos) << outcome.printed;
        }
        EXPECT_EQ(outcome.printed.empty(), damage.printed.empty()) << outcome.printed;
    }
}

TEST(StreamCodec, LargestBlockOfTheFormatIsRead) {
    const Bytes content = payload(18000);
    const Bytes packed = compress(content);
    ASSERT_GT(packed.size(), 18000U);  // incompressible
    EXPECT_EQ(readAll(rawBlock(kBlockMagic, packed)).records, content);
}

TEST(StreamCodec, UnpacksFromMemoryWhatIsWhole) {
    const Bytes content = payload(90);
    Bytes data = block(content);
    const std::size_t first = data.size();
    append(data, block(payload(18, 4)));
    Reader reader;
    std::int32_t consumed = 99;
    for (std::size_t length = 0; length < first; ++length) {
        EXPECT_EQ(unpackBlock(reader.codec, std::span(data).first(length), consumed), kStreamDone);
        EXPECT_EQ(consumed, 0);
    }
    EXPECT_EQ(unpackBlock(reader.codec, std::span(data).first(first), consumed), kStreamBlock);
    EXPECT_EQ(consumed, static_cast<std::int32_t>(first));
    EXPECT_EQ(takeRecords(reader.codec), content);
    EXPECT_EQ(unpackBlock(reader.codec, std::span(data).subspan(first), consumed), kStreamBlock);
    EXPECT_EQ(takeRecords(reader.codec), payload(18, 4));

    testing::internal::CaptureStderr();
    for (const Damage& damage : damages()) {
        if (damage.code != kStreamError) continue;
        EXPECT_EQ(unpackBlock(reader.codec, damage.bytes, consumed), kStreamError) << damage.name;
        EXPECT_EQ(consumed, 0);
        EXPECT_EQ(recordsLeft(reader.codec), 0);
    }
    testing::internal::GetCapturedStderr();
}

TEST(StreamCodec, BlocksAndPlainReadsShareOneFile) {
    Bytes content = {1, 2, 3, 4, 5};
    append(content, block(payload(54)));
    const Descriptor file = fileWith(content);
    Reader reader;
    Bytes head(5);
    ASSERT_EQ(readFully(reader.codec, file.get(), head), kStreamDone);
    EXPECT_EQ(head, Bytes({1, 2, 3, 4, 5}));
    Bytes out(18000);
    std::int32_t length = 0;
    ASSERT_EQ(readBlockInto(reader.codec, file.get(), out, length), kStreamBlock);
    out.resize(static_cast<std::size_t>(length));
    EXPECT_EQ(out, payload(54));
    EXPECT_EQ(recordsLeft(reader.codec), 0);
    EXPECT_EQ(readFully(reader.codec, file.get(), head), kStreamEnd);
    EXPECT_EQ(readBlockInto(reader.codec, file.get(), out, length), kStreamError);  // out too small
}

TEST(StreamCodec, InitRefusesAnUnknownDirection) {
    StreamCodec codec;
    testing::internal::CaptureStderr();
    EXPECT_EQ(initStreamCodec(codec, 2), 1);
    const std::string printed = testing::internal::GetCapturedStderr();
    // Every digit of the time stamp stands for any other.
    std::string form = printed;
    std::replace_if(
        form.begin(), form.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
    EXPECT_EQ(form,
              "\033[00m00000000 00:00:00.000000 ERR Invalid compression direction: 0\033[0m\n")
        << printed;
    EXPECT_EQ(initStreamCodec(codec, 0), 0);
    freeStreamCodec(&codec);
    freeStreamCodec(nullptr);
    stopStreamRead(nullptr);
    EXPECT_EQ(readBlock(codec, 0), kStreamError);  // no buffers any more
}

TEST(StreamCodec, ReadErrorIsTold) {
    Reader reader;
    const Outcome outcome = readAll(reader.codec, -1);
    EXPECT_EQ(outcome.code, kStreamError);
    EXPECT_NE(outcome.printed.find("WRN Stream read error: Bad file descriptor"),
              std::string::npos);
}

struct Link {
    Link() : Link(makePair()) {}
    explicit Link(std::array<int, 2> ends) : near(ends[0]), far(ends[1]) {
        EXPECT_EQ(initNetworkStreamCodec(codec), 0);
        fcntl(near.get(), F_SETFL, O_NONBLOCK);
    }
    static std::array<int, 2> makePair() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        return ends;
    }
    Descriptor near;
    Descriptor far;
    StreamCodec codec;
};

TEST(StreamCodecSocket, BlocksArriveByteByByte) {
    Link link;
    Bytes stream = block(payload(180));
    append(stream, block(payload(360, 3)));
    std::thread sender([&] {
        for (const std::uint8_t byte : stream) {
            EXPECT_EQ(send(link.far.get(), &byte, 1, 0), 1);
            std::this_thread::yield();
        }
        link.far.reset();
    });
    const Outcome outcome = readAll(link.codec, link.near.get());
    sender.join();
    EXPECT_EQ(outcome.code, kStreamEnd);
    Bytes expected = payload(180);
    append(expected, payload(360, 3));
    EXPECT_EQ(outcome.records, expected);
}

TEST(StreamCodecSocket, StopEndsAnIdleReadAndATricklingOne) {
    for (const bool trickles : {false, true}) {
        Link link;
        std::atomic<bool> over = false;
        std::thread peer([&] {
            while (trickles && !over) {
                const std::uint8_t byte = 0x12;
                EXPECT_EQ(write(link.far.get(), &byte, 1), 1);
                std::this_thread::yield();
            }
        });
        std::thread stopper([&] { stopStreamRead(&link.codec); });
        Bytes wanted(1'000'000);
        EXPECT_EQ(readFully(link.codec, link.near.get(), wanted), kStreamEnd);
        over = true;
        stopper.join();
        peer.join();
    }
}

TEST(StreamCodecSocket, SignalsDoNotEndARead) {
    Link link;
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t reader = pthread_self();
    std::thread sender([&] {
        for (int i = 0; i < 1000; ++i) {
            pthread_kill(reader, SIGUSR1);
            std::this_thread::yield();
        }
        const Bytes stream = block(payload(18));
        EXPECT_EQ(write(link.far.get(), stream.data(), stream.size()),
                  static_cast<ssize_t>(stream.size()));
    });
    EXPECT_EQ(readBlock(link.codec, link.near.get()), kStreamBlock);
    sender.join();
}

}  // namespace
}  // namespace trelis::test
