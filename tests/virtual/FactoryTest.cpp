#include "virtual/SignalFactory.h"

#include <gtest/gtest.h>

#include "TestModel.h"
#include "virtual/CustomSignal.h"

namespace trelis {
namespace {

using test::kStart;
using test::linesOf;
using test::Messages;
using test::TestModel;
using test::TimedValues;

const std::string kSum = linesOf("sum s");

TEST(FactoryTest, tellsWhatIsWrong) {
    struct Case {
        const char* group;  // see linesOf
        std::string text;
    };
    const std::string none = "At least one signal_XX= must be defined";
    const std::string count = "Input and value count for Equals signal must match";
    const std::string badStep = "step must be at least 1 ms for virtual signal out, not ";
    for (const auto& [group, text] : {
             Case{"Sum", "Unknown virtual signal method: Sum"},
             {"sum signal=Can.In.s", none},
             {"sum signal_02=Can.In.s", none},
             {"sum none", "Can't find signal with name none"},
             {"sum s fact=0", "Factor can not be zero"},
             {"sum s fact=nan", "Factor can not be zero"},
             {"sum s fact=1 factor=0", "made"},
             {"sum s abs=true",
              "The 'abs' option has been removed, please replace it with 'absInput' or 'absOutput' "
              "depending on if the absolute value should be taken on the input to the signal, or "
              "on the output from the signal"},
             {"IIR", "Missing signal_01"},
             {"integrate s resetSig=Can.In.none", "Can't find signal with name none"},
             {"IIR s step=0", badStep + "0"},
             {"average s window=9 step=-3", badStep + "-3"},
             {"average s window=50", "step > window for virtual signal out"},
             {"average s window=100", "made"},
             {"sum s avgWindow=50", "step > window for virtual signal out"},
             {"fmod s", "Expected 'denom'"},
             {"multiplex s", "expected at least trigSignal_01"},
             {"multiplex s trigSign_01=Can.In.s trigSign_02=Can.In.s trigVal_01=1",
              "expected trigVal_02"},
             {"statistics s type=mean", "Invalid statistics type 'mean'"},
             {"equals s", count},
             {"equals s value_01=1 value_02=1", count},
             {"lookuptable s", "Missing vector file path ('file') for Calc.out"},
             {"lookuptable s file=none.txt", "/nowhere/none.txt can't be read."},
             {"lookuptable s file=/dev/zero", "/dev/zero can't be read."},
             {"lookuptable s file=/tmp", "/tmp can't be read."},
             {"geofence", "Mandatory Geofence attribute missing: 'type'"},
             {"geofence type=round",
              "Geofence attribute 'type' must be 'square' or 'circle', not 'round'"},
             {"geofence type=square", "Missing value 'topleft'"},
             {"geofence type=square topleft=1;2", "Missing value 'bottomright'"},
             {"geofence type=square topleft=1;2;3",
              "Expected 'topleft' to be two (2) doubles seperated by a semicolon (;)"},
             {"geofence type=circle", "Missing value 'center'"},
             {"geofence type=circle center=1;2", "Missing value 'radius'"},
             {"expression s expr=-$01", "told: Could not convert - to a number"},
             {"expression expr=1",
              none +
                  "\n\tYou don't have to use the signal in the expression, but Sigmira\n\tneeds it "
                  "to know when to plot the expression."},
         }) {
        TestModel model;
        model.input("s");
        for (const char* name : {"lat", "N_S", "long", "E_W"})
            model.input(name, "Logger", "GPS_POS");
        EXPECT_EQ(model.failure(linesOf(group)), text) << group;
        if (text == "made") continue;
        const auto& kept = *model.virtualMessage;
        EXPECT_TRUE(virtualRegistry(model).allVirtualSignals.empty() && kept.signals.empty() &&
                    kept.signalsByName.empty())
            << group;
    }
    // What the key file itself says is its own wording.
    EXPECT_EQ(TestModel().failure("step=1").substr(0, 5), "Glib:");
}

TEST(FactoryTest, readsCommonOptions) {
    TestModel model;
    model.input("s")->unit = "V";
    const auto signal =
        model.make(kSum +
                   "fact=2\noffset=3\noffs=4\nminLim=-1\nmaxLimit=9\nhidden=true\nunit=km/h\n"
                   "comment=how fast\nabsInput=true\nabs=1\nabsOutput=true");
    EXPECT_EQ(signal->factor, 2);
    EXPECT_EQ(signal->offset, 4);
    EXPECT_TRUE(signal->hasLimits && signal->hidden && signal->absInput && signal->absOutput);
    EXPECT_EQ(signal->lowerLimit, -1);
    EXPECT_EQ(signal->upperLimit, 9);
    EXPECT_EQ(signal->unit + signal->comment, "km/hhow fast");
    EXPECT_EQ(signal->fullName, "Virt.Calc.out");
    EXPECT_EQ(signal->vsdFile + signal->vsdGroup, "/nowhere/test.vsdCalc.out");
    EXPECT_TRUE(signal->usesSignal("Can.In.s"));
    EXPECT_FALSE(signal->usesSignal("Can.In.t"));
    EXPECT_EQ(model.make(linesOf("average s window=200"), "mean")->unit, "V");

    const auto paused = model.make(kSum + "pauseIfZero=true\nfillEmpty=true", "paused");
    EXPECT_FALSE(paused->pauseIfZero);
    EXPECT_EQ(TestModel::messages(), Messages{"Ignoring pauseIfZero for Virt.Calc.paused, can't be "
                                              "combined with fillEmpty"});
}

TEST(OptionsTest, fillGaps) {
    struct Case {
        const char* options;
        std::uint64_t gap;
        TimedValues out;  // what is stored between the two samples
    };
    for (const auto& [options, gap, out] : {
             Case{"", 12000, {}},
             {"fillEmpty=true\nvalWhenEmpty=7", 10000, {}},
             {"fillEmpty=true", 10001, {{5000, 1}}},
             {"fillEmpty=true\nvalWhenEmpty=7\nfact=2\nabsOutput=true", 12000, {{5000, 7}}},
             {"fillEmpty=true\nfact=2", 21000, {{5000, 2}, {10000, 2}, {15000, 2}}},
             {"fillEmpty=true\nvalWhenEmpty=-7", 21000, {{5000, -7}, {10000, -7}, {15000, -7}}},
         }) {
        TestModel model;
        model.input("s");
        const auto signal = model.make(kSum + options);
        signal->addSample(kStart, 1);
        signal->addSample(kStart + gap, 3);
        TimedValues between = test::stored(*signal);
        std::erase_if(between, [&](const auto& s) { return s.first == 0 || s.first == gap; });
        EXPECT_EQ(between, out) << options << " " << gap;
    }
}

// A clock that is off by centuries must not fill the memory.
TEST(OptionsTest, leaveEndlessGapsOpen) {
    TestModel model;
    model.input("s");
    const auto signal = model.make(kSum + "fillEmpty=true");
    std::uint64_t time = kStart;
    signal->addSample(time, 1);
    signal->addSample(time += 86'400'000ULL * 365 * 1'000'000, 2);
    signal->addSample(time += 12000, 3);
    signal->addSample(1, 4);  // back in time
    signal->addSample(~std::uint64_t{0}, 5);
    EXPECT_LT(signal->samples().size(), 20U);
    EXPECT_EQ(signal->valueAt(kStart + 86'400'000ULL * 365 * 1'000'000 + 5000), 2);
    EXPECT_EQ(TestModel::messages(),
              Messages{"The gaps in Virt.Calc.out are too long to be filled, they stay empty"});
}

TEST(SmoothingTest, putsAWindowBehindTheSignal) {
    TestModel model;
    model.feedSteps("s", {0, 10, 0, 10, 0, 10, 0, 10, 0, 10});
    const auto average =
        model.make(kSum + "avgWindow=400\nfact=2\nunit=V\ncomment=c\nmaxLim=5\nhidden=false");
    const auto& all = virtualRegistry(model).allVirtualSignals;
    ASSERT_EQ(all.size(), 2U);
    const auto& inner = all.front();
    EXPECT_EQ(all.back(), average);
    EXPECT_EQ(average->smoothedSource, inner);
    EXPECT_EQ(model.virtualMessage->getSignal("out"), average);
    EXPECT_EQ(model.virtualMessage->getSignal("out_randNameA83D5Y765sa43/8TUfs"), inner);
    EXPECT_TRUE(inner->hidden && inner->internalOnly);
    EXPECT_FALSE(average->hidden || average->internalOnly);
    EXPECT_EQ(average->unit + average->comment, "Vc");
    EXPECT_EQ(average->upperLimit, 5);
    EXPECT_EQ(inner->vsdGroup, "Calc.out");
    EXPECT_EQ(average->vsdGroup + average->vsdFile, "");
    // The editor asks who uses a signal: this one does not use itself.
    EXPECT_FALSE(average->usesSignal(average->fullName));
    EXPECT_EQ(model.failure(kSum), "Message 'Calc' already has a signal with name out");
    average->addUser(nullptr);
    model.finish();
    EXPECT_DOUBLE_EQ(average->valueAt(kStart + 400), 10);
}

TEST(SmoothingTest, isLeftOutWithoutAWord) {
    for (const auto& [lines, signals] :
         {std::pair{kSum + "avgWindow=-5", 1U},
          {kSum + "avg=0\navgWindow=400", 1U},
          {kSum + "avg=400\navgWindow=0", 2U},
          {std::string("method=integrate\nsignal=Can.In.s\navgWindow=500"), 1U}}) {
        TestModel model;
        model.input("s");
        model.make(lines);
        EXPECT_EQ(virtualRegistry(model).allVirtualSignals.size(), signals) << lines;
        EXPECT_TRUE(TestModel::messages().empty());
    }
}

// ---- messages and the end of a parse

TEST(VirtualMessageTest, handsOutIdsAndRefusesToMixThem) {
    TestModel model;
    EXPECT_EQ(model.virtualMessage->id, 0U);
    EXPECT_EQ(VirtualMessage(model.virt, "Second").id, 1U);
    EXPECT_THROW(VirtualMessage(model.virt, 2, "Given"), PrintMsgError);
    EXPECT_EQ(TestModel::messages(), Messages{"Mixing static and dynamic message ID:s"});
    EXPECT_EQ(VirtualMessage(model.virt, 3, "Given").id, 3U);
    // The rates of an interface have a given id there, however many definitions were loaded.
    for (int i = 0; i < 20; ++i)
        const VirtualMessage more(model.virt, "More");
    const auto statistics = model.addInterface("ST_Can", kStatisticsOffset);
    EXPECT_EQ(VirtualMessage(statistics, 3, "MsgRate").id, 3U);
    EXPECT_EQ(virtualRegistry(model).nextMessageId, 22U);
    model.clearAll();
    EXPECT_EQ(virtualRegistry(model).nextMessageId, 0U);
}

TEST(VirtualMessageTest, leavesTheModelAloneWhenItIsScratch) {
    TestModel model;
    model.feedSteps("s", {1, 2});
    const auto used = model.make(kSum);
    used->addUser(nullptr);
    const auto scratch = std::make_shared<VirtualMessage>(model, 0, "_");
    Glib::KeyFile keyFile;
    keyFile.load_from_data("[a.b]\n" + kSum);
    const auto trial = createSignal(scratch, "a.b", "b", keyFile, "");
    EXPECT_EQ(trial->fullName, "_.b");
    EXPECT_EQ(virtualRegistry(model).allVirtualSignals.size(), 1U);
    scratch->startWorker();
    scratch->finish();
    EXPECT_FALSE(used->flushed);
    scratch->clearMessage();
    EXPECT_EQ(virtualRegistry(model).allVirtualSignals.size(), 1U);
}

TEST(VirtualMessageTest, calculatesUsedSignalsOnceAParse) {
    TestModel model;
    model.feedSteps("s", {1, 2, 6});
    const auto other = std::make_shared<VirtualMessage>(model.virt, "Other");
    model.virt->addMessage(other);
    const auto mean = model.make(linesOf("statistics s type=avg"), "mean");
    const auto unused = model.make(kSum, "unused");
    const auto late = model.make(kSum, "late");
    mean->addUser(nullptr);
    model.finish();
    EXPECT_DOUBLE_EQ(test::summaryOf(*mean), 3);  // a second flush would divide once more
    EXPECT_TRUE(mean->parsed);
    EXPECT_FALSE(mean->needsParse);
    EXPECT_TRUE(unused->samples().empty());
    EXPECT_FALSE(unused->parsed);

    late->addUser(nullptr);
    model.finish();
    EXPECT_EQ(late->valueAt(kStart + 200), 6);
    EXPECT_DOUBLE_EQ(test::summaryOf(*mean), 3);
    calculateAll(model);
    EXPECT_EQ(unused->valueAt(kStart + 200), 6);
}

TEST(VirtualSignalTest, hasNoInputsOfItsOwn) {
    TestModel model;
    const VirtualSignal plain(model.virtualMessage, "plain");
    EXPECT_THROW(static_cast<void>(plain.usesSignal("a")), PrintMsgError);
    EXPECT_EQ(TestModel::messages(), Messages{"should never be used"});
    double value = 0;
    EXPECT_FALSE(plain.summaryValue(value));
    CustomSignal withoutInputs(model.virtualMessage, "none", 1);
    withoutInputs.calculate();  // must end
    EXPECT_FALSE(withoutInputs.started);
}

// ---- users

TEST(UsersTest, reachDownTheWholeTree) {
    TestModel model;
    const auto input = model.input("s");
    const auto a = model.make(kSum, "a");
    const auto b = model.make(
        "method=sum\nstep=1\nsignal_01=Virt.Calc.a\nsignal_02=Virt.Calc.a\n"
        "signal_03=Can.In.s",
        "b");
    const auto c = model.make("method=integrate\nsignal=Virt.Calc.a\nresetSig=Virt.Calc.b", "c");
    c->addUser(nullptr);
    EXPECT_EQ(b->useCount, 1U);
    EXPECT_EQ(a->useCount, 3U);  // twice by b, once by c
    EXPECT_EQ(input->useCount, 2U);
    b->addUser(nullptr);
    EXPECT_EQ(a->useCount, 3U);
    c->removeUser(nullptr);
    EXPECT_EQ(a->useCount, 2U);
    EXPECT_TRUE(b->users.empty());
    b->removeUser(nullptr);
    EXPECT_EQ(a->useCount + b->useCount + input->useCount, 0U);
    EXPECT_TRUE(input->users.empty());
    EXPECT_THROW(b->removeUser(nullptr), PrintMsgError);
}

// Ten thousand signals, each computed from the one before: no step may recurse.
TEST(UsersTest, surviveALongChain) {
    const auto fill = [](TestModel& model) {
        const auto input = model.feedSteps("s", std::vector<double>(5, 1.0));
        std::string source = "Can.In.s";
        std::shared_ptr<VirtualSignal> last;
        for (int i = 0; i < 10000; ++i) {
            const std::string name = "v" + std::to_string(i);
            last = model.make(
                (i % 4 == 1 ? "method=integrate\nsignal=" : "method=sum\nstep=100\nsignal_01=") +
                    source + (i % 4 == 3 ? "\navgWindow=200" : ""),
                name);
            source = "Virt.Calc." + name;
        }
        return std::pair(input, last);
    };
    TestModel model;
    auto [input, last] = fill(model);
    last->addUser(nullptr);
    EXPECT_EQ(input->useCount, 1U);
    model.finish();
    EXPECT_TRUE(last->flushed);
    last->removeUser(nullptr);
    EXPECT_EQ(input->useCount, 0U);
    last->addUser(nullptr);
    last.reset();
    model.clearAll();

    // The same without users, whose end is one long chain of last owners.
    TestModel other;
    static_cast<void>(fill(other));
}

}  // namespace
}  // namespace trelis
