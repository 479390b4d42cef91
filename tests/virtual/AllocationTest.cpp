// No method allocates for its steps: what a calculation allocates does not grow with their number.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "TestModel.h"
#include "support/Files.h"

namespace {

std::atomic<std::size_t> allocations = 0;

}  // namespace

// Ours count for the whole program. Not inlined: the compiler would see half of a pair of them.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    ++allocations;
    return std::malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace trelis {
namespace {

TEST(AllocationTest, noMethodAllocatesPerStep) {
    constexpr std::uint64_t kSteps = 10000;
    const test::Folder folder;
    const std::string table = " file=" + folder.write("table.txt", "0 0 1\n0 9 2\n9 0 3\n9 9 4\n");
    for (const std::string group :
         {"average a window=5000",
          "integrate a resetSig=Can.In.b",
          "slope a posSlopeIncr=9 posSlopeDecr=9 negSlopeIncr=9 negSlopeDecr=9",
          "count a above=5 below=3 resetSig=Can.In.b",
          "time a above=5 below=3",
          "accumulate a",
          "frequency a samples=50",
          "frequency a amplitude=true",
          "estimate a highLimit=5 lowLimit=3",
          "IIR a",
          "statistics a type=avg",
          "above a above=5 below=3",
          "below a above=5 below=3",
          "multiplex a trigSign_01=Can.In.b trigVal_01=3",
          "equals a value_01=3",
          "sum a,b avgWindow=300",
          "max a,b fillEmpty=true",
          "sin a",
          "der a",
          "fmod a denom=3",
          "lookuptable a,b",
          "geofence type=circle center=3;3 radius=100000",
          "geofence type=square topleft=5;3 bottomright=3;5",
          "expression a,b expr=max(($01+1),$02)*sin($01)^2-($02<3&&$01>2)"}) {
        SCOPED_TRACE(group);
        const std::size_t atStart = allocations.load();
        test::TestModel model;
        EXPECT_NE(allocations, atStart) << "they are counted";
        model.makeInputs = true;
        const auto signal = model.make(test::linesOf(group + " step=10" + table));
        for (const char* name : {"a", "b", "lat", "N_S", "long", "E_W"}) {
            const bool gps = name[1] != '\0';
            const auto source = model.input(name, gps ? "Logger" : "Can", gps ? "GPS_POS" : "In");
            for (std::uint64_t i = 0; i < kSteps; ++i)
                source->addSample(test::kStart + 10 * i, static_cast<double>(i % 9));
        }
        signal->addUser(nullptr);
        const std::size_t before = allocations.load();
        model.finish();
        // A few doublings of a queue are all there may be.
        EXPECT_LT(allocations - before, 100U);
        double value = 0;
        EXPECT_TRUE(signal->samples().size() > 2 || signal->summaryValue(value));
    }
}

}  // namespace
}  // namespace trelis
