#include "simlogger/Recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "input/stream/BlockMaker.h"
#include "model/Frame.h"
#include "simlogger/Presets.h"
#include "support/Files.h"

namespace trelis::sim {
namespace {

using test::contentOf;
namespace fs = std::filesystem;

/// A file as the program's own reader of blocks finds it.
struct LogFile {
    std::string head;           ///< the first line, without its newline
    std::vector<Frame> frames;  ///< of all sound blocks before the first bad one
    std::size_t blocks = 0;     ///< how many those are
    bool sound = false;         ///< all of the file could be read
};

LogFile readLog(const fs::path& path) {
    const std::string bytes = contentOf(path);
    LogFile log{bytes.substr(0, bytes.find('\n')), {}, 0, false};
    const std::size_t start = log.head.size() + 10;
    if (bytes.substr(log.head.size(), 10) != "\nLOGSTART\n") return log;
    std::span rest(reinterpret_cast<const std::uint8_t*>(bytes.data()) + start,
                   bytes.size() - start);
    StreamCodec codec;
    EXPECT_EQ(initStreamCodec(codec, 1), 0);
    for (std::int32_t consumed = 0; unpackBlock(codec, rest, consumed) == kStreamBlock;) {
        EXPECT_EQ(codec.outLength % codec.recordSize, 0);
        const test::Bytes records = test::takeRecords(codec);
        for (std::size_t at = 0; at < records.size(); at += kRecordSize)
            std::memcpy(static_cast<void*>(&log.frames.emplace_back()), &records[at], kRecordSize);
        ++log.blocks;
        rest = rest.subspan(static_cast<std::size_t>(consumed));
    }
    log.sound = rest.empty();
    return log;
}

std::vector<LogFile> record(const Scenario& scenario) {
    const test::Folder folder;
    std::vector<LogFile> logs;
    for (const std::string& name : writeRecording(scenario, folder.path()).files)
        logs.push_back(readLog(folder / name));
    return logs;
}
/// A preset with some keys of the recording set.
std::vector<LogFile> record(std::string_view preset,
                            const std::map<std::string, std::string>& keys = {}) {
    Scenario scenario = parseScenario(presetText(preset).value());
    for (const auto& [key, value] : keys)
        setRecordingKey(scenario.recording, key, value);
    return record(scenario);
}

std::int64_t startOf(const LogFile& log) {
    int h = 0, m = 0, s = 0, ms = 0;
    EXPECT_EQ(std::sscanf(log.head.c_str(), "Log started at %*3s %*4d-%*2d-%*2d %2d:%2d:%2d.%3d",
                          &h, &m, &s, &ms),
              4)
        << log.head;
    return ((h * 60 + m) * 60 + s) * 1000 + ms;
}

/// From each frame to the next one, the longest first.
std::vector<double> stepsOf(const LogFile& log) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < log.frames.size(); ++i)
        steps.push_back(static_cast<double>(log.frames[i].timestamp) - log.frames[i - 1].timestamp);
    std::sort(steps.rbegin(), steps.rend());
    return steps;
}

TEST(Recording, SampleIsWhatTheProgramWrites) {
    const test::Folder folder;
    writeRecording(parseScenario(presetText("drive").value()), folder.path());
    std::set<fs::path> committed;
    for (const auto& entry : fs::directory_iterator(SIGMIRA_TEMPLATES))
        if (entry.path().filename().string().starts_with("drive"))
            committed.insert(entry.path().filename());
    std::set<fs::path> written;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        const fs::path name = *written.insert(entry.path().filename()).first;
        // Not EXPECT_EQ, which would print the whole files.
        EXPECT_TRUE(contentOf(entry.path()) == contentOf(fs::path(SIGMIRA_TEMPLATES) / name))
            << name << " differs; scripts/make-sample writes it anew";
    }
    EXPECT_EQ(written, committed);
}

TEST(Recording, TimeRunsOnInEveryPreset) {
    for (const Preset& preset : textPresets()) {
        SCOPED_TRACE(preset.name);
        for (const LogFile& log : record(preset.name)) {
            EXPECT_LE(log.head.size(), 54U);  // 55 with the newline is all that a reader takes
            const auto steps = stepsOf(log);
            ASSERT_FALSE(steps.empty());
            EXPECT_EQ(std::count_if(steps.begin(), steps.end(), [](auto step) { return step < 0; }),
                      preset.name == "overflow" ? 1 : 0);
        }
    }
}

TEST(Recording, FilesOverlapOrLieApart) {
    for (const auto& [preset, gapMs] : {std::pair("overlap", -5000), std::pair("apart", 3600000)}) {
        SCOPED_TRACE(preset);
        const std::vector<LogFile> logs = record(preset);
        ASSERT_EQ(logs.size(), 3U);
        for (std::size_t i = 1; i < logs.size(); ++i)
            EXPECT_EQ(startOf(logs[i]) - startOf(logs[i - 1]), 20000 + gapMs);
    }
}

TEST(Recording, ContinuedClockAgreesWithTheStartOfEachFile) {
    const auto logs = record("apart", {{"clockmode", "continue"}, {"clock", "5000"}});
    for (const LogFile& log : logs) {
        const auto late = log.frames[0].timestamp - 5000 - (startOf(log) - startOf(logs[0]));
        EXPECT_GE(late, 0);
        EXPECT_LT(late, 20);  // the fastest message comes every 10 ms
    }
}

TEST(Recording, SilencesHoldNoFrames) {
    const auto steps = stepsOf(record("gaps").at(0));
    EXPECT_NEAR(steps[0], 15000, 20);
    EXPECT_NEAR(steps[1], 9000, 20);
    EXPECT_LE(steps[2], 20);
}

TEST(Recording, DamageCostsWhatItSays) {
    const LogFile whole = record("small").at(0);
    ASSERT_TRUE(whole.sound);
    const std::size_t half = whole.blocks / 2;
    for (const auto& [kind, left] : std::map<std::string, std::size_t>{{"torn", whole.blocks - 1},
                                                                       {"magic", half},
                                                                       {"zero", half},
                                                                       {"length", half},
                                                                       {"oversize", half},
                                                                       {"header", 0}}) {
        SCOPED_TRACE(kind);
        const LogFile log = record("small", {{"damage", kind}}).at(0);
        EXPECT_FALSE(log.sound);
        EXPECT_EQ(log.blocks, left);
    }
}

TEST(Recording, KindsOfFramesAreThere) {
    std::map<bool, std::size_t> errors;
    const auto withErrors = record("errors");
    for (const Frame& frame : withErrors.at(0).frames) {
        if ((frame.id & kErrorFrame) == 0) continue;
        EXPECT_EQ(frame.dlc, 8);
        ++errors[frame.interface == kLoggerInterface];
    }
    EXPECT_GT(errors[false], 30U);
    EXPECT_GT(errors[true], 0U);

    const auto old = record("old");
    for (const Frame& frame : old.at(0).frames)
        ASSERT_EQ(frame.interface, 0);
}

TEST(Recording, BenchWritesTheFramesItWasAskedFor) {
    BenchOptions options;
    options.messages = 30;
    options.interfaces = 2;
    options.files = 2;
    options.framesPerFile = 2500;
    const auto logs = record(benchScenario(options));
    EXPECT_EQ(logs.size(), 2U);
    for (const LogFile& log : logs) {
        ASSERT_EQ(log.frames.size(), 2500U);
        EXPECT_EQ(log.frames[0].timestamp, 0U);
    }
}

TEST(LogHeader, NamesTheDay) {
    EXPECT_EQ(logHeader(0, "x"), "Log started at Thu 1970-01-01 00:00:00.000 on x\n");
    EXPECT_EQ(logHeader(1709251199007, "quadwire"),
              "Log started at Thu 2024-02-29 23:59:59.007 on quadwire\n");
}

}  // namespace
}  // namespace trelis::sim
