// Frames of a running input that are decoded together leave the very samples that they leave one by
// one.
#include <glibmm/init.h>
#include <gtest/gtest.h>

#include <random>

#include "LiveRig.h"
#include "app/store/Store.h"
#include "input/HandleRecord.h"
#include "input/LiveRun.h"

namespace trelis::test {
namespace {

/// The small scenario with what it lacks: a signal wider than 32 bits, and rate signals.
void buildWideModel(Store& store) {
    buildModel(store, smallScenario());
    const auto interface = store.findInterfaceByNumber(0);
    for (const auto& [id, message] : interface->messages) {
        const auto real = std::dynamic_pointer_cast<RealMessage>(message);
        ASSERT_TRUE(real);
        real->addRateSignal(kPlainSignal);
        real->addSignal("Wide", RealSignal::create(real, "Wide", 3, 50, 1, '-', "", 1, 0, 0, 0));
    }
}

std::vector<Frame> randomFrames(std::mt19937& random) {
    constexpr std::array<std::uint32_t, 5> kIds = {0x123, 0x98FEE900, 0x200, 0x201, 0x7FF};
    std::vector<Frame> frames(4000);
    std::uint32_t clock = 4294967295U - 200'000U;  // runs over on the way
    for (Frame& frame : frames) {
        const auto dice = random() % 1000;
        const auto step = dice < 3 ? random() % 30'000 : dice < 500 ? 0 : random() % 300;
        clock += static_cast<std::uint32_t>(step);
        frame.timestamp = clock;
        frame.id = kIds[random() % kIds.size()];
        frame.interface = static_cast<std::uint8_t>(frame.id >= 0x200 && frame.id < 0x300);
        frame.dlc = 8;
        for (auto& byte : frame.data)
            byte = random() % 20 == 0 ? static_cast<std::uint8_t>(random() % 3) : std::uint8_t{1};
    }
    return frames;
}

void begin(Store& store) {
    store.noGui = true;
    store.liveMode = true;
    store.networkInput = true;
    buildWideModel(store);
    beginLiveRun(store, 1'700'000'000'000);
}

TEST(RecordBatch, LeavesTheSamplesOfSingleFrames) {
    Glib::init();
    for (const std::uint32_t seed : {1U, 2U, 3U}) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Store single;
        Store batched;
        begin(single);
        begin(batched);
        RecordBatch batch(batched);
        testing::internal::CaptureStderr();
        for (const Frame& frame : randomFrames(random)) {
            handleRecord(single, frame);
            batch.add(frame);
            if (random() % 100 == 0) batch.flush();
        }
        batch.flush();
        testing::internal::GetCapturedStderr();
        std::size_t count = 0;
        for (const auto& [number, interface] : single.interfaces)
            for (const auto& [id, message] : interface->messages) {
                const auto& others = batched.interfaces.at(number)->messages.at(id)->signals;
                for (std::size_t i = 0; i < message->signals.size(); ++i) {
                    const Signal& one = *message->signals[i];
                    const Signal& other = *others[i];
                    SCOPED_TRACE(one.fullName);
                    EXPECT_TRUE(std::equal(one.samples().begin(), one.samples().end(),
                                           other.samples().begin(), other.samples().end()));
                    EXPECT_EQ(one.lastSeenTime, other.lastSeenTime);
                    EXPECT_EQ(one.lastStoredTime, other.lastStoredTime);
                    EXPECT_EQ(one.min, other.min);
                    EXPECT_EQ(one.max, other.max);
                    count += one.samples().size();
                }
            }
        EXPECT_GT(count, 2000U);
        EXPECT_EQ(single.lastTime, batched.lastTime);
        EXPECT_EQ(single.framesRead, batched.framesRead);
    }
}

}  // namespace
}  // namespace trelis::test
