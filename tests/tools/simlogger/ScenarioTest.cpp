#include "simlogger/Scenario.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

#include "simlogger/Angles.h"
#include "simlogger/Definitions.h"
#include "simlogger/Presets.h"
#include "simlogger/SignalLayout.h"
#include "simlogger/Traffic.h"
#include "simlogger/Vehicle.h"

namespace trelis::sim {
namespace {

/// A scenario of one message of eight bytes with these signals.
Scenario withSignals(const std::string& signals) {
    return parseScenario("[interface 0]\nname=Can\n[message M]\nid=1\nperiod=10\n" + signals);
}

TEST(ScenarioText, ErrorsNameTheLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"[recording]\nfiles=many\n", "line 2: 'many' is not a number that fits here"},
        {"\n\n[somewhere]\n", "line 3: there is no section 'somewhere'"},
        {"[recording]\nstart=2024-02-30 00:00:00\n", "line 2: '2024-02-30 00:00:00' is not a date"},
        {"[message A]\nsignal=S : 0|8@2+ (1,0) [0|1] \"\"\n", "line 2: '2+' is not a byte order"},
        {"[message A]\nsignal=S : 0|8@1+ (1,0) [0|1] \"\" vehicle wings\n",
         "line 2: the vehicle has no 'wings'"},
        {"[message A]\nsignal=S : 0|8@1+ (1,0) [0|1] \"\" walk 3\n",
         "line 2: the model 'walk' needs more"},
        {"[message A]\nlabel=1 One\n", "line 2: a message has no key 'label'"},
        {"text a.vsd <<<\nhello\n", "line 2: the text of 'a.vsd' has no end"},
        {"text ../a <<<\n>>>\n", "line 1: the file's name must not hold a slash"},
        {"[vehicle]\nleg=0 50\n", "line 2: '0' is not between"},
        {"[recording]\nname=x\n", "the scenario has no messages"},
        {"[message A]\nid=1\n", "A: interface 0 is not defined"},
        {"[interface 0]\n[message A]\nid=0x800\n", "A: the id is too large"},
        {"[interface 0]\n[message A]\nid=1\n[message B]\nid=1\n", "B: the id is used twice"},
        {"[interface 0]\n[message A]\nid=1\nperiod=0\n", "A: the period is 0"},
        {"[interface 0]\n[message A]\nsignal=S : 60|8@1+ (1,0) [0|1] \"\"\n",
         "A.S: the bits do not lie"},
        {"[interface 0]\n[message A]\nsignal=S m1 : 0|8@1+ (1,0) [0|1] \"\"\n",
         "A: multiplexed signals go with"},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text);
        try {
            parseScenario(text);
            ADD_FAILURE() << "was accepted";
        } catch (const ScenarioError& error) {
            EXPECT_TRUE(std::string(error.what()).starts_with(expected)) << error.what();
        }
    }
}

TEST(SignalLayout, AgreesWithABitByBitTwin) {
    const std::uint64_t seed = std::random_device{}();
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Random random(seed);
    int tried = 0;
    while (tried < 2000) {
        SignalSpec spec;
        spec.start = random.below(64);
        spec.bits = 1 + random.below(64);
        spec.bigEndian = random.below(2) != 0;
        if (!SignalLayout::fits(spec)) continue;
        ++tried;
        const std::uint64_t before = random.next();
        const std::uint64_t raw = random.next();
        std::uint64_t expected = before;
        unsigned at = spec.start;
        for (unsigned i = 0; i < spec.bits; ++i) {
            // Little-endian from the lowest bit up; big-endian from the highest bit down, from
            // the low end of a byte to the high end of the next one.
            const unsigned bit = spec.bigEndian ? spec.bits - 1 - i : i;
            expected = (expected & ~(1ULL << at)) | ((raw >> bit & 1) << at);
            at = !spec.bigEndian ? at + 1 : at % 8 != 0 ? at - 1 : at + 15;
        }
        ASSERT_EQ(SignalLayout(spec).put(before, raw), expected)
            << spec.start << "|" << spec.bits << (spec.bigEndian ? "@0" : "@1");
    }
}

TEST(Traffic, ChecksumIsSaeJ1850) {
    // The check values of AUTOSAR's CRC library for this polynomial, with the checksum in the
    // byte behind the data and in the one before it.
    const std::pair<std::uint64_t, std::uint64_t> cases[] = {
        {0x00000000, 0x59}, {0x5500AA0F, 0x79}, {0x1155FF00, 0xB8}, {0xFFFFFFFF, 0x74}};
    for (const auto& [data, crc] : cases) {
        const std::string value = std::to_string(data);
        const std::string form = "|32@1+ (1,0) [0|1] \"\" constant " + value + "\n";
        Scenario behind = withSignals("length=5\nsignal=D : 0" + form +
                                      "signal=C : 32|8@1+ (1,0) [0|255] \"\" checksum\n");
        EXPECT_EQ(Traffic(behind).next().data, data | crc << 32);
        Scenario before = withSignals("length=5\nsignal=D : 8" + form +
                                      "signal=C : 7|8@0+ (1,0) [0|255] \"\" checksum\n");
        EXPECT_EQ(Traffic(before).next().data, data << 8 | crc);
    }
}

TEST(Traffic, CountersPagesAndShortMessages) {
    const Scenario scenario = withSignals(
        "length=3\nfill=0xFF\n"
        "signal=P M : 0|4@1+ (1,0) [0|15] \"\" constant\n"
        "signal=N : 4|2@1+ (1,0) [0|3] \"\" counter\n"
        "signal=A m3 : 8|8@1- (0.5,10) [0|1] \"\" constant 9\n"
        "signal=B m7 : 8|16@1+ (1,0) [0|1] \"\" constant 4660\n");
    Traffic traffic(scenario);
    // Bits of no signal keep the fill, bits of another page are 0, bytes beyond the length are 0.
    const std::uint64_t expected[] = {0x00FED3, 0x1234E7, 0x00FEF3, 0x1234C7, 0x00FED3};
    std::uint64_t time = traffic.next().timeMs;
    for (std::size_t i = 1; i < 5; ++i) {
        const SimFrame frame = traffic.next();
        EXPECT_EQ(frame.data, expected[i]) << i;
        EXPECT_EQ(frame.length, 3);
        EXPECT_EQ(frame.timeMs, time + 10);
        time = frame.timeMs;
    }
}

TEST(Definitions, LinesStayBelowHundredBytes) {
    std::vector<Scenario> scenarios = {benchScenario({})};
    for (const Preset& preset : textPresets())
        scenarios.push_back(parseScenario(presetText(preset.name).value()));
    for (const Scenario& scenario : scenarios)
        for (const auto& [number, interface] : scenario.interfaces) {
            std::istringstream lines(dbcText(scenario, number));
            for (std::string line; std::getline(lines, line);)
                EXPECT_TRUE(line.size() < 100 || line.starts_with("VAL_ ") ||
                            line.starts_with("CM_ "))
                    << line;
        }
    const auto tooLong =
        withSignals("signal=" + std::string(80, 'S') + " : 0|8@1+ (1,0) [0|1] \"\"\n");
    EXPECT_THROW(dbcText(tooLong, 0), ScenarioError);
}

TEST(Angles, AgreeWithTheMathematicsLibrary) {
    for (double degrees = -800.0; degrees < 800.0; degrees += 0.37)
        ASSERT_NEAR(sine(degrees * kDegree), std::sin(degrees * kDegree), 1e-9) << degrees;
    for (double degrees = 0.0; degrees < 360.0; degrees += 0.37)
        ASSERT_NEAR(bearingOf(std::sin(degrees * kDegree), std::cos(degrees * kDegree)), degrees,
                    0.01);
}

TEST(Vehicle, PacksCoordinatesAsDegreesAndMinutes) {
    EXPECT_EQ(packCoordinate(57.5), 573000000U);
    EXPECT_EQ(packCoordinate(-57.5), 573000000U | 0x80000000U);
    EXPECT_EQ(packCoordinate(0.0), 0U);
}

}  // namespace
}  // namespace trelis::sim
