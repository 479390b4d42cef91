#include "input/DbcScan.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <random>

namespace trelis {
namespace {

TEST(DbcScan, messageLines) {
    struct Case {
        const char* line;
        bool matched;
        std::uint32_t id;
        const char* name;
    };
    for (const Case& c :
         {Case{"BO_ 100 Engine: 8 Vector__XXX", true, 100, "Engine"},
          Case{"BO_ 2566834942 Ext : 8 X", true, 2566834942U, "Ext "},
          Case{"BO_100Engine: 8", true, 100, "Engine"}, Case{"BO_ \t 7\t A B: 8", true, 7, "A B"},
          Case{"BO_ -1 Neg: 8", true, 4294967295U, "Neg"},
          Case{"BO_ 4294967301 Wrap: 8", true, 5, "Wrap"},
          Case{"BO_ 99999999999999999999 Full: 8", true, 4294967295U, "Full"},
          Case{"BO_ 100 NoColon", true, 100, "NoColon"}, Case{" BO_ 100 Indented: 8", false, 0, ""},
          Case{"BO_ 100 : 8", false, 0, ""}, Case{"BO_ x A: 8", false, 0, ""},
          Case{"BO_ 100", false, 0, ""}, Case{"BO_TX_BU_ 100 : A", false, 0, ""}}) {
        const auto message = scanDbcMessage(c.line);
        ASSERT_EQ(message.has_value(), c.matched) << c.line;
        if (!message) continue;
        EXPECT_EQ(message->id, c.id) << c.line;
        EXPECT_EQ(message->name, c.name) << c.line;
    }
}

TEST(DbcScan, signalLines) {
    const auto full =
        scanDbcSignal(" SG_ Speed m3M : 8|12@0- (0.25,-40) [-1e1|+.5E2] \"km/h\" A,B");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->name, "Speed");
    EXPECT_EQ(full->indicator, "m3M");
    EXPECT_EQ(full->startBit, 8U);
    EXPECT_EQ(full->bitLength, 12U);
    EXPECT_EQ(full->byteOrder, 0U);
    EXPECT_EQ(full->sign, '-');
    EXPECT_EQ(full->factor, 0.25);
    EXPECT_EQ(full->offset, -40.0);
    EXPECT_EQ(full->minimum, -10.0);
    EXPECT_EQ(full->maximum, 50.0);
    EXPECT_EQ(full->unit, "km/h");

    struct Case {
        const char* line;
        bool matched;
    };
    for (const Case& c :
         {Case{"SG_ S : 0|16@1+ (0.1,0) [0|1] \"V\"", true},
          Case{"SG_S:0|16@1+(0.1,0)[0|1]\"V", false},  // the name takes all up to a blank
          Case{"\tSG_ S :0| 16@1+( 0.1, 0)[ 0| 1]\"V", true},
          Case{"SG_ S: 0|16@1+ (0.1,0) [0|1] \"V\"", false},
          Case{"SG_ S : 0 |16@1+ (0.1,0) [0|1] \"V\"", false},
          Case{"SG_ S : 0|16@1+ (0.1 ,0) [0|1] \"V\"", false},
          Case{"SG_ S : 0|16@1+ (0x1p-4,0) [-inf|nan] \"V\"", true},
          Case{"SG_ S : 0|16@1+ (1e999,0) [0|1] \"V\"", true},
          Case{"SG_ S : 0|16@1+ (--1,0) [0|1] \"V\"", false},
          Case{"SG_ S : 0|16@1+ (1,0) [0|1] \"\"", false},
          Case{"SG_ S : 0|16@1+ (0,1,0) [0|1] \"V\"", false},
          Case{"SG_ A B C : 0|16@1+ (1,0) [0|1] \"V\"", false}}) {
        EXPECT_EQ(scanDbcSignal(c.line).has_value(), c.matched) << c.line;
    }
    EXPECT_EQ(scanDbcSignal("SG_ S : 0|8@1+ (0x1p-4,1e999) [-1e999|1e-999] \"V\"")->factor, 0.0625);
    EXPECT_TRUE(std::isinf(scanDbcSignal("SG_ S : 0|8@1+ (1,1e999) [0|1] \"V\"")->offset));
}

// The patterns are defined by what the C library does with them, so it is the judge.
TEST(DbcScan, agreesWithTheLibraryOnDamagedLines) {
    const std::string_view valid = " SG_ Speed m3 : 8|12@0- (0x1.8p1,-40) [-1e1|inf] \"km/h\" A";
    const std::string_view alphabet = " \t:|@+-(,)[]\".0e9xpSMnaif";
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        std::string line(valid);
        for (unsigned edits = random() % 4; edits > 0; --edits) {
            const auto at = random() % line.size();
            const char c = alphabet[random() % alphabet.size()];
            switch (random() % 3) {
                case 0:
                    line[at] = c;
                    break;
                case 1:
                    line.insert(at, 1, c);
                    break;
                default:
                    line.erase(at, 1);
            }
        }
        char name[128];
        char indicator[128];
        char unit[128];
        char sign = 0;
        unsigned start = 0;
        unsigned size = 0;
        unsigned order = 0;
        double n[4] = {};
        int fields = std::sscanf(
            line.c_str(), " SG_ %100s %100s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%100[^\"]", name,
            indicator, &start, &size, &order, &sign, &n[0], &n[1], &n[2], &n[3], unit);
        bool expected = fields == 11;
        if (!expected) {
            indicator[0] = '\0';
            fields =
                std::sscanf(line.c_str(), " SG_ %100s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%100[^\"]",
                            name, &start, &size, &order, &sign, &n[0], &n[1], &n[2], &n[3], unit);
            expected = fields == 10;
        }
        const auto scanned = scanDbcSignal(line);
        ASSERT_EQ(scanned.has_value(), expected) << line << " seed " << seed;
        if (!expected) continue;
        ASSERT_EQ(scanned->name, name) << line << " seed " << seed;
        ASSERT_EQ(scanned->indicator, indicator) << line << " seed " << seed;
        ASSERT_EQ(scanned->unit, unit) << line << " seed " << seed;
        ASSERT_EQ(scanned->startBit, start) << line << " seed " << seed;
        ASSERT_EQ(scanned->bitLength, size) << line << " seed " << seed;
        ASSERT_EQ(scanned->byteOrder, order) << line << " seed " << seed;
        ASSERT_EQ(scanned->sign, sign) << line << " seed " << seed;
        const double got[] = {scanned->factor, scanned->offset, scanned->minimum, scanned->maximum};
        for (int i = 0; i < 4; ++i)
            ASSERT_TRUE(got[i] == n[i] || (std::isnan(got[i]) && std::isnan(n[i])))
                << line << " seed " << seed;
    }
}

TEST(DbcScan, valueTypeLines) {
    const auto scanned = scanDbcValueType("SIG_VALTYPE_ 100 Sig : 1;");
    ASSERT_TRUE(scanned);
    EXPECT_EQ(scanned->id, 100U);
    EXPECT_EQ(scanned->signal, "Sig");
    EXPECT_EQ(scanned->type, 1U);
    EXPECT_FALSE(scanDbcValueType("SIG_VALTYPE_ 100 Sig: 1;"));
    EXPECT_FALSE(scanDbcValueType("\tSIG_VALTYPE_"));
}

}  // namespace
}  // namespace trelis
