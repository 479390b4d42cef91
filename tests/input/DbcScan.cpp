// The patterns of DBC lines are defined by what the C library's sscanf does with them, so it is the
// judge: of lines that show each rule, and of lines damaged at random.
#include "input/DbcScan.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "support/TestStore.h"

namespace trelis {
namespace {

/// The fields of a line, or empty if it does not match. Views and doubles in full.
template <typename... Fields>
std::string shown(const Fields&... fields) {
    std::ostringstream text;
    text.precision(17);
    ((text << fields << '~'), ...);
    return text.str();
}

struct Texts {
    char first[128] = {};
    char second[128] = {};
    char unit[128] = {};
};

std::string messageByLibrary(const std::string& line) {
    unsigned id = 0;
    Texts texts;
    const int fields = std::sscanf(line.c_str(), "BO_ %u %127[^:]", &id, texts.first);
    return fields == 2 ? shown(id, texts.first) : "";
}
std::string messageByUs(const std::string& line) {
    const auto message = scanDbcMessage(line);
    return message ? shown(message->id, message->name) : "";
}

std::string valueTypeByLibrary(const std::string& line) {
    unsigned id = 0;
    unsigned type = 0;
    Texts texts;
    const int fields =
        std::sscanf(line.c_str(), "SIG_VALTYPE_ %u %127s : %u;", &id, texts.first, &type);
    return fields == 3 ? shown(id, texts.first, type) : "";
}
std::string valueTypeByUs(const std::string& line) {
    const auto value = scanDbcValueType(line);
    return value ? shown(value->id, value->signal, value->type) : "";
}

std::string signalByLibrary(const std::string& line) {
    Texts texts;
    char sign = 0;
    unsigned n[3] = {};
    double x[4] = {};
    if (std::sscanf(line.c_str(), " SG_ %127s %127s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%127[^\"]",
                    texts.first, texts.second, &n[0], &n[1], &n[2], &sign, &x[0], &x[1], &x[2],
                    &x[3], texts.unit) != 11) {
        texts.second[0] = '\0';
        if (std::sscanf(line.c_str(), " SG_ %127s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%127[^\"]",
                        texts.first, &n[0], &n[1], &n[2], &sign, &x[0], &x[1], &x[2], &x[3],
                        texts.unit) != 10)
            return "";
    }
    for (double& number : x)
        if (std::isnan(number)) number = std::fabs(number);
    return shown(texts.first, texts.second, n[0], n[1], n[2], sign, x[0], x[1], x[2], x[3],
                 texts.unit);
}
std::string signalByUs(const std::string& line) {
    const auto s = scanDbcSignal(line);
    if (!s) return "";
    double x[4] = {s->factor, s->offset, s->minimum, s->maximum};
    for (double& number : x)
        if (std::isnan(number)) number = std::fabs(number);
    return shown(s->name, s->indicator, s->startBit, s->bitLength, s->byteOrder, s->sign, x[0],
                 x[1], x[2], x[3], s->unit);
}

struct Kind {
    std::string (*byLibrary)(const std::string& line);
    std::string (*byUs)(const std::string& line);
    std::vector<std::string> matching;  ///< the first one is damaged, too
    std::vector<std::string> others;
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all = {
        {messageByLibrary,
         messageByUs,
         {"BO_ 2566834942 Ext : 8 X", "BO_100Engine: 8", "BO_ \t 7\t A B: 8", "BO_ -1 Neg: 8",
          "BO_ 4294967301 Wrap: 8", "BO_ 99999999999999999999 Full: 8", "BO_ 100 NoColon"},
         {" BO_ 100 Indented: 8", "BO_ 100 : 8", "BO_ x A: 8", "BO_ 100", "BO_TX_BU_ 100 : A"}},
        {valueTypeByLibrary,
         valueTypeByUs,
         {"SIG_VALTYPE_ 100 Sig : 1;", "SIG_VALTYPE_7 S :2"},
         {"SIG_VALTYPE_ 100 Sig: 1;", "\tSIG_VALTYPE_"}},
        {signalByLibrary,
         signalByUs,
         {" SG_ Speed m3M : 8|12@0- (0x1.8p1,-40) [-1e1|+.5E2] \"km/h\" A,B",
          "SG_ S : 0|16@1+ (0.1,0) [0|1] \"V\"", "\tSG_ S :0| 16@1+( 0.1, 0)[ 0| 1]\"V",
          "SG_ S : 0|16@1+ (0x1p-4,1e999) [-inf|nan] \"V\"",
          "SG_ S : 0|16@1+ (1e-999,0) [-1e999|1] \"V\""},
         {"SG_S:0|16@1+(0.1,0)[0|1]\"V",  // the name takes all up to a blank
          "SG_ S: 0|16@1+ (0.1,0) [0|1] \"V\"", "SG_ S : 0 |16@1+ (0.1,0) [0|1] \"V\"",
          "SG_ S : 0|16@1+ (0.1 ,0) [0|1] \"V\"", "SG_ S : 0|16@1+ (--1,0) [0|1] \"V\"",
          "SG_ S : 0|16@1+ (1,0) [0|1] \"\"", "SG_ S : 0|16@1+ (0,1,0) [0|1] \"V\"",
          "SG_ A B C : 0|16@1+ (1,0) [0|1] \"V\""}},
    };
    return all;
}

TEST(DbcScan, readsAsTheLibraryDoes) {
    for (const Kind& kind : kinds()) {
        for (const std::string& line : kind.matching) {
            EXPECT_NE(kind.byUs(line), "") << line;
            EXPECT_EQ(kind.byUs(line), kind.byLibrary(line)) << line;
        }
        for (const std::string& line : kind.others)
            EXPECT_EQ(kind.byUs(line), "") << line;
    }
}

TEST(DbcScan, agreesWithTheLibraryOnDamagedLines) {
    constexpr std::string_view kAlphabet = " \t:|@+-(,)[]\".0e9xpSMnaif;_";
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (const Kind& kind : kinds())
        for (int round = 0; round < 10000; ++round) {
            std::string line = kind.matching.front();
            for (std::uint32_t edits = random.below(4); edits > 0; --edits) {
                const auto at = random.below(static_cast<std::uint32_t>(line.size()));
                const auto way = random.below(3);
                if (way != 1) line.erase(at, 1);
                if (way != 2) line.insert(at, 1, kAlphabet[random.below(kAlphabet.size())]);
            }
            ASSERT_EQ(kind.byUs(line), kind.byLibrary(line)) << line;
        }
}

}  // namespace
}  // namespace trelis
