#include "input/DbcReader.h"

#include <sys/stat.h>

#include <bit>

#include "app/diagnostics/Exceptions.h"
#include "input/DefinitionRig.h"
#include "model/RealMessage.h"

namespace trelis {
namespace {

using namespace std::string_literals;
using test::signalLine;

class DbcReader : public test::DefinitionTest {
  protected:
    void load(const std::string& content, bool tolerant = false) {
        const std::string path = folder.write("a.dbc", content);
        DbcReadOptions options{.tolerant = tolerant, .sink = {}};
        options.sink = [this](const DefinitionFinding& found) {
            findings.emplace_back(found.fault, found.line);
        };
        findings.clear();
        readDbcFile(store, path, 0, "Can", options);
    }
    /// How a load ends: "" or the text of the exception, or the messages of PrintMsgError.
    std::string loadFailure(const std::string& content, bool tolerant = false) {
        store.clearAll();
        takeMessages();
        try {
            load(content, tolerant);
            return {};
        } catch (const PrintMsgError&) {
            return takeMessages();
        } catch (const std::exception& error) {
            return error.what();
        }
    }
    [[nodiscard]] std::shared_ptr<RealSignal> signal(std::uint32_t id, const char* name) {
        return std::dynamic_pointer_cast<RealSignal>(store.getMessage(0, id)->getSignal(name));
    }

    using Place = std::pair<DefinitionFault, std::uint64_t>;
    std::vector<Place> findings;
};

const std::string kPlain =
    "BO_ 100 M: 8 X\n SG_ S : 0|16@1- (0.1,-5) [0|6553.5] \"V\" X\n" + signalLine("T : 16|8@1+");

TEST_F(DbcReader, readsMessagesAndSignals) {
    load("VERSION \"\"\r\n\nNS_ :\n\tSIG_VALTYPE_\n\tBO_TX_BU_\n\nBU_: A B\n" + kPlain +
         "BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX\n" +
         signalLine("Loose : 0|8@1+") +
         "BO_ 2147483749 E: 8 X\nSG_ U : 7|16@0+ (2,1) [0|0] \"\" X\n");
    EXPECT_EQ(store.findInterfaceByNumber(0)->name, "Can");
    EXPECT_EQ(store.findInterfaceByNumber(0)->messages.size(), 2U);
    EXPECT_EQ(signal(100, "S")->unit, "V");
    EXPECT_EQ(signal(100, "S")->upperLimit, 6553.5);
    EXPECT_EQ(signal(100, "S")->valueOf(0xFFFF), 0.1 * -1 - 5);
    EXPECT_EQ(signal(100, "T")->unit, "");
    EXPECT_EQ(signal(0x80000065U, "U")->valueOf(0x0201), 2 * 0x0102 + 1);
    EXPECT_EQ(findings, std::vector<Place>{});
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(DbcReader, anInterfaceComesWithoutMessages) {
    load(signalLine("S : 0|8@1+"));
    EXPECT_TRUE(store.dbcLoaded);
    EXPECT_TRUE(store.findInterfaceByNumber(0)->messages.empty());
    EXPECT_EQ(findings, (std::vector<Place>{{DefinitionFault::kNoMessage, 1}}));
}

TEST_F(DbcReader, whatCannotBeOpenedChangesNothing) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const std::string& path : {folder / "none.dbc", folder / "pipe"}) {
        readDbcFile(store, path, 0, "Can");
        EXPECT_EQ(takeMessages(), "Could not open DBC file: " + path + "\n");
    }
    EXPECT_TRUE(store.interfaces.empty());
    EXPECT_FALSE(store.dbcLoaded);
}

TEST_F(DbcReader, theLineBoundIsAHundredBytes) {
    const auto line = [](char name, std::size_t bytes) {
        std::string text = " SG_ N : 0|8@1+ (1,0) [0|0] \"u\" ";
        text[5] = name;
        return text + std::string(bytes - text.size(), 'x') + "\n";
    };
    const std::string file = "BO_ 1 M: 8 X\n" + line('A', 99) + line('B', 100) + line('C', 5000);
    load(file);
    EXPECT_EQ(store.getMessage(0, 1)->signals.size(), 1U);
    EXPECT_EQ(signal(1, "A")->name, "A");
    EXPECT_EQ(findings, (std::vector<Place>{{DefinitionFault::kLongLine, 3},
                                            {DefinitionFault::kLongLine, 4}}));
    store.clearAll();
    load(file, true);
    EXPECT_EQ(store.getMessage(0, 1)->signals.size(), 3U);
}

TEST_F(DbcReader, multiplexing) {
    load("BO_ 1 M: 8 X\n" + signalLine("Mux M : 0|8@1+") + signalLine("A m3 : 8|8@1+") +
         signalLine("B m4M : 8|8@1+") + signalLine("C what : 8|8@1+"));
    const auto message = std::dynamic_pointer_cast<RealMessage>(store.getMessage(0, 1));
    ASSERT_TRUE(message->multiplexor);
    EXPECT_EQ(message->multiplexor->muxValue, -2);
    std::string values;
    for (const char* name : {"Mux", "A", "B", "C"})
        values += name + (" " + std::to_string(signal(1, name)->muxValue)) + " ";
    EXPECT_EQ(values, "Mux -1 A 3 B 4 C -1 ");
}

TEST_F(DbcReader, valueTables) {
    const auto labels = [this](const std::string& table, bool tolerant = false) {
        store.clearAll();
        load(kPlain + table + "\n", tolerant);
        return signal(100, "S")->valueLabels;
    };
    using Labels = std::map<std::int32_t, std::string>;
    EXPECT_EQ(labels("VAL_ 100 S 1 \"On\" 0 \"Off\" ;"), (Labels{{0, "Off"}, {1, "On"}}));
    const std::string cut = "VAL_ 100 S -1 \"R\" 0 \"\" 1 \"D\" ;";
    EXPECT_EQ(labels(cut), (Labels{{-1, "R"}, {0, "\x01"}}));
    EXPECT_EQ(findings, (std::vector<Place>{{DefinitionFault::kEmptyLabel, 4}}));
    EXPECT_EQ(labels(cut, true), (Labels{{-1, "R"}, {0, ""}, {1, "D"}}));
    EXPECT_EQ(labels("VAL_ 100 S 0 \"N\" 0 \"Neutral\" ;"), (Labels{{0, "Neutral"}}));
    EXPECT_EQ(labels("VAL_ 100 S 2 \"open"), (Labels{{2, "open"}}));
    EXPECT_EQ(labels("VAL_ 100 S 2 \"a 7 b\" 3;"), (Labels{{2, "a 7 b"}}));
    EXPECT_EQ(labels("VAL_ 100 S - 4294967295 \"x\" -- 2147483648 \"y\""),
              (Labels{{-1, "x"}, {INT32_MIN, "y"}}));
    EXPECT_EQ(labels("VAL_ 100 S 1 \"\xfc\""), (Labels{{1, "\xc3\xbc"}}));
    EXPECT_EQ(labels("VAL_ 100 S 1 \"" + std::string(300, 'a') + "\" 2 \"b\"")[1],
              std::string(256, 'a'));
    EXPECT_EQ(labels("VAL_ 100 S 1 \"" + std::string(255, 'a') + "\xc3\xbc\" 2 \"b\""),
              (Labels{{1, std::string(255, 'a')}, {2, "b"}}));
    EXPECT_EQ(labels("VAL_TABLE_ T 1 \"x\" ;"), Labels{});
}

TEST_F(DbcReader, comments) {
    load(kPlain +
         "CM_ BO_ 100 \"first\nsecond\nVAL_ 1 \"\" third\" rest;\nCM_ SG_ 100  S \"on S\";\n"
         "CM_ SG_ 100 T \"\";\nCM_ BO_ 999 \"nowhere\nVAL_ 100 S 1 \"x\" ;\nCM_ SG_ 100 U \"u\";\n"
         "CM_ \"file\";\nCM_ BO_ 100 none;\n");
    EXPECT_EQ(store.getMessage(0, 100)->comment, "first\nsecond\nVAL_ 1 ");
    EXPECT_EQ(signal(100, "S")->comment, "on S");
    EXPECT_EQ(signal(100, "T")->comment, "\x01");
    EXPECT_EQ(signal(100, "S")->valueLabels.at(1), "x");
    EXPECT_EQ(findings, (std::vector<Place>{{DefinitionFault::kUnknownComment, 9},
                                            {DefinitionFault::kUnknownComment, 11}}));
    store.clearAll();
    load(kPlain + "CM_ BO_ 100 \"open\nBO_ 200 N: 8 X\n");
    EXPECT_EQ(takeMessages(), "Reached end of DBC file before message comment ended\n");
    EXPECT_EQ(store.getMessage(0, 100)->comment, "");
    EXPECT_EQ(store.findInterfaceByNumber(0)->messages.size(), 1U);
    EXPECT_TRUE(store.dbcLoaded);
}

// Every cause by which a load ends, and what is left of the file when it is read tolerantly.
TEST_F(DbcReader, faultsEndTheLoadUnlessTolerant) {
    struct Case {
        std::string lines;
        const char* failure;
        DefinitionFault fault;
        std::size_t signalsKept = 2;  ///< of message 100, read tolerantly
    };
    const char* const noFloat = "Only 32bit floats on 4 whole bytes are supported.\n";
    for (const Case& c : {
             Case{"BO_ 100 N: 8 X\n" + signalLine("Z : 0|8@1+"),
                  "Couldn't insert message 'N' into interface 'Can', message with ID '100' already "
                  "exists\n",
                  DefinitionFault::kDuplicateMessage, 3},
             Case{signalLine("S : 0|8@1+"), "Couldn't insert signal S\n",
                  DefinitionFault::kDuplicateSignal},
             Case{signalLine("S m1 : 0|8@1+"), "Couldn't insert multiplexed signal: S\n",
                  DefinitionFault::kDuplicateSignal},
             Case{signalLine("Z m : 0|8@1+"),
                  "Expected number after 'm' in multiplexed signal: Z\n",
                  DefinitionFault::kBadMultiplexMark, 3},
             Case{"SIG_VALTYPE_ 100 S : 3;\n",
                  "Only SIG_VALTYPE_ : 1 (float) is allowed, signal: S\n",
                  DefinitionFault::kBadValueType},
             Case{"SIG_VALTYPE_ 100 S : 1;\n", noFloat, DefinitionFault::kBadValueType},
             Case{"SIG_VALTYPE_ 101 S : 1;\n", "Can't find message with id 101",
                  DefinitionFault::kUnknownTarget},
             Case{"VAL_ 100 Q 1 \"x\" ;\n", "Can't find signal with name Q",
                  DefinitionFault::kUnknownTarget},
         }) {
        SCOPED_TRACE(c.lines);
        const std::string file =
            kPlain + c.lines + signalLine("F : 24|32@1-") + "SIG_VALTYPE_ 100 F : 1;\n";
        EXPECT_EQ(loadFailure(file), c.failure);
        EXPECT_EQ(findings, (std::vector<Place>{{c.fault, 4}}));
        EXPECT_EQ(signal(100, "S")->name, "S") << "what stood before stays";

        EXPECT_EQ(loadFailure(file, true), "");
        EXPECT_EQ(findings, (std::vector<Place>{{c.fault, 4}}));
        EXPECT_EQ(store.getMessage(0, 100)->signals.size(), c.signalsKept + 1);
        EXPECT_TRUE(signal(100, "F")->isFloat);
    }
}

TEST_F(DbcReader, tolerantlyEachKindOfFaultIsToldOnce) {
    const std::string path = folder.write(
        "a.dbc", kPlain + "VAL_ 9 S 1 \"x\" ;\nVAL_ 8 S 1 \"x\" ;\n" + signalLine("W : 0|40@1+"));
    store.tolerantDefinitions = true;
    readDbcFile(store, path, 0, "Can");
    EXPECT_EQ(takeMessages(),
              "DBC file " + path + ": signal of more than 32 bits, once, in line 6\n" +
                  "DBC file " + path +
                  ": value table or type of an unknown signal, 2 times, first in line 4\n");
}

TEST_F(DbcReader, wideSignalsDecodeInFullOnlyWhenTolerant) {
    const std::string file =
        "BO_ 1 M : 8 X\n SG_ L : 8|40@1+ (2,1) [0|0] \"\" X\n" + signalLine("N : 0|64@1-") +
        signalLine("B : 15|40@0-") + signalLine("E : 39|40@0+") + signalLine("D : 0|64@1-") +
        signalLine("R : 7|64@0-") + "SIG_VALTYPE_ 1 D : 2;\nSIG_VALTYPE_ 1 R : 2;\n";
    constexpr std::uint64_t data = 0xF8F7F6F5F4F3F2F1;
    EXPECT_EQ(loadFailure(file), "Only SIG_VALTYPE_ : 1 (float) is allowed, signal: D\n");
    EXPECT_EQ(signal(1, "L")->valueOf(data), 2.0 * (0xF5F4F3F2 | 0xF6) + 1);
    EXPECT_EQ(store.getMessage(0, 1)->name, "M ");
    EXPECT_EQ(findings.front(), (Place{DefinitionFault::kWideSignal, 2}));
    EXPECT_EQ(findings.back(), (Place{DefinitionFault::kDoubleSignal, 8}));

    EXPECT_EQ(loadFailure(file, true), "");
    EXPECT_EQ(store.getMessage(0, 1)->name, "M");
    EXPECT_EQ(signal(1, "L")->valueOf(data), 2.0 * 0xF6F5F4F3F2 + 1);
    EXPECT_EQ(signal(1, "N")->valueOf(data), static_cast<double>(static_cast<std::int64_t>(data)));
    // F2 to F6, first byte highest
    EXPECT_EQ(signal(1, "B")->valueOf(data), 0xF2F3F4F5F6 - 0x1p40);
    EXPECT_EQ(signal(1, "E")->valueOf(data), static_cast<double>(0xF5F6F7F800));
    const auto pi = std::bit_cast<std::uint64_t>(3.14159);
    EXPECT_EQ(signal(1, "D")->valueOf(pi), 3.14159);
    EXPECT_EQ(signal(1, "R")->valueOf(__builtin_bswap64(pi)), 3.14159);
}

TEST_F(DbcReader, hostileShapesAreKeptWithinBounds) {
    load("BO_ 1 M: 8 X\n SG_ A : 4294967295|4294967295@1- (nan,inf) [nan|nan] \"\" X\n" +
         signalLine("B : 4294967295|64@0+") + signalLine("C : 60|16@1+") + "BO_ 2 N\0O: 8 X\n"s +
         " SG_ \xff\xfe : 0|8@7% (1,0) [0|0] \"\xb0\" X\n");
    EXPECT_EQ(signal(1, "B")->valueOf(~std::uint64_t{0}), 0.0);
    EXPECT_EQ(signal(1, "C")->valueOf(~std::uint64_t{0}), 15.0);
    EXPECT_EQ(store.getMessage(0, 2)->name, "N");
    EXPECT_EQ(signal(2, "\xc3\xbf\xc3\xbe")->unit, "\xc2\xb0");
    EXPECT_EQ(findings.size(), 5U);
}

TEST_F(DbcReader, filesOfOneInterfaceAddUpAndInterfacesStayApart) {
    load(kPlain);
    load("BO_ 101 N: 8 X\n");
    EXPECT_EQ(store.findInterfaceByNumber(0)->messages.size(), 2U);
    readDbcFile(store, (folder / "a.dbc"), 1, "Other");
    EXPECT_EQ(store.getMessage(1, 101)->name, "N");
    EXPECT_THROW(readDbcFile(store, (folder / "a.dbc"), 2, "Other"), PrintMsgError);
}

}  // namespace
}  // namespace trelis
