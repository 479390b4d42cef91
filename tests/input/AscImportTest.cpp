#include "input/AscImport.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "input/DamagedLine.h"
#include "input/LineReader.h"
#include "model/ParseNumber.h"
#include "model/builtin/BitRate.h"
#include "model/builtin/BuiltinMessages.h"
#include "support/Files.h"
#include "support/Model.h"

namespace trelis {
namespace {

/// "time id dlc interface data", the data as far as the length goes; empty for no frame.
std::string told(std::string_view line) {
    const auto frame = parseAscLine(line);
    if (!frame) return "";
    std::ostringstream text;
    text << std::dec << frame->timestamp << ' ' << std::hex << frame->id << std::dec << ' '
         << int{frame->dlc} << ' ' << int{frame->interface} << std::hex;
    for (unsigned i = 0; i < dataLength(frame->dlc); ++i)
        text << ' ' << int{frame->data[i]};
    return text.str();
}

TEST(AscLine, readsReceivedDataFrames) {
    const std::pair<const char*, const char*> cases[] = {
        {"0.0010 1 123 Rx d 2 AA BB", "1 123 2 0 aa bb"},
        {"0.0020 2 1ABCDEFx Rx d 0\r", "2 81abcdef 0 1"},
        {"  1,5 1   123   Rx   d   1   7  ", "1500 123 1 0 7"},
        {"0.0009 1 1 Rxd1 5", "0 1 1 0 5"},  // blanks of the pattern match none, too
        {"1.5 1 1 Rx d 12 1 2 3 4 5 6 7 8 9 A B C", "1500 1 12 0 1 2 3 4 5 6 7 8"},
        {"4294968.295 1 1 Rx d 0", "999 1 0 0"},  // 32 bits of ms
        {"-0.001 1 1 Rx d 0", "4294967295 1 0 0"},
        {"1e1 1 1 Rx d 0", "10000 1 0 0"},
        {"1e300 1 123 Rx d 1 0", ""},
    };
    for (const auto& [line, frame] : cases)
        EXPECT_EQ(told(line), frame) << line;
}

// What a line is to be by the C library.
std::string toldByLibrary(const std::string& line) {
    char time[128] = {}, id[128] = {}, data[128] = {};
    unsigned char channel = 0, length = 0;
    const auto scan = [&](const char* pattern) {
        data[0] = '\0';
        const int fields = std::sscanf(line.c_str(), pattern, time, &channel, id, &length, data);
        return fields == 5 || (fields == 4 && length == 0);
    };
    const bool extended = scan("%127s %hhu %127[^x]x Rx d %hhu %127[0-9A-Fa-f ]");
    if (!extended && !scan("%127s %hhu %127s Rx d %hhu %127[0-9A-Fa-f ]")) return "";
    const auto seconds = parseNumber(time);
    const char* digits = id + std::strspn(id, " \t");
    if (!seconds || std::isxdigit(*digits) == 0) return "";
    std::ostringstream text;
    text << static_cast<std::uint32_t>(std::llround(seconds->value * 1000)) << ' ' << std::hex
         << ((std::strtoul(digits, nullptr, 16) & kIdMask) | (extended ? kExtendedIdFlag : 0U))
         << std::dec << ' ' << int{length} << ' ' << int{static_cast<std::uint8_t>(channel - 1)}
         << std::hex;
    char* rest = data;
    for (unsigned i = 0; i < dataLength(length); ++i)
        text << ' ' << (std::strtoul(rest, &rest, 16) & 0xFF);
    return text.str();
}

TEST(AscLine, agreesWithTheLibrary) {
    for (const char* line :
         {"1 0 1 Rx d 1 5", "1 257 1 Rx d 1 5", "1 1 1 Rx d 3 1FF 2", "1 1 FFFFFFFFx Rx d 1 5",
          "1 1 FFFFFFFF Rx d 1 5", "", "date Mon Mar 4 08:00:00.000 am 2024",
          "base hex  timestamps absolute", "// a comment", "1 1 123 Tx d 2 AA BB", "1 1 123 Rx r",
          "1 1 123 rx d 2 AA BB", "1 1 123 Rx d", "1 1 123 Rx d 2", "x 1 123 Rx d 0",
          "1 1 ErrorFrame", "1 1 xyz Rx d 1 0", "1 a 123 Rx d 1 0",
          "2024-03-04 08:00:00.000 1 123 Rx d 1 00"})
        EXPECT_EQ(told(line), toldByLibrary(line)) << line;
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 20000; ++round) {
        const auto line =
            test::damaged(random.below(2) == 0 ? "1 2 18FEF100x Rx d 3 0 7F ff" : "1 0 7FF Rx d 0",
                          " \tx0aFRd5-+T", random);
        ASSERT_EQ(told(line), toldByLibrary(line)) << line;
    }
}

class AscImportTest : public ::testing::Test {
  protected:
    AscImportTest() {
        message->addSignal("s", signal);
        addBuiltinMessages(store);
        store.ascMode = true;
        store.hooks.ascImport = importAscFiles;
    }
    void import(const std::vector<std::string>& texts) {
        store.logFiles.clear();
        for (const std::string& text : texts)
            store.logFiles.push_back(
                folder.write("t" + std::to_string(store.logFiles.size()) + ".asc", text));
        store.running = true;
        EXPECT_TRUE(store.parseNow());
    }

    test::Folder folder;
    test::BusStore store;
    std::shared_ptr<RealMessage> message = store.addMessage(0x123, "M");
    std::shared_ptr<RealSignal> signal = test::byteAt(message, "s", 0);
};

TEST_F(AscImportTest, fillsSignalsFromAllFiles) {
    signal->setSelected(true);
    import({"date Mon Mar 4 08:00:00.000 am 2024\n0.5000 1 123 Rx d 1 01\n" + std::string(79, ' ') +
                "0.6000 1 123 Rx d 1 09\n" +
                "0.6000 1 123 Tx d 1 09\n0.7000 2 123 Rx d 1 09\n0.8000 1 123 Rx d 1 02",
            "0.9000 1 123 Rx d 1 03\n"});
    EXPECT_EQ(test::samplesOf(*signal), (test::Samples{{500, 1}, {800, 2}, {900, 3}}));
    EXPECT_EQ(store.intervalStart, 500U);
    EXPECT_EQ(store.intervalEnd, 900U);
    EXPECT_EQ(test::TestStore::messages(), test::Messages{});
    import({"0.5 1 123 Rx d 1 77\n"});
    EXPECT_EQ(signal->samples().size(), 3U) << "nothing is left to parse";
}

TEST_F(AscImportTest, measuresTheBusLoad) {
    bitRateOf(store, 0)->setSelected(true);
    import({"0.1 1 5 Rx d 0\n0.3 1 5 Rx d 0\n"});
    EXPECT_EQ(bitRateOf(store, 0)->samples().size(), 1U);
}

TEST_F(AscImportTest, endsAtAFileItCannotOpen) {
    signal->setSelected(true);
    const std::string good = folder.write("good.asc", "0.5 1 123 Rx d 1 01\n");
    store.logFiles = {good, folder / "missing.asc", good};
    store.running = true;
    EXPECT_TRUE(store.parseNow());
    EXPECT_EQ(test::TestStore::messages(),
              test::Messages{"Couldn't open file " + store.logFiles[1] + "\n"});
    EXPECT_EQ(signal->samples().size(), 1U);
    EXPECT_FALSE(store.running || store.parsing);
}

TEST_F(AscImportTest, dumpsWhatItReads) {
    store.dumpToFile = true;
    store.dumpPath = folder / "out.asc";
    store.dumpFrom = 0;
    store.dumpTo = 99'999;
    signal->setSelected(true);
    import({"1.001 1 123 Rx d 2 AA BB\n1.5 2 1ABCDEFx Rx d 0\n"});
    EXPECT_EQ(test::contentOf(store.dumpPath),
              "date Thu Jan 01 00:00:01.000 am 1970\nbase hex  timestamps absolute\n"
              "0.0010 1 123 Rx d 2 AA BB\n0.5000 2 1ABCDEFx Rx d 0\n");
}

TEST(LineReaderTest, boundsItsLines) {
    const test::Folder folder;
    std::string content = "a\n\n" + std::string(10, 'b') + "\n" + std::string(11, 'c') + "\n" +
                          std::string(300'000, 'd') + "\nlast";
    LineReader reader(folder.write("lines", content), 10);
    std::string lines;
    while (const auto line = reader.next())
        lines += std::string(line->text) + (line->complete ? "|" : "...|");
    EXPECT_EQ(lines, "a||bbbbbbbbbb|cccccccccc...|dddddddddd...|last|");
    EXPECT_FALSE(LineReader(folder / "", 10).isOpen());
    // Line ends on every place of the read-ahead.
    content.clear();
    for (int i = 0; i < 40'000; ++i)
        content += std::to_string(i) + "\n";
    LineReader many(folder.write("many", content), 10);
    for (int i = 0; i < 40'000; ++i) {
        const auto line = many.next();
        ASSERT_TRUE(line);
        ASSERT_EQ(line->text, std::to_string(i));
    }
    EXPECT_FALSE(many.next());
}

}  // namespace
}  // namespace trelis
