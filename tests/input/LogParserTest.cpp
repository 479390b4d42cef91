// Recordings read into signals: the time axis over files, damage, bounded files, the dump.
#include "input/LogParser.h"

#include "input/LogFiles.h"
#include "input/Recording.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::frameAt;
using test::Messages;
using test::Recording;
using test::Samples;
using test::samplesOf;

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

    test::Folder folder_;
    test::TestStore store_;
    std::shared_ptr<RealSignal> signal_;
    std::uint64_t value_ = 0;
    int files_ = 0;
};

TEST_F(LogParserTest, HeadersAreJudged) {
    const std::string day = "Log started at Mon 2024-03-04 ";
    const std::string mark = "\nLOGSTART\n";
    const std::pair<std::string, std::int64_t> cases[] = {
        {day + "08:00:00.250 on TESTLOG" + mark, kEight + 250},
        {day + "08:00:00.250 on TESTLOG and a long tail of words" + mark, kEight + 250},
        {day + "08:00:00" + mark, kEight},  // seven fields
        {day + "08:00:00.250" + mark, -1},  // eight
        {day + "08:00" + mark, -1},
        {day + "08:00:00\nLOGSTAR\n", -1},
        {mark, -1},
        {"", -1},
        {"Log started at Thu 1960-03-03 08:00:00" + mark, -310233600000},
    };
    for (const auto& [content, start] : cases)
        EXPECT_EQ(readLogStartTime(store_, folder_.write("head", content)), start) << content;
    EXPECT_EQ(readLogStartTime(store_, folder_ / "absent"), -1);
    EXPECT_FALSE(store_.quadWire);
    readLogStartTime(store_, folder_.write("q", day + "08:00:00.000 on quadwire" + mark));
    EXPECT_TRUE(store_.quadWire);
}

TEST_F(LogParserTest, FilesAreSortedByStartAndKeepTheirOrderWhenEqual) {
    Messages paths;
    for (const std::string name : {"30 c", "10 a", "30 d", "20 b"})
        paths.push_back(folder_.write(
            name, "Log started at Mon 2024-03-04 08:00:" + name.substr(0, 2) + "\nLOGSTART\n"));
    paths.push_back(folder_.write("none", "no recording"));
    for (const std::string& path : paths)
        addLogFile(store_, path);
    EXPECT_EQ(store_.logFiles, (Messages{paths[1], paths[3], paths[0], paths[2]}));
    EXPECT_EQ(store_.messages(), Messages{paths[4] + " is not a valid log file, skipping"});
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
        Messages messages = {};
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
        EXPECT_EQ(store_.messages(), test.messages);
        EXPECT_EQ(store_.firstTime, kEight);
        EXPECT_EQ(store_.intervalStart, kEight);
        EXPECT_EQ(store_.intervalEnd, kEight + test.times.back());
    }
}

TEST_F(LogParserTest, DamageCostsOnlyWhatIsBehindIt) {
    const auto sound = [] { return Recording().frames({frameAt(0, kId, 1)}); };
    const std::string two = sound().frames({frameAt(10, kId, 2)}).bytes;
    const std::string packed(40, '\xFF');
    const struct {
        const char* what;
        std::string bytes;
        bool told = true;
    } cases[] = {
        {"torn in the last block", two.substr(0, two.size() - 3)},
        {"torn in a block's head", sound().bytes + "\x4C\x12"},
        {"no magic", sound().raw(0x12345678, 40, packed).bytes},
        {"bad block", sound().raw(kBlockMagic, 40, packed).bytes},
        {"length 0", sound().raw(kBlockMagic, 0, "").bytes},
        {"length beyond any block", sound().raw(kBlockMagic, 0x7FFFFFFF, packed).bytes},
        {"unpacks to too much", sound().block(std::string(18018, 'x')).bytes},
        {"half a record", sound().block("short").bytes, false},
    };
    const std::string place = ".bin behind byte " + std::to_string(sound().bytes.size());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        restart();
        add(c.bytes);
        addFile("Mon 2024-03-04 08:00:01.000 on X", {1000});
        EXPECT_EQ(parse(), (Times{0, 1000}));
        const Messages told = store_.messages();
        ASSERT_EQ(told.size(), c.told ? 1U : 0U);
        if (c.told) test::expectInOrder(told[0], {place});
    }
}

TEST_F(LogParserTest, OldRecordsAreOnInterfaceZero) {
    add(Recording("Mon 2024-03-04 08:00:00", 17).frames({frameAt(0, kId, 7, 3)}).bytes);
    EXPECT_TRUE(store_.parseNow());
    EXPECT_EQ(samplesOf(*signal_), (Samples{{kEight, 7}}));
}

TEST_F(LogParserTest, FramesGoToTheirInterfaceAndId) {
    const auto other = addSignal(3, kId);
    const auto extended = addSignal(3, 0x80000000U | kId);
    const auto unread = addSignal(4, kId);
    other->setSelected(true);
    extended->setSelected(true);
    add(Recording()
            .frames({frameAt(100, 0x7FF), frameAt(350, kId, 1, 0), frameAt(351, kId, 2, 3),
                     frameAt(352, 0x80000000U | kId, 3, 3), frameAt(353, kId, 4, 4),
                     frameAt(354, kId, 5, 200)})
            .bytes);
    EXPECT_EQ(parse(), (Times{250})) << "the first record counts, though nobody wants it";
    EXPECT_EQ(samplesOf(*other), (Samples{{kEight + 251, 2}}));
    EXPECT_EQ(samplesOf(*extended), (Samples{{kEight + 252, 3}}));
    EXPECT_EQ(samplesOf(*unread), Samples{});
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
    EXPECT_EQ(store_.messages(),
              Messages{"Could not open log file " + store_.logFiles[0] + ", skipping\n"});
}

TEST_F(LogParserTest, ADumpWritesTheFramesOfItsInterval) {
    add(Recording("Mon 2024-03-04 08:00:00.250 on X")
            .frames({frameAt(0, 0x12, 0x0201, 0, 2), frameAt(1000, 0x80ABCDEF, 0, 1, 0),
                     frameAt(2000, 0x20000004), frameAt(2500, 0x40000123),
                     frameAt(3000, 0x7FF, 1, 255), frameAt(4500, 0x7FF, 0xFFEEDDCCBBAA9988, 0, 15)})
            .bytes);
    const auto dump = [&](std::uint64_t from, std::uint64_t to) {
        store_.running = true;
        const std::string path = folder_ / "out.asc";
        store_.dumpLogsToFile(path, from, to);
        EXPECT_TRUE(store_.parseNow());
        EXPECT_FALSE(store_.dumpToFile);
        return test::contentOf(path);
    };
    const auto head = [](const std::string& second) {
        return "date Mon Mar 04 08:00:0" + second + ".000 am 2024\nbase hex  timestamps absolute\n";
    };
    EXPECT_EQ(dump(0, ~0ULL), head("0") +
                                  "0.2500 1 12 Rx d 2 01 02\n"
                                  "1.2500 2 ABCDEFx Rx d 0\n"
                                  "4.7500 1 7FF Rx d 8 88 99 AA BB CC DD EE FF\n");
    EXPECT_EQ(dump(kEight + 1250, kEight + 1250), head("1") + "0.2500 2 ABCDEFx Rx d 0\n");
    EXPECT_EQ(dump(1, 2), "");
    EXPECT_EQ(store_.messages(), (Messages{"Data written to " + (folder_ / "out.asc"),
                                           "No data in selected interval"}));
}

}  // namespace
}  // namespace trelis
