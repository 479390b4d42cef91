#include "virtual/SignalFactory.h"

#include <gtest/gtest.h>

#include "TestModel.h"
#include "virtual/CustomSignal.h"

namespace trelis {
namespace {

using test::kStart;
using test::stored;
using test::TestModel;
using test::valuesAtSteps;
using Samples = std::vector<std::pair<std::uint64_t, double>>;

const std::string kSum = "method=sum\nsignal_01=Can.In.s\nstep=100\n";

TEST(FactoryTest, tellsWhatIsMissing) {
    struct Case {
        const char* lines;
        const char* text;
    };
    const std::string abs =
        "The 'abs' option has been removed, please replace it with 'absInput' or 'absOutput' "
        "depending on if the absolute value should be taken on the input to the signal, or on the "
        "output from the signal";
    const std::string count = "Input and value count for Equals signal must match";
    for (const auto& [lines, text] : {
             Case{"method=summ\nstep=1", "Unknown virtual signal method: summ"},
             {"method=Sum\nstep=1", "Unknown virtual signal method: Sum"},
             {"method=sum\nstep=1", "At least one signal_XX= must be defined"},
             {"method=sum\nstep=1\nsignal=Can.In.s", "At least one signal_XX= must be defined"},
             {"method=sum\nstep=1\nsignal_02=Can.In.s", "At least one signal_XX= must be defined"},
             {"method=sum\nstep=1\nsignal_01=Can.In.none", "Can't find signal with name none"},
             {"method=sum\nstep=1\nsignal_01=Can.In.s\nfact=0", "Factor can not be zero"},
             {"method=sum\nstep=1\nsignal_01=Can.In.s\nfact=nan", "Factor can not be zero"},
             {"method=sum\nstep=1\nsignal_01=Can.In.s\nfactor=0", "Factor can not be zero"},
             {"method=sum\nstep=1\nsignal_01=Can.In.s\nfact=1\nfactor=0", "made"},
             {"method=sum\nstep=1\nsignal_01=Can.In.s\nabs=true", abs.c_str()},
             {"method=IIR\nstep=1", "Missing signal_01"},
             {"method=IIR\nstep=0\nsignal=Can.In.s",
              "step must be at least 1 ms for virtual signal out, not 0"},
             {"method=average\nwindow=9\nstep=-3\nsignal=Can.In.s",
              "step must be at least 1 ms for virtual signal out, not -3"},
             {"method=average\nwindow=50\nstep=100\nsignal=Can.In.s",
              "step > window for virtual signal out"},
             {"method=average\nwindow=100\nstep=100\nsignal=Can.In.s", "made"},
             {"method=fmod\nstep=1\nsignal_01=Can.In.s", "Expected 'denom'"},
             {"method=multiplex\nstep=1\nsignal=Can.In.s", "expected at least trigSignal_01"},
             {"method=multiplex\nstep=1\nsignal=Can.In.s\ntrigSign_01=Can.In.s\ntrigSign_02=Can."
              "In.s\ntrigVal_01=1",
              "expected trigVal_02"},
             {"method=statistics\nstep=1\nsignal=Can.In.s\ntype=mean",
              "Invalid statistics type 'mean'"},
             {"method=equals\nstep=1\nsignal_01=Can.In.s", count.c_str()},
             {"method=equals\nstep=1\nsignal_01=Can.In.s\nvalue_01=1\nvalue_02=1", count.c_str()},
             {"method=lookuptable\nstep=1\nsignal_01=Can.In.s",
              "Missing vector file path ('file') for Calc.out"},
             {"method=lookuptable\nstep=1\nsignal_01=Can.In.s\nfile=none.txt",
              "/nowhere/none.txt can't be read."},
             {"method=lookuptable\nstep=1\nsignal_01=Can.In.s\nfile=/dev/zero",
              "/dev/zero can't be read."},
             {"method=lookuptable\nstep=1\nsignal_01=Can.In.s\nfile=/tmp", "/tmp can't be read."},
             {"method=expression\nstep=1\nsignal_01=Can.In.s\nexpr=max(",
              "Expression has mismatched parentheses"},
             {"method=expression\nstep=1\nsignal_01=Can.In.s\nexpr=-$01",
              "told: Could not convert - to a number"},
         }) {
        TestModel model;
        model.input("s");
        EXPECT_EQ(model.failure(lines), text) << lines;
        if (std::string(text) == "made") continue;
        EXPECT_TRUE(virtualRegistry(model).allVirtualSignals.empty()) << lines;
        EXPECT_TRUE(model.virtualMessage->signals.empty()) << lines;
    }
    // What the key file itself says is its own wording.
    for (const char* lines : {"step=1\nsignal=Can.In.s", "method=IIR\nsignal=Can.In.s",
                              "method=IIR\nsignal=Can.In.s\nstep=fast",
                              "method=count\nstep=1\nsignal=Can.In.s\nabove=1",
                              "method=slope\nstep=1\nsignal=Can.In.s\nposSlopeIncr=1",
                              "method=expression\nstep=1\nsignal_01=Can.In.s"}) {
        TestModel model;
        model.input("s");
        EXPECT_EQ(model.failure(lines).substr(0, 5), "Glib:") << lines;
    }
}

TEST(FactoryTest, readsCommonOptions) {
    TestModel model;
    model.input("s");
    const auto signal =
        model.make(kSum +
                   "fact=2\noffset=3\noffs=4\nminLim=-1\nmaxLimit=9\nhidden=true\nunit=km/h\n"
                   "comment=how fast\nvalWhenEmpty=7\nabsInput=true\nabs=1\nabsOutput=true");
    EXPECT_EQ(signal->factor, 2);
    EXPECT_EQ(signal->offset, 4);
    EXPECT_TRUE(signal->hasLimits);
    EXPECT_EQ(signal->lowerLimit, -1);
    EXPECT_EQ(signal->upperLimit, 9);
    EXPECT_TRUE(signal->hidden && signal->absInput && signal->absOutput);
    EXPECT_TRUE(signal->hasValWhenEmpty);
    EXPECT_EQ(signal->unit + signal->comment, "km/hhow fast");
    EXPECT_EQ(signal->fullName, "Virt.Calc.out");
    EXPECT_EQ(signal->vsdFile, "/nowhere/test.vsd");
    EXPECT_EQ(signal->vsdGroup, "Calc.out");
    EXPECT_TRUE(signal->usesSignal("Can.In.s"));
    EXPECT_FALSE(signal->usesSignal("Can.In.t"));

    const auto paused = model.make(kSum + "pauseIfZero=true\nfillEmpty=true", "paused");
    EXPECT_FALSE(paused->pauseIfZero);
    EXPECT_EQ(TestModel::messages(),
              std::vector<std::string>{"Ignoring pauseIfZero for Virt.Calc.paused, can't be "
                                       "combined with fillEmpty"});
}

TEST(OptionsTest, applyInOrder) {
    struct Case {
        const char* options;
        std::vector<double> out;  // for -2, 0, 3
    };
    const std::vector<Case> cases = {
        {"", {-2, 0, 3}},
        {"fact=2\noffs=-1", {-5, -1, 5}},
        {"absInput=true", {2, 0, 3}},
        {"absInput=true\noffs=-4", {-2, -4, -1}},
        {"absOutput=true\noffs=-4", {6, 4, 1}},
        // The test for zero comes before factor and offset, so the value -2 goes on.
        {"pauseIfZero=true\noffs=2", {0, 0, 5}},
        {"pauseIfZero=true\noffs=1", {-1, -1, 4}},
    };
    for (const auto& [options, out] : cases) {
        TestModel model;
        model.feedSteps("s", {-2, 0, 3});
        EXPECT_EQ(valuesAtSteps(*model.compute(kSum + options), 3), out) << options;
    }
}

TEST(OptionsTest, fillGaps) {
    struct Case {
        const char* options;
        std::uint64_t gap;
        Samples out;
    };
    const std::vector<Case> cases = {
        {"fillEmpty=true", 12000, {{0, 1}, {5000, 1}, {12000, 3}}},
        {"fillEmpty=true\nvalWhenEmpty=7\nfact=2\nabsOutput=true",
         12000,
         {{0, 2}, {5000, 7}, {12000, 6}}},
        {"fillEmpty=true\nfact=2", 21000, {{0, 2}, {10000, 2}, {15000, 2}, {21000, 6}}},
        {"", 12000, {{0, 1}, {12000, 3}}},
    };
    for (const auto& [options, gap, out] : cases) {
        TestModel model;
        model.input("s");
        const auto signal = model.make(kSum + options);
        const auto samples = Samples{{0, 1}, {gap, 3}};
        for (const auto& [time, value] : samples)
            signal->addSample(kStart + time, value);
        // Only values count: marks of held values may stand in between.
        for (const auto& [time, value] : out)
            EXPECT_EQ(signal->valueAt(kStart + time), value) << options << " at " << time;
        const bool filled = signal->fillEmpty;
        const double middle = signal->valueAt(kStart + 6000);
        EXPECT_EQ(middle, filled ? (signal->hasValWhenEmpty ? 7 : signal->factor) : 1) << options;
    }
    // A gap of exactly 10 s gets no filler.
    TestModel model;
    model.input("s");
    const auto signal = model.make(kSum + "fillEmpty=true\nvalWhenEmpty=7");
    signal->addSample(kStart, 1);
    signal->addSample(kStart + 10000, 2);
    EXPECT_EQ(signal->valueAt(kStart + 9999), 1);
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
              std::vector<std::string>{"The gaps in Virt.Calc.out are too long to be filled, they "
                                       "stay empty"});
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
    EXPECT_EQ(average->name, "out");
    EXPECT_EQ(average->smoothedSource, inner);
    EXPECT_EQ(inner->name, "out_randNameA83D5Y765sa43/8TUfs");
    EXPECT_EQ(model.virtualMessage->getSignal(inner->name), inner);
    EXPECT_TRUE(inner->hidden && inner->internalOnly);
    EXPECT_FALSE(average->hidden || average->internalOnly);
    EXPECT_EQ(average->unit + average->comment, "Vc");
    EXPECT_EQ(average->upperLimit, 5);
    EXPECT_EQ(average->factor, 1);
    EXPECT_EQ(inner->vsdGroup, "Calc.out");
    EXPECT_EQ(average->vsdGroup + average->vsdFile, "");
    // The editor asks who uses a signal: this one does not use itself.
    EXPECT_FALSE(average->usesSignal(average->fullName));
    average->addUser(nullptr);
    EXPECT_EQ(inner->useCount, 1U);
    model.finish();
    EXPECT_DOUBLE_EQ(average->valueAt(kStart + 400), 10);
}

TEST(SmoothingTest, isLeftOutWithoutAWord) {
    for (const std::string& lines :
         {kSum + "avgWindow=0", kSum + "avgWindow=-5", kSum + "avg=0\navgWindow=400",
          std::string("method=integrate\nsignal=Can.In.s\navgWindow=500")}) {
        TestModel model;
        model.input("s");
        model.make(lines);
        EXPECT_EQ(virtualRegistry(model).allVirtualSignals.size(), 1U) << lines;
        EXPECT_TRUE(TestModel::messages().empty());
    }
    TestModel model;
    model.input("s");
    model.make(kSum + "avg=400\navgWindow=0");
    EXPECT_EQ(virtualRegistry(model).allVirtualSignals.size(), 2U);
}

TEST(SmoothingTest, leavesNothingBehindWhenTheWindowIsTooShort) {
    TestModel model;
    model.input("s");
    EXPECT_EQ(model.failure(kSum + "avgWindow=50"), "step > window for virtual signal out");
    EXPECT_TRUE(virtualRegistry(model).allVirtualSignals.empty());
    EXPECT_TRUE(model.virtualMessage->signalsByName.empty());
    EXPECT_EQ(model.failure(kSum + "avgWindow=500"), "made");
    EXPECT_EQ(model.failure(kSum), "Message 'Calc' already has a signal with name out");
}

// ---- messages and the end of a parse

TEST(VirtualMessageTest, handsOutIdsAndRefusesToMixThem) {
    TestModel model;
    const VirtualMessage second(model.virt, "Second");
    EXPECT_EQ(model.virtualMessage->id, 0U);
    EXPECT_EQ(second.id, 1U);
    EXPECT_THROW(VirtualMessage(model.virt, 2, "Given"), PrintMsgError);
    EXPECT_EQ(TestModel::messages(),
              std::vector<std::string>{"Mixing static and dynamic message ID:s"});
    EXPECT_EQ(VirtualMessage(model.virt, 3, "Given").id, 3U);
    // The rates of an interface have a given id there, however many definitions were loaded.
    for (int i = 0; i < 20; ++i)
        const VirtualMessage more(model.virt, "More");
    const auto statistics = model.addInterface("ST_Can", kStatisticsOffset);
    EXPECT_EQ(VirtualMessage(statistics, 3, "MsgRate").id, 3U);
    EXPECT_EQ(VirtualMessage(model, 0, "_").id, 0U);
    EXPECT_EQ(virtualRegistry(model).nextMessageId, 22U);

    model.clear();
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
    const auto mean = model.make("method=statistics\ntype=avg\nsignal=Can.In.s\nstep=100", "mean");
    const auto unused = model.make(kSum, "unused");
    const auto late = model.make(kSum, "late");
    mean->addUser(nullptr);
    model.finish();
    double value = 0;
    ASSERT_TRUE(mean->summaryValue(value));
    EXPECT_DOUBLE_EQ(value, 3);  // a second flush would divide once more
    EXPECT_TRUE(mean->flushed && mean->parsed);
    EXPECT_FALSE(mean->needsParse);
    EXPECT_TRUE(unused->samples().empty());
    EXPECT_FALSE(unused->parsed);

    late->addUser(nullptr);
    model.finish();
    EXPECT_EQ(valuesAtSteps(*late, 3), (std::vector<double>{1, 2, 6}));
    ASSERT_TRUE(mean->summaryValue(value));
    EXPECT_DOUBLE_EQ(value, 3);
    calculateAll(model);
    EXPECT_EQ(valuesAtSteps(*unused, 3), (std::vector<double>{1, 2, 6}));
}

TEST(VirtualSignalTest, hasNoInputsOfItsOwn) {
    TestModel model;
    const VirtualSignal plain(model.virtualMessage, "plain");
    EXPECT_THROW(static_cast<void>(plain.usesSignal("a")), PrintMsgError);
    EXPECT_EQ(TestModel::messages(), std::vector<std::string>{"should never be used"});
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
    EXPECT_EQ(b->users.size(), 1U);
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
    constexpr int kLength = 10000;
    const auto fill = [](TestModel& model) {
        std::shared_ptr<VirtualSignal> last;
        for (int i = 0; i < kLength; ++i) {
            const std::string source = i == 0 ? "Can.In.s" : "Virt.Calc.v" + std::to_string(i - 1);
            const char* options = i % 4 == 3 ? "avgWindow=200\n" : "";
            last = model.make(
                (i % 4 == 1 ? "method=integrate\nsignal=" : "method=sum\nstep=100\nsignal_01=") +
                    source + "\n" + options,
                "v" + std::to_string(i));
        }
        return last;
    };
    TestModel model;
    const auto input = model.feedSteps("s", std::vector<double>(5, 1.0));
    auto last = fill(model);
    last->addUser(nullptr);
    EXPECT_EQ(input->useCount, 1U);
    model.finish();
    EXPECT_TRUE(last->flushed);
    last->removeUser(nullptr);
    EXPECT_EQ(input->useCount, 0U);
    last->addUser(nullptr);
    last.reset();
    model.clear();

    // The same without users, whose end is one long chain of last owners.
    TestModel other;
    other.input("s");
    fill(other);
}

}  // namespace
}  // namespace trelis
