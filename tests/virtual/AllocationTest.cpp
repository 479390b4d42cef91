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
    const auto signal = model.make(test::linesOf(GetParam() + (" step=10 file=" + table.string())));
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
    testing::Values("average a window=5000", "integrate a resetSig=Can.In.b",
                    "slope a posSlopeIncr=9 posSlopeDecr=9 negSlopeIncr=9 negSlopeDecr=9",
                    "count a above=5 below=3 resetSig=Can.In.b", "time a above=5 below=3",
                    "accumulate a", "frequency a samples=50", "frequency a amplitude=true",
                    "estimate a highLimit=5 lowLimit=3", "IIR a", "statistics a type=avg",
                    "above a above=5 below=3", "below a above=5 below=3",
                    "multiplex a trigSign_01=Can.In.b trigVal_01=3", "equals a value_01=3",
                    "sum a,b avgWindow=300", "max a,b fillEmpty=true", "sin a", "der a",
                    "fmod a denom=3", "lookuptable a,b",
                    "geofence type=circle center=3;3 radius=100000",
                    "geofence type=square topleft=5;3 bottomright=3;5",
                    "expression a,b expr=max(($01+1),$02)*sin($01)^2-($02<3&&$01>2)"));

TEST(AllocationCountTest, countsAtAll) {
    std::vector<std::string> texts;
    EXPECT_GE(allocationsOf([&] { texts.emplace_back(kSteps, 'x'); }), 2U);
}

}  // namespace
}  // namespace trelis
