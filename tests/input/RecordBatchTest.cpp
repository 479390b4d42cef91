// Frames of a running input that are decoded together leave the very samples that they leave one by
// one.
#include "LiveRig.h"
#include "input/HandleRecord.h"
#include "input/LiveRun.h"
#include "support/Model.h"

namespace trelis::test {
namespace {

/// The small scenario with what it lacks: a signal wider than 32 bits, and rate signals.
void begin(Store& store) {
    store.noGui = false;
    store.liveMode = true;
    buildModel(store, smallScenario());
    for (const auto& [id, message] : store.findInterfaceByNumber(0)->messages) {
        const auto real = std::dynamic_pointer_cast<RealMessage>(message);
        real->addRateSignal(kPlainSignal);
        real->addSignal("Wide", RealSignal::create(real, "Wide", 3, 50, 1, '-', "", 1, 0, 0, 0));
    }
    beginLiveRun(store, 1'700'000'000'000);
    store.readAll = false;  // nobody wants the first frames
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            message->usedCount = 0;
}

std::vector<Frame> randomFrames(Randomness& random) {
    constexpr std::array<std::uint32_t, 5> kIds = {0x123, 0x98FEE900, 0x200, 0x201, 0x7FF};
    std::vector<Frame> frames(4000);
    std::uint32_t clock = 4294967295U - 200'000U;  // runs over on the way
    for (Frame& frame : frames) {
        const auto dice = random.below(1000);
        clock += dice < 3 ? random.below(30'000) : dice < 500 ? 0 : random.below(300);
        // Of the frames that nobody knows there are more ids than a batch keeps in mind.
        const bool known = random.below(4) != 0;
        frame = frameAt(clock, known ? kIds[random.below(kIds.size())] : 0x400 + random.below(900));
        frame.interface = static_cast<std::uint8_t>(frame.id >= 0x200 && frame.id < 0x300);
        if (random.below(8) == 0) frame.interface ^= 1U;
        for (auto& byte : frame.data)
            byte = random.below(20) == 0 ? static_cast<std::uint8_t>(random.below(3)) : 1;
    }
    return frames;
}

TEST(RecordBatch, LeavesTheSamplesOfSingleFrames) {
    Glib::init();
    Randomness random;
    SCOPED_TRACE(random.trace());
    Store single;
    Store batched;
    begin(single);
    begin(batched);
    RecordBatch batch(batched);
    Bytes records;
    testing::internal::CaptureStderr();
    std::size_t untilWanted = 1000;
    for (const Frame& frame : randomFrames(random)) {
        if (untilWanted-- == 0) {
            batch.add(std::exchange(records, {}), kRecordSize);
            batch.flush();
            single.readAll = batched.readAll = true;
        }
        handleRecord(single, frame);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&frame);
        records.insert(records.end(), bytes, bytes + kRecordSize);
        if (random.below(100) != 0) continue;
        batch.add(records, kRecordSize);
        records.clear();
        if (random.below(2) == 0) batch.flush();
    }
    records.push_back(0);  // behind the last whole record
    batch.add(records, kRecordSize);
    batch.flush();
    testing::internal::GetCapturedStderr();
    std::size_t count = 0;
    for (const auto& [number, interface] : single.interfaces)
        for (const auto& [id, message] : interface->messages) {
            const auto& others = batched.interfaces.at(number)->messages.at(id)->signals;
            for (std::size_t i = 0; i < message->signals.size(); ++i) {
                const Samples samples = samplesOf(*message->signals[i]);
                EXPECT_TRUE(samples == samplesOf(*others[i])) << others[i]->fullName;
                count += samples.size();
            }
        }
    EXPECT_GT(count, 1000U);
    EXPECT_EQ(single.lastTime, batched.lastTime);
    EXPECT_EQ(single.framesRead, batched.framesRead);
}

}  // namespace
}  // namespace trelis::test
