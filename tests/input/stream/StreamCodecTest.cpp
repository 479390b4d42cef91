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
    Bytes expected(old.begin(), old.begin() + 17);
    append(expected, Bytes{0});
    append(expected, std::span(old).last(17));
    append(expected, Bytes{0});
    EXPECT_EQ(readAll(block(old, kOldBlockMagic)).records, expected);

    expected = payload(54);
    Bytes mixed = block(std::span(expected).first(18));
    append(mixed, block(std::span(expected).last(36), kOldBlockMagic));
    EXPECT_EQ(readAll(mixed).records, expected);
}

TEST(StreamCodec, WholeRecordsAreGivenAndNoMore) {
    const Bytes content = payload(19);
    Reader reader;
    std::int32_t consumed = 0;
    ASSERT_EQ(unpackBlock(reader.codec, block(content), consumed), kStreamBlock);
    EXPECT_EQ(takeRecords(reader.codec), Bytes(content.begin(), content.begin() + 18));
    std::array<std::uint8_t, kRecordSize> record{};
    EXPECT_FALSE(nextRecord(reader.codec, record));
    rewindRecords(reader.codec);
    EXPECT_EQ(recordsLeft(reader.codec), 1);
    EXPECT_TRUE(readAll(block(payload(17))).records.empty());
}

TEST(StreamCodec, NoByteOfAnEarlierBlockComesBack) {
    // A literal, a match of 19 + 200 bytes at offset 0, which the library takes as one with what
    // the output held, and 5 literals.
    const Bytes packed = {0x1F, 0xAA, 0x00, 0x00, 200, 0x50, 1, 2, 3, 4, 5};
    Bytes stream = block(Bytes(18000, 0xEE));
    append(stream, rawBlock(kBlockMagic, packed));
    const Outcome outcome = readAll(stream);
    EXPECT_EQ(outcome.blocks, 2);
    EXPECT_EQ(std::count(outcome.records.begin(), outcome.records.end(), 0xEE), 18000);
}

struct Damage {
    const char* name;
    Bytes bytes;
    std::vector<std::string> printed;  ///< in this order; nothing: it is taken for the end
};

std::vector<Damage> damages() {
    const Bytes good = block(payload(180));
    const auto cut = [&](std::size_t length) { return Bytes(good.begin(), good.begin() + length); };
    const auto withLength = [&](std::uint32_t length) {
        Bytes bytes = cut(4);
        appendWord(bytes, length);
        append(bytes, std::span(good).subspan(8));
        return bytes;
    };
    const Bytes beforeStart = {0x1F, 0xAA, 0xFF, 0xFF, 2, 0};
    const std::string tooLong = "WRN Data len ";
    const std::string packText = "WRN uncompress error (p->in_len: ";
    return {
        {"magic cut", cut(3), {}},
        {"length cut", cut(6), {}},
        {"no content", cut(8), {}},
        {"content cut", cut(good.size() - 1), {}},
        {"wrong magic", rawBlock(kBlockMagic ^ 0x10000U, good), {"WRN Didn't find magic number"}},
        {"length 0", withLength(0), {"ERR Data len 0: Stopping", packText + "0"}},
        {"length too short", withLength(20), {packText + "20"}},
        {"length 18087", rawBlock(kBlockMagic, Bytes(18087)), {tooLong + "18087"}},
        {"length above 2 GB", withLength(0xFFFFFFF0U), {tooLong + "4294967280"}},
        {"unpacks to 18001", block(Bytes(18001, 3)), {packText}},
        {"unpacks to nothing", rawBlock(kBlockMagic, Bytes{0}), {packText + "1"}},
        {"match before the start", rawBlock(kBlockMagic, beforeStart), {packText}},
    };
}

TEST(StreamCodec, DamageEndsTheStreamWithItsDiagnostic) {
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes before = payload(360, 9);
        Bytes stream = block(before);
        append(stream, damage.bytes);
        const Outcome outcome = readAll(stream);
        EXPECT_EQ(outcome.code, damage.printed.empty() ? kStreamEnd : kStreamError);
        EXPECT_EQ(outcome.records, before);
        expectInOrder(outcome.printed, damage.printed);
        EXPECT_EQ(outcome.printed.empty(), damage.printed.empty()) << outcome.printed;
    }
}

TEST(StreamCodec, LargestBlockOfTheFormatIsRead) {
    const Bytes packed = compress(payload(18000));
    ASSERT_GT(packed.size(), 18000U);  // incompressible
    EXPECT_EQ(readAll(rawBlock(kBlockMagic, packed)).records, payload(18000));
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
        if (damage.printed.empty()) continue;
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
    // Every digit of the time stamp stands for any other.
    std::string form = testing::internal::GetCapturedStderr();
    std::replace_if(
        form.begin(), form.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
    EXPECT_EQ(form,
              "\033[00m00000000 00:00:00.000000 ERR Invalid compression direction: 0\033[0m\n");
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
    expectInOrder(outcome.printed, {"WRN Stream read error: Bad file descriptor"});
}

struct Link : SocketPair {
    Link() {
        EXPECT_EQ(initNetworkStreamCodec(codec), 0);
        fcntl(near.get(), F_SETFL, O_NONBLOCK);
    }
    StreamCodec codec;
};

TEST(StreamCodecSocket, BlocksArriveByteByByteAmongSignals) {
    Link link;
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t reader = pthread_self();
    const Bytes expected = payload(540);
    Bytes stream = block(std::span(expected).first(180));
    append(stream, block(std::span(expected).last(360)));
    std::thread sender([&] {
        for (const std::uint8_t byte : stream) {
            pthread_kill(reader, SIGUSR1);
            std::this_thread::yield();
            EXPECT_EQ(send(link.far.get(), &byte, 1, MSG_NOSIGNAL), 1);
            std::this_thread::yield();
        }
        link.far.reset();
    });
    const Outcome outcome = readAll(link.codec, link.near.get());
    link.near.reset();  // so that the sender does not wait for a reader that gave up
    sender.join();
    EXPECT_EQ(outcome.code, kStreamEnd);
    EXPECT_EQ(outcome.records, expected);
}

TEST(StreamCodecSocket, StopEndsAnIdleReadAndATricklingOne) {
    for (const bool trickles : {false, true}) {
        Link link;
        std::atomic<bool> over = false;
        std::thread peer([&] {
            while (trickles && !over) {
                const std::uint8_t byte = 0x12;
                send(link.far.get(), &byte, 1, MSG_DONTWAIT);  // a reader that stopped takes none
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

}  // namespace
}  // namespace trelis::test
