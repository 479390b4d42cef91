// The patterns of DBC lines are defined by what the C library's sscanf does with them, so it is the
// judge: of lines that show each rule, and of lines damaged at random.
#include "input/DbcScan.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "input/DamagedLine.h"

namespace trelis {
namespace {

/// The fields of a line, numbers in full. The sign of what is no number does not matter.
template <typename... Fields>
std::string shown(const Fields&... fields) {
    std::ostringstream stream;
    stream.precision(17);
    ((stream << fields << '~'), ...);
    std::string text = stream.str();
    while (text.find("-nan") != std::string::npos)
        text.erase(text.find("-nan"), 1);
    return text;
}

/// The fields as we and as the library find them; empty: the line does not match.
using Judged = std::pair<std::string, std::string>;

Judged message(const std::string& line) {
    unsigned id = 0;
    char name[128] = {};
    const bool matches = std::sscanf(line.c_str(), "BO_ %u %127[^:]", &id, name) == 2;
    const auto ours = scanDbcMessage(line);
    return {ours ? shown(ours->id, ours->name) : "", matches ? shown(id, name) : ""};
}

Judged valueType(const std::string& line) {
    unsigned id = 0;
    unsigned type = 0;
    char name[128] = {};
    const bool matches =
        std::sscanf(line.c_str(), "SIG_VALTYPE_ %u %127s : %u;", &id, name, &type) == 3;
    const auto ours = scanDbcValueType(line);
    return {ours ? shown(ours->id, ours->signal, ours->type) : "",
            matches ? shown(id, name, type) : ""};
}

Judged signal(const std::string& line) {
    char name[128] = {}, mark[128] = {}, unit[128] = {}, sign = 0;
    unsigned n[3] = {};
    double x[4] = {};
    bool matches =
        std::sscanf(line.c_str(), " SG_ %127s %127s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%127[^\"]",
                    name, mark, &n[0], &n[1], &n[2], &sign, &x[0], &x[1], &x[2], &x[3], unit) == 11;
    if (!matches) {
        mark[0] = '\0';
        matches =
            std::sscanf(line.c_str(), " SG_ %127s : %u|%u@%u%c (%lf,%lf) [%lf|%lf] \"%127[^\"]",
                        name, &n[0], &n[1], &n[2], &sign, &x[0], &x[1], &x[2], &x[3], unit) == 10;
    }
    const auto s = scanDbcSignal(line);
    return {s ? shown(s->name, s->indicator, s->startBit, s->bitLength, s->byteOrder, s->sign,
                      s->factor, s->offset, s->minimum, s->maximum, s->unit)
              : "",
            matches ? shown(name, mark, n[0], n[1], n[2], sign, x[0], x[1], x[2], x[3], unit) : ""};
}

TEST(DbcScan, readsAsTheLibraryDoes) {
    struct Kind {
        Judged (*judge)(const std::string& line);
        std::vector<std::string> lines;  ///< the first one matches and is damaged, too
    };
    const Kind kinds[] = {
        {message,
         {"BO_ 2566834942 Ext : 8 X", "BO_100Engine: 8", "BO_ \t 7\t A B: 8", "BO_ -1 Neg: 8",
          "BO_ 4294967301 Wrap: 8", "BO_ 99999999999999999999 Full: 8", "BO_ 100 NoColon",
          " BO_ 100 Indented: 8", "BO_ 100 : 8", "BO_ x A: 8", "BO_ 100", "BO_TX_BU_ 100 : A"}},
        {valueType,
         {"SIG_VALTYPE_ 100 Sig : 1;", "SIG_VALTYPE_7 S :2", "SIG_VALTYPE_ 100 Sig: 1;",
          "\tSIG_VALTYPE_"}},
        {signal,
         {" SG_ Speed m3M : 8|12@0- (0x1.8p1,-40) [-1e1|+.5E2] \"km/h\" A,B",
          "SG_ S : 0|16@1+ (0.1,0) [0|1] \"V\"", "\tSG_ S :0| 16@1+( 0.1, 0)[ 0| 1]\"V",
          "SG_ S : 0|16@1+ (0x1p-4,1e999) [-inf|nan] \"V\"",
          "SG_ S : 0|16@1+ (1e-999,0) [-1e999|1] \"V\"",
          "SG_S:0|16@1+(0.1,0)[0|1]\"V",  // the name takes all up to a blank
          "SG_ S: 0|16@1+ (0.1,0) [0|1] \"V\"", "SG_ S : 0 |16@1+ (0.1,0) [0|1] \"V\"",
          "SG_ S : 0|16@1+ (0.1 ,0) [0|1] \"V\"", "SG_ S : 0|16@1+ (--1,0) [0|1] \"V\"",
          "SG_ S : 0|16@1+ (1,0) [0|1] \"\"", "SG_ S : 0|16@1+ (0,1,0) [0|1] \"V\"",
          "SG_ A B C : 0|16@1+ (1,0) [0|1] \"V\""}},
    };
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (const auto& [judge, lines] : kinds) {
        const auto expectAgreement = [judge = judge](const std::string& line) {
            const auto [ours, theirs] = judge(line);
            ASSERT_EQ(ours, theirs) << line;
        };
        EXPECT_NE(judge(lines.front()).first, "");
        for (const std::string& line : lines)
            expectAgreement(line);
        for (int round = 0; round < 10000 && !HasFailure(); ++round)
            expectAgreement(test::damaged(lines.front(), " \t:|@+-(,)[]\".0e9xpSMnaif;_", random));
    }
}

}  // namespace
}  // namespace trelis
