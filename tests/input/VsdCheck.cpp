#include "input/DefinitionCheck.h"

#include <sstream>

#include "input/DefinitionRig.h"
#include "model/Message.h"

namespace trelis {
namespace {

using test::signalLine;

const std::string kMessage = "BO_ 1 M: 8 X\n" + signalLine("S : 0|8@1+");

class VsdCheck : public test::DefinitionTest {
  protected:
    /// The lines that the check prints, without the folder.
    std::string check(const std::string& dbc, const std::string& vsd, int status) {
        store.clearAll();
        std::ostringstream output;
        EXPECT_EQ(checkDefinitions(store, dbc, vsd, output), status);
        std::string text = output.str();
        const std::string place = folder / "";
        for (auto at = text.find(place); at != std::string::npos; at = text.find(place))
            text.erase(at, place.size());
        return text;
    }
};

TEST_F(VsdCheck, aSoundFileHasNoFindings) {
    const auto dbc = folder.write(
        "a.dbc", "VERSION \"\"\nNS_ :\n\tSIG_VALTYPE_\n\tBO_TX_BU_\nBS_:\nBU_: A SG_\n" + kMessage +
                     "CM_ \"all\";\nBA_DEF_ SG_  \"x\" INT 0 100;\nBO_TX_BU_ 1 : A;\n"
                     "SG_MUL_VAL_ 1 S S 1-2;\n"
                     "BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\n SG_ L m : bad\n");
    EXPECT_EQ(check(dbc, "", 0), "a.dbc: 1 signal, 0 findings\n");
}

TEST_F(VsdCheck, eachCauseIsNamedAlsoBehindTheOneThatEndsTheLoad) {
    const auto dbc =
        folder.write("a.dbc", kMessage + signalLine("Bad: 0|8@1+") + signalLine("Wide : 0|40@1+") +
                                  signalLine("S : 0|8@1+") + signalLine("Out : 60|8@1+") +
                                  "CM_ BO_ 9 \"gone\";\nVAL_ 1 S 0 \"\" 1 \"a\";\n");
    EXPECT_EQ(check(dbc, "", 1),
              "a.dbc:3: line that cannot be read:  SG_ Bad: 0|8@1+ (1,0) [0|0] \"\x20\"\n"
              "a.dbc:4: signal of more than 32 bits: Wide: 40 bits [tolerant: read in full]\n"
              "a.dbc:5: signal defined twice: Couldn't insert signal S; the load ends here "
              "[tolerant: costs only itself]\n"
              "a.dbc:6: signal beyond the data bytes: Out: 8 bits from bit 60 on\n"
              "a.dbc:7: comment on an unknown message or signal: CM_ BO_ 9 \"gone\";\n"
              "a.dbc:8: labels cut by an empty text: empty label in: VAL_ 1 S 0 \"\" 1 \"a\"; "
              "[tolerant: read in full]\n"
              "a.dbc: 2 signals, 6 findings, of which tolerant reading mends 3, the load does not "
              "come to its end\n");
    EXPECT_EQ(store.getMessage(0, 1)->signals.size(), 2U) << "the model is that of the plain load";
}

TEST_F(VsdCheck, whatWasReadTolerantlyIsNoFinding) {
    folder.write("a.dbc", "BO_ 1 M: 8 X\n" + signalLine("W : 0|64@1+") + signalLine("W : 0|8@1+") +
                              "SIG_VALTYPE_ 1 W : 2;\n");
    const auto vsd =
        folder.write("a.vsd", "[settings]\nifname_0=Can\ndbcfile_0=a.dbc\ntolerant=true\n");
    EXPECT_EQ(check("", vsd, 1),
              "a.dbc:3: signal defined twice: signal W [tolerant: costs only itself]\n"
              "a.vsd: 1 signal, 1 finding, of which tolerant reading mends 1\n");
}

TEST_F(VsdCheck, definitionFiles) {
    const std::string twice = "[Twice]\nmethod=sum\nstep=1\nsignal_01=Can.M.S\n";
    folder.write("a.dbc", kMessage);
    folder.write("b.vsd", twice);
    const auto vsd = folder.write(
        "a.vsd", "[settings]\nifname_0=Can\ndbcfile_0=a.dbc\ninclude=b.vsd;none.vsd\n" + twice +
                     "[Lost]\nmethod=sum\nstep=1\nsignal_01=Can.M.Gone\n"
                     "[Lost]\nunit=V\n[A.B.C]\nmethod=sum\n[Behind]\nmethod=sum\n");
    EXPECT_EQ(check("", vsd, 1),
              "none.vsd: file that cannot be read: an included file cannot be opened\n"
              "a.vsd:13: group defined twice: Lost is one with the group of this name above\n"
              "a.vsd:5: group defined twice: Twice exists already\n"
              "a.vsd:9: virtual signal that cannot be made: Lost: Can't find signal with name "
              "Gone\n"
              "a.vsd:15: group name of a wrong form: Failed to parse VSD file a.vsd, signal: "
              "A.B.C, is not formatted as <msgName>.<sigName>\n"
              "a.vsd: 2 signals, 5 findings\n");
    EXPECT_EQ(check("", folder.write("c.vsd", "damaged\n"), 1),
              "c.vsd: file that cannot be read: Key file contains line “damaged” which is not a "
              "key-value pair, group, or comment; the load ends here\n"
              "c.vsd: 0 signals, 1 finding, the load does not come to its end\n");
}

}  // namespace
}  // namespace trelis
