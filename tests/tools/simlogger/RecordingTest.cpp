#include "simlogger/Recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "simlogger/Presets.h"
#include "support/Files.h"
#include "tools/simlogger/LogReader.h"

namespace trelis::sim {
namespace {

using test::contentOf;
using testing::LogFile;
using testing::readLog;
namespace fs = std::filesystem;

class RecordingTest : public ::testing::Test {
  protected:
    std::vector<LogFile> record(const std::string& preset) {
        const RecordingSummary summary =
            writeRecording(parseScenario(presetText(preset).value()), directory_ / preset);
        std::vector<LogFile> logs;
        for (const std::string& name : summary.files)
            logs.push_back(readLog(directory_ / (preset + "/" + name)));
        return logs;
    }

    test::Folder directory_;
};

std::int64_t startOf(const LogFile& log) {
    int h = 0, m = 0, s = 0, ms = 0;
    EXPECT_EQ(std::sscanf(log.head.c_str(), "Log started at %*3s %*4d-%*2d-%*2d %2d:%2d:%2d.%3d",
                          &h, &m, &s, &ms),
              4)
        << log.head;
    return ((h * 60 + m) * 60 + s) * 1000 + ms;
}

TEST_F(RecordingTest, SampleIsWhatTheProgramWrites) {
    record("drive");
    std::set<std::string> committed;
    for (const auto& entry : fs::directory_iterator(SIGMIRA_TEMPLATES))
        if (entry.path().filename().string().starts_with("drive"))
            committed.insert(entry.path().filename());
    std::set<std::string> written;
    for (const auto& entry : fs::directory_iterator(directory_ / "drive")) {
        written.insert(entry.path().filename());
        // Not EXPECT_EQ, which would print the whole files.
        EXPECT_TRUE(contentOf(entry.path()) ==
                    contentOf(fs::path(SIGMIRA_TEMPLATES) / entry.path().filename()))
            << entry.path().filename() << " differs; scripts/make-sample writes it anew";
    }
    EXPECT_EQ(written, committed);
}

TEST_F(RecordingTest, TimeRunsOnInEveryPreset) {
    for (const Preset& preset : textPresets()) {
        SCOPED_TRACE(preset.name);
        for (const LogFile& log : record(std::string(preset.name))) {
            EXPECT_LE(log.head.size(), 54U);  // 55 with the newline is all that a reader takes
            ASSERT_FALSE(log.records.empty());
            std::size_t falls = 0;
            for (std::size_t i = 1; i < log.records.size(); ++i)
                falls += log.records[i].timestamp < log.records[i - 1].timestamp ? 1 : 0;
            EXPECT_EQ(falls, preset.name == "overflow" ? 1U : 0U);
        }
    }
}

TEST_F(RecordingTest, FilesOverlapOrLieApart) {
    for (const auto& [preset, gapMs] :
         std::map<std::string, std::int64_t>{{"overlap", -5000}, {"apart", 3600000}}) {
        SCOPED_TRACE(preset);
        const std::vector<LogFile> logs = record(preset);
        ASSERT_EQ(logs.size(), 3U);
        for (std::size_t i = 1; i < logs.size(); ++i)
            EXPECT_EQ(startOf(logs[i]) - startOf(logs[i - 1]), 20000 + gapMs);
    }
}

TEST_F(RecordingTest, ContinuedClockAgreesWithTheStartOfEachFile) {
    Scenario scenario = parseScenario(presetText("apart").value());
    setRecordingKey(scenario.recording, "clockmode", "continue");
    setRecordingKey(scenario.recording, "clock", "5000");
    const RecordingSummary summary = writeRecording(scenario, directory_.path());
    const std::int64_t begins = startOf(readLog(directory_ / summary.files[0]));
    for (const std::string& name : summary.files) {
        const LogFile log = readLog(directory_ / name);
        const std::int64_t late = log.records[0].timestamp - 5000 - (startOf(log) - begins);
        EXPECT_GE(late, 0);
        EXPECT_LT(late, 20);  // the fastest message comes every 10 ms
    }
}

TEST_F(RecordingTest, SilencesHoldNoFrames) {
    const LogFile log = record("gaps").at(0);
    std::vector<std::uint32_t> steps;
    for (std::size_t i = 1; i < log.records.size(); ++i)
        steps.push_back(log.records[i].timestamp - log.records[i - 1].timestamp);
    std::sort(steps.rbegin(), steps.rend());
    EXPECT_NEAR(steps[0], 15000, 20);
    EXPECT_NEAR(steps[1], 9000, 20);
    EXPECT_LE(steps[2], 20U);
}

TEST_F(RecordingTest, DamageCostsWhatItSays) {
    const LogFile whole = record("small").at(0);
    ASSERT_TRUE(whole.sound);
    for (const char* kind : {"torn", "magic", "zero", "length", "oversize", "header"}) {
        SCOPED_TRACE(kind);
        Scenario scenario = parseScenario(presetText("small").value());
        setRecordingKey(scenario.recording, "damage", kind);
        writeRecording(scenario, directory_ / kind);
        const LogFile log = readLog(directory_ / (std::string(kind) + "/small.bin"));
        EXPECT_FALSE(log.sound);
        const bool last = std::string(kind) == "torn";
        const std::size_t left = std::string(kind) == "header" ? 0
                                 : last                        ? whole.blocks - 1
                                                               : whole.blocks / 2;
        EXPECT_EQ(log.blocks, left);
    }
}

TEST_F(RecordingTest, KindsOfFramesAreThere) {
    const LogFile small = record("small").at(0);
    std::map<std::pair<int, std::uint32_t>, double> counts;
    for (const auto& r : small.records)
        ++counts[{r.interface, r.id}];
    const std::map<std::pair<int, std::uint32_t>, double> expected = {
        {{0, 0x123}, 6000}, {{0, 0x98FEE900}, 120}, {{1, 0x200}, 600}, {{1, 0x201}, 1200},
        {{255, 10}, 120},   {{255, 11}, 120},       {{255, 12}, 60}};
    for (const auto& [key, count] : expected)
        EXPECT_NEAR(counts[key], count, count * 0.02 + 2) << key.first << " " << key.second;
    EXPECT_EQ(counts.size(), expected.size());

    std::size_t bus = 0;
    std::size_t logger = 0;
    const LogFile errors = record("errors").at(0);
    for (const auto& r : errors.records) {
        if ((r.id & kErrorFrame) == 0) continue;
        EXPECT_EQ(r.length, 8);
        ++(r.interface == kLoggerInterface ? logger : bus);
    }
    EXPECT_GT(bus, 30U);
    EXPECT_GT(logger, 0U);

    const LogFile old = record("old").at(0);
    for (const auto& r : old.records)
        ASSERT_EQ(r.interface, 0);
}

TEST_F(RecordingTest, BenchWritesTheFramesItWasAskedFor) {
    BenchOptions options;
    options.messages = 30;
    options.interfaces = 2;
    Scenario scenario = benchScenario(options);
    setRecordingKey(scenario.recording, "files", "2");
    setRecordingKey(scenario.recording, "frames", "2500");
    const RecordingSummary summary = writeRecording(scenario, directory_.path());
    EXPECT_EQ(summary.frames, 5000U);
    for (const std::string& name : summary.files) {
        const LogFile log = readLog(directory_ / name);
        EXPECT_EQ(log.records.size(), 2500U);
        EXPECT_EQ(log.records[0].timestamp, 0U);
    }
}

TEST(LogHeader, NamesTheDay) {
    EXPECT_EQ(logHeader(0, "x"), "Log started at Thu 1970-01-01 00:00:00.000 on x\n");
    EXPECT_EQ(logHeader(1709251199007, "quadwire"),
              "Log started at Thu 2024-02-29 23:59:59.007 on quadwire\n");
}

}  // namespace
}  // namespace trelis::sim
