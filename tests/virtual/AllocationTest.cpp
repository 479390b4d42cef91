// No method allocates for its steps: what a calculation allocates does not grow with their number.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "AllocationCount.h"
#include "TestModel.h"
#include "virtual/GPSTrack.h"

namespace trelis {
namespace {

using test::kStart;
using test::TestModel;

constexpr int kSteps = 10000;

std::size_t allocationsOf(const std::function<void()>& work) {
    const std::size_t before = test::allocationCount();
    work();
    return test::allocationCount() - before;
}

class AllocationTest : public testing::TestWithParam<const char*> {};

TEST_P(AllocationTest, doesNotAllocatePerStep) {
    TestModel model;
    model.makeInputs = true;
    const auto table =
        std::filesystem::temp_directory_path() / ("table" + std::to_string(::getpid()) + ".txt");
    std::ofstream(table) << "0 0 1\n0 9 2\n9 0 3\n9 9 4\n";
    const auto signal = model.make(std::string("step=10\nfile=") + table.string() +
                                   "\nsignal_01=Can.In.a\n" + GetParam());
    std::filesystem::remove(table);
    for (int i = 0; i < kSteps; ++i)
        for (const char* name : {"a", "b", "lat", "N_S", "long", "E_W"}) {
            const bool gps = name[1] != '\0';
            const auto source = model.input(name, gps ? "Logger" : "Can", gps ? "GPS_POS" : "In");
            source->addSample(kStart + 10 * static_cast<std::uint64_t>(i), i % 9);
        }
    signal->addUser(nullptr);
    // A few doublings of a queue are all there may be.
    EXPECT_LT(allocationsOf([&] { model.finish(); }), 100U);
    double value = 0;
    EXPECT_TRUE(signal->samples().size() > 2 || signal->summaryValue(value));
}

INSTANTIATE_TEST_SUITE_P(
    Methods, AllocationTest,
    testing::Values("method=average\nwindow=5000", "method=integrate\nresetSig=Can.In.b",
                    "method=slope\nposSlopeIncr=9\nposSlopeDecr=9\nnegSlopeIncr=9\nnegSlopeDecr=9",
                    "method=count\nabove=5\nbelow=3\nresetSig=Can.In.b",
                    "method=time\nabove=5\nbelow=3", "method=accumulate",
                    "method=frequency\nsamples=50", "method=frequency\namplitude=true",
                    "method=estimate\nhighLimit=5\nlowLimit=3", "method=IIR",
                    "method=statistics\ntype=avg", "method=above\nabove=5\nbelow=3",
                    "method=below\nabove=5\nbelow=3",
                    "method=multiplex\ntrigSign_01=Can.In.b\ntrigVal_01=3",
                    "method=equals\nvalue_01=3", "method=sum\nsignal_02=Can.In.b\navgWindow=300",
                    "method=max\nsignal_02=Can.In.b\nfillEmpty=true", "method=sin", "method=der",
                    "method=fmod\ndenom=3", "method=lookuptable\nsignal_02=Can.In.b",
                    "method=geofence\ntype=circle\ncenter=3;3\nradius=100000",
                    "method=geofence\ntype=square\ntopleft=5;3\nbottomright=3;5",
                    "method=expression\nsignal_02=Can.In.b\n"
                    "expr=max(($01+1),$02)*sin($01)^2-($02<3&&$01>2)"));

TEST(AllocationCountTest, countsAtAll) {
    std::vector<std::string> texts;
    EXPECT_GE(allocationsOf([&] { texts.emplace_back(kSteps, 'x'); }), 2U);
}

}  // namespace
}  // namespace trelis
