// Recordings read into signals: the time axis over files, damage, bounded files, the dump.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "Recording.h"
#include "input/LogFiles.h"
#include "input/LogParser.h"
#include "model/RealMessage.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

using test::frameAt;
using test::Recording;

constexpr std::uint64_t kEight = 1709539200000;  // 2024-03-04 08:00:00 UTC, ms
constexpr std::uint32_t kId = 0x123;

using Times = std::vector<std::uint64_t>;

class LogParserTest : public testing::Test {
  protected:
    LogParserTest() {
        store_.hooks.logFiles = parseLogs;
        signal_ = addSignal(0, kId);
        signal_->setSelected(true);
    }

    std::shared_ptr<RealSignal> addSignal(std::uint32_t interface, std::uint32_t id) {
        auto owner = store_.findInterfaceByNumber(interface);
        if (!owner) owner = store_.addInterface("Can" + std::to_string(interface), interface);
        auto message = RealMessage::create(id, "M" + std::to_string(id), owner);
        owner->addMessage(message);
        auto signal = RealSignal::create(message, "S", 0, 16, 1, '+', "", 1, 0, 0, 0);
        message->addSignal("S", signal);
        return signal;
    }

    // Adds a recording whose frames of the wanted message have these time stamps; each has a new
    // value, so that each is stored.
    void addFile(const std::string& start, const std::vector<std::uint32_t>& timestamps) {
        std::vector<Frame> frames;
        for (const std::uint32_t timestamp : timestamps)
            frames.push_back(frameAt(timestamp, kId, ++value_));
        Recording recording(start);
        if (!frames.empty()) recording.frames(frames);
        add(recording.bytes);
    }
    void add(const std::string& bytes) {
        addLogFile(store_, folder_.write("log" + std::to_string(++files_) + ".bin", bytes));
    }
    // Forgets files and samples.
    void restart() {
        clearLogFiles(store_);
        signal_->parsed = false;
        signal_->clearSamples();
        store_.recount();
        store_.firstTime = Store::kNoTime;
        store_.lastTime = 0;
        store_.running = true;
    }
    // Absolute times of the stored samples less `origin`; flushing adds none, as the last value is
    // always new.
    Times parse(std::uint64_t origin = kEight) {
        EXPECT_TRUE(store_.parseNow());
        Times times;
        for (const Sample& sample : signal_->samples())
            times.push_back(sample.time - origin);
        return times;
    }
    static std::vector<std::string> messages() { return test::TestStore::messages(); }

    test::Folder folder_;
    test::TestStore store_;
    std::shared_ptr<RealSignal> signal_;
    std::uint64_t value_ = 0;
    int files_ = 0;
};

TEST_F(LogParserTest, HeadersAreJudged) {
    const struct {
        const char* line;
        std::int64_t start;
    } cases[] = {
        {"Log started at Mon 2024-03-04 08:00:00.250 on TESTLOG", 1709539200250},
        {"Log started at Mon 2024-03-04 08:00:00", 1709539200000},  // seven fields
        {"Log started at Mon 2024-03-04 08:00:00.250", -1},         // eight
        {"Log started at Mon 2024-03-04 08:00", -1},
        {"Log started at Mon 2024-03-04 08:00:00.250 on TESTLOG and a long tail of words",
         1709539200250},
        {"", -1},
    };
    for (const auto& test : cases) {
        const auto path = folder_.write("head", std::string(test.line) + "\nLOGSTART\n");
        EXPECT_EQ(readLogStartTime(store_, path), test.start) << test.line;
    }
    EXPECT_EQ(readLogStartTime(
                  store_, folder_.write("a", "Log started at Mon 2024-03-04 08:00:00\nLOGSTAR\n")),
              -1);
    EXPECT_EQ(readLogStartTime(store_, (folder_ / "absent")), -1);
    EXPECT_LT(readLogStartTime(
                  store_, folder_.write("b", "Log started at Mon 1960-03-04 08:00:00\nLOGSTART\n")),
              0);
    EXPECT_FALSE(store_.quadWire);
    readLogStartTime(
        store_,
        folder_.write("q", "Log started at Mon 2024-03-04 08:00:00.000 on quadwire\nLOGSTART\n"));
    EXPECT_TRUE(store_.quadWire);
}

TEST_F(LogParserTest, FilesAreSortedByStartAndKeepTheirOrderWhenEqual) {
    const auto header = [](const char* second) {
        return std::string("Log started at Mon 2024-03-04 08:00:") + second + "\nLOGSTART\n";
    };
    for (const char* name : {"30 c", "10 a", "30 d", "20 b"})
        addLogFile(store_, folder_.write(name, header(std::string(name, 2).c_str())));
    addLogFile(store_, folder_.write("none", "no recording"));
    EXPECT_EQ(store_.logFiles, (std::vector<std::string>{(folder_ / "10 a"), (folder_ / "20 b"),
                                                         (folder_ / "30 c"), (folder_ / "30 d")}));
    EXPECT_EQ(messages(),
              std::vector<std::string>{(folder_ / "none") + " is not a valid log file, skipping"});
}

TEST_F(LogParserTest, FilesLieOnOneTimeAxis) {
    struct File {
        const char* second;  ///< of its start, behind 08:00
        std::vector<std::uint32_t> timestamps;
    };
    const struct {
        const char* what;
        std::vector<File> files;
        Times times;  ///< since 08:00
        std::vector<std::string> messages = {};
    } cases[] = {
        {"the first time stamp stands at the start",
         {{"00.000", {5000, 5100, 5300}}},
         {0, 100, 300}},
        {"the base goes on if the start lies up to 20 s ahead of it",
         {{"00.000", {0, 1000}}, {"22.000", {2000, 2100}}},
         {0, 1000, 2000, 2100}},
        // The silence leaves the old value at its last time as well.
        {"more is a break",
         {{"00.000", {0, 1000}}, {"22.001", {2000, 2100}}},
         {0, 1000, 1000, 22001, 22101}},
        {"a file that overlaps is placed behind",
         {{"00.000", {0, 9000}}, {"05.000", {0, 100}}},
         {0, 9000, 9000, 9100}},
        {"an overflow goes on one short of the counter's range",
         {{"00.000", {0xFFFFFFF0, 5, 10}}},
         {0, 20, 25},
         {"can message timestamp has overflowed (5)\n"}},
        {"a file without frames leaves the base alone",
         {{"00.000", {0, 1000}}, {"01.500", {}}, {"02.000", {2000}}},
         {0, 1000, 2000}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        restart();
        for (const File& file : test.files)
            addFile("Mon 2024-03-04 08:00:" + std::string(file.second) + " on X", file.timestamps);
        EXPECT_EQ(parse(), test.times);
        EXPECT_EQ(messages(), test.messages);
        EXPECT_EQ(store_.firstTime, kEight);
        EXPECT_EQ(store_.lastTime, kEight + test.times.back());
        EXPECT_EQ(store_.intervalStart, kEight);
        EXPECT_EQ(store_.intervalEnd, store_.lastTime);
    }
}

TEST_F(LogParserTest, AnUnwantedFirstRecordAnchorsToo) {
    add(Recording().frames({frameAt(1000, 0x7FF), frameAt(1250, kId, 1)}).bytes);
    EXPECT_EQ(parse(), (Times{250}));
}

TEST_F(LogParserTest, DamageCostsOnlyWhatIsBehindIt) {
    const Frame one = frameAt(0, kId, 1);
    const Frame two = frameAt(10, kId, 2);
    const std::string packed(40, '\xFF');
    const std::string whole = Recording().frames({one}).frames({two}).bytes;
    const std::string late = "Mon 2024-03-04 08:00:01.000 on X";
    const struct {
        const char* what;
        std::string bytes;
        bool whole = false;
    } cases[] = {
        {"torn in the last block", whole.substr(0, whole.size() - 3)},
        {"torn in a block's head", Recording().frames({one}).bytes + std::string("\x4C\x12", 2)},
        {"no magic", Recording().frames({one}).raw(0x12345678, 40, packed).bytes},
        {"bad block", Recording().frames({one}).raw(0x2018124C, 40, packed).bytes},
        {"length 0", Recording().frames({one}).raw(0x2018124C, 0, "").bytes},
        {"length beyond any block",
         Recording().frames({one}).raw(0x2018124C, 0x7FFFFFFF, packed).bytes},
        {"unpacks to too much", Recording().frames({one}).block(std::string(18018, 'x')).bytes},
        {"half a record", Recording().frames({one}).block("short").bytes, true},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        restart();
        add(test.bytes);
        addFile(late, {1000});
        EXPECT_EQ(parse(), (Times{0, 1000}));
        const std::size_t behind = Recording().frames({one}).bytes.size();
        const auto told = messages();
        ASSERT_EQ(told.size(), test.whole ? 0U : 1U);
        if (test.whole) continue;
        const std::string place = ".bin behind byte " + std::to_string(behind);
        EXPECT_NE(told[0].find(place), std::string::npos) << told[0];
    }
}

TEST_F(LogParserTest, OldRecordsAreOnInterfaceZero) {
    add(Recording("Mon 2024-03-04 08:00:00", 17).frames({frameAt(0, kId, 7, 3)}).bytes);
    EXPECT_EQ(parse(), (Times{0}));
    EXPECT_EQ(signal_->samples()[0].value, 7);
}

TEST_F(LogParserTest, FramesGoToTheirInterfaceAndId) {
    const auto other = addSignal(3, kId);
    const auto extended = addSignal(3, 0x80000000U | kId);
    const auto unread = addSignal(4, kId);
    other->setSelected(true);
    extended->setSelected(true);
    add(Recording()
            .frames({frameAt(0, kId, 1, 0), frameAt(1, kId, 2, 3),
                     frameAt(2, 0x80000000U | kId, 3, 3), frameAt(3, kId, 4, 4),
                     frameAt(4, kId, 5, 200)})
            .bytes);
    EXPECT_EQ(parse(), (Times{0}));
    ASSERT_EQ(other->samples().size(), 1U);
    EXPECT_EQ(other->samples()[0], (Sample{kEight + 1, 2}));
    ASSERT_EQ(extended->samples().size(), 1U);
    EXPECT_EQ(extended->samples()[0], (Sample{kEight + 2, 3}));
    EXPECT_TRUE(unread->samples().empty());
}

TEST_F(LogParserTest, ManyFilesOnOneThreadComeInOrder) {
    const std::int32_t limit = std::exchange(parserThreadLimit, 1);
    Times expected;
    for (std::uint32_t file = 0; file < 9; ++file) {
        addFile("Mon 2024-03-04 08:00:0" + std::to_string(file) + ".000 on X",
                {file * 1000, file * 1000 + 500});
        expected.insert(expected.end(), {file * 1000, file * 1000 + 500});
    }
    EXPECT_EQ(parse(), expected);
    parserThreadLimit = limit;
}

TEST_F(LogParserTest, AVanishedFileIsToldAndSkipped) {
    addFile("Mon 2024-03-04 08:00:00.000 on X", {0});
    addFile("Mon 2024-03-04 08:00:01.000 on X", {1000});
    std::filesystem::remove(store_.logFiles[0]);
    EXPECT_EQ(parse(kEight + 1000), (Times{0}));
    EXPECT_EQ(messages(), std::vector<std::string>{"Could not open log file " + store_.logFiles[0] +
                                                   ", skipping\n"});
}

TEST_F(LogParserTest, ADumpWritesTheFramesOfItsInterval) {
    add(Recording("Mon 2024-03-04 08:00:00.250 on X")
            .frames({frameAt(0, 0x12, 0x0201, 0, 2), frameAt(1000, 0x80ABCDEF, 0, 1, 0),
                     frameAt(2000, 0x20000004), frameAt(2500, 0x40000123),
                     frameAt(3000, 0x7FF, 1, 255), frameAt(4500, 0x7FF, 0xFFEEDDCCBBAA9988, 0, 15)})
            .bytes);
    const std::string heading =
        "date Mon Mar 04 08:00:0%.000 am 2024\nbase hex  timestamps absolute\n";
    const auto dump = [&](std::uint64_t from, std::uint64_t to) {
        store_.running = true;
        const std::string path = (folder_ / "out.asc");
        store_.dumpLogsToFile(path, from, to);
        EXPECT_TRUE(store_.parseNow());
        EXPECT_FALSE(store_.dumpToFile);
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    };
    const auto head = [&](char second) {
        return std::string(heading).replace(heading.find('%'), 1, 1, second);
    };
    EXPECT_EQ(dump(0, ~0ULL), head('0') +
                                  "0.2500 1 12 Rx d 2 01 02\n"
                                  "1.2500 2 ABCDEFx Rx d 0\n"
                                  "4.7500 1 7FF Rx d 8 88 99 AA BB CC DD EE FF\n");
    EXPECT_EQ(dump(kEight + 1250, kEight + 1250), head('1') + "0.2500 2 ABCDEFx Rx d 0\n");
    EXPECT_EQ(dump(1, 2), "");
    EXPECT_EQ(messages(), (std::vector<std::string>{"Data written to " + (folder_ / "out.asc"),
                                                    "No data in selected interval"}));
}

}  // namespace
}  // namespace trelis
