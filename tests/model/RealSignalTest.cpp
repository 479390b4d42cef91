#include "model/RealSignal.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "app/diagnostics/Exceptions.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::frameOf;
using test::Samples;
using test::samplesOf;

constexpr std::uint64_t kOnes = ~std::uint64_t{0};

struct Layout {
    std::uint32_t start = 0;
    std::uint32_t length = 0;
    std::int32_t intel = 1;
    char sign = '+';
    double factor = 1;
    double offset = 0;
};

std::ostream& operator<<(std::ostream& out, const Layout& layout) {
    return out << layout.start << '|' << layout.length << '@' << layout.intel << layout.sign;
}

std::shared_ptr<RealSignal> make(const std::shared_ptr<Message>& message, const Layout& layout,
                                 std::int32_t muxValue = kPlainSignal) {
    auto signal = RealSignal::create(message, "s" + std::to_string(message->signals.size()),
                                     layout.start, layout.length, layout.intel, layout.sign, "",
                                     layout.factor, layout.offset, 0, 0);
    signal->muxValue = muxValue;
    return signal;
}

class RealSignalTest : public ::testing::Test {
  protected:
    test::BusStore store;
    std::shared_ptr<RealMessage> message = store.addMessage(1, "Msg");
};

TEST_F(RealSignalTest, decodesKnownLayouts) {
    struct Case {
        Layout layout;
        std::uint64_t data;
        double value;
    };
    const Case cases[] = {
        {{0, 12, 1, '-'}, 0x0FFF, -1},
        {{7, 16, 0}, 0x3412, 0x1234},
        {{7, 8, 0, '-', 0.5, 10}, 0x80, -54},
        {{0, 8, 1, '+', 0, 3}, 7, 10},  // a factor of 0 is none
        {{4'000'000'000U, 4'000'000'000U}, kOnes, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(make(message, c.layout)->valueOf(c.data), c.value) << c.layout;
}

// The value bit by bit, as a DBC line tells it.
double modelValue(const Layout& layout, std::uint64_t data) {
    std::uint32_t raw = 0;
    std::uint64_t place = layout.start;
    for (std::uint32_t i = 0; i < layout.length; ++i) {
        const auto bit = place < 64 ? static_cast<std::uint32_t>(data >> place & 1U) : 0U;
        raw |= bit << ((layout.intel != 0 ? i : layout.length - 1 - i) % 32);
        place = layout.intel != 0 ? place + 1 : place % 8 == 0 ? place + 15 : place - 1;
    }
    double value = raw;
    if (layout.sign == '-') {
        const std::uint32_t top = 1U << ((layout.length - 1) % 32);
        value = static_cast<std::int32_t>((raw & top) != 0 ? raw - 2 * top : raw);
    }
    return value * layout.factor + layout.offset;
}

TEST_F(RealSignalTest, agreesWithAModelOnRandomLayouts) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int i = 0; i < 3000; ++i) {
        const Layout layout{random.below(80),
                            1 + random.below(random.below(4) == 0 ? 100 : 40),
                            static_cast<std::int32_t>(random.below(2)),
                            random.below(2) == 0 ? '-' : '+',
                            random.below(2) == 0 ? 1.0 : 0.25,
                            random.below(3) - 1.0};
        const auto signal = make(message, layout);
        for (int k = 0; k < 20; ++k) {
            const std::uint64_t data = k == 0 ? kOnes : random.bits();
            ASSERT_EQ(signal->valueOf(data), modelValue(layout, data)) << layout << ' ' << data;
        }
    }
}

TEST_F(RealSignalTest, decodesFloatsOfFourWholeBytes) {
    const auto little = make(message, {16, 32});
    little->setFloat();
    EXPECT_EQ(little->valueOf(std::uint64_t{std::bit_cast<std::uint32_t>(-2.75F)} << 16), -2.75);
    const auto big = make(message, {23, 32, 0});
    big->setFloat();
    const std::uint32_t swapped = __builtin_bswap32(std::bit_cast<std::uint32_t>(1e-3F));
    EXPECT_EQ(big->valueOf(std::uint64_t{swapped} << 16), static_cast<double>(1e-3F));
    for (const Layout& layout : {Layout{16, 31}, Layout{17, 32}, Layout{16, 32, 0}, Layout{0, 64}})
        EXPECT_THROW(make(message, layout)->setFloat(), PrintMsgError) << layout;
    EXPECT_EQ(test::TestStore::messages().back(),
              "Only 32bit floats on 4 whole bytes are supported.");
}

TEST_F(RealSignalTest, flipsAtEveryFrameWithoutBits) {
    const auto rate = message->addRateSignal(kPlainSignal);
    for (std::uint64_t time = 10; time < 14; ++time)
        rate->decodeFrame(frameOf(0, time));
    EXPECT_EQ(samplesOf(*rate), (Samples{{10, 1}, {11, 0}, {12, 1}, {13, 0}}));
    EXPECT_THROW(static_cast<void>(message->getSignal(rate->name)), SignalNotFoundException);
}

TEST_F(RealSignalTest, followsTheMultiplexor) {
    const auto multiplexor = make(message, {0, 8}, kMultiplexor);
    const auto multiplexed = make(message, {8, 8}, 3);
    multiplexed->decodeFrame(frameOf(0x0503, 1));
    EXPECT_TRUE(multiplexed->samples().empty()) << "no multiplex value was seen yet";
    std::uint64_t time = 1;
    for (const std::uint64_t data : {0x0503U, 0x0904U, 0x0603U})
        for (const auto& signal : {multiplexor, multiplexed})
            signal->decodeFrame(frameOf(data, ++time));
    EXPECT_TRUE(multiplexor->samples().empty());
    EXPECT_EQ(samplesOf(*multiplexed), (Samples{{3, 5}, {7, 6}}));

    // Its value may be no number that fits.
    make(message, {0, 32, 1, '+', 1e300}, kMultiplexor)->decodeFrame(frameOf(7));
    EXPECT_EQ(message->currentMux, -1);
    message->currentMux = 5;
    const auto notANumber = make(message, {0, 32}, kMultiplexor);
    notANumber->setFloat();
    notANumber->decodeFrame(
        frameOf(std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN())));
    EXPECT_EQ(message->currentMux, -1);
}

// Whole runs and single frames must store the same samples.
class RunsAndFrames : public RealSignalTest {
  protected:
    void round(test::Randomness& random) {
        const bool multiplexed = random.below(2) == 0;
        const bool wide = random.below(3) == 0;
        const auto bit = [&] { return static_cast<std::int32_t>(random.below(2)); };
        const auto muxValue = [&] { return static_cast<std::int32_t>(random.below(5)) - 1; };
        store.liveMode = random.below(2) == 0;
        store.bus->clear();
        const auto one = store.addMessage(0, "One");
        const auto other = store.addMessage(1, "Other");
        for (int i = 0; i < 6; ++i) {
            const Layout layout{
                random.below(70), random.below(40), bit(), bit() == 0 ? '-' : '+', 0.5, 1.0};
            const std::int32_t mux = multiplexed ? muxValue() : kPlainSignal;
            for (const auto& twin : {one, other}) {
                const auto signal = make(twin, layout, mux);
                if (wide) signal->decodeWide();
                signal->addUser(nullptr);
                twin->addSignal(signal->name, signal);
            }
        }
        const Layout muxLayout{random.below(56), 2, bit()};
        for (const auto& twin : {one, other})
            if (multiplexed) twin->multiplexor = make(twin, muxLayout, kMultiplexor);

        const std::vector<StoredFrame> run = test::randomRun(random, kFrames);
        for (const StoredFrame& stored : run)
            one->handleFrame(frameOf(stored.data(), kBase + stored.time()));
        const std::size_t cut = random.below(kFrames);
        other->handleRun(std::span(run).first(cut), kBase);
        other->handleRun(std::span(run).subspan(cut), kBase);
        EXPECT_EQ(one->currentMux, other->currentMux);
        for (std::size_t i = 0; i < one->signals.size(); ++i)
            expectSame(*one->signals[i], *other->signals[i]);
    }

  private:
    static constexpr std::uint64_t kBase = 1'700'000'000'000;
    static constexpr std::uint32_t kFrames = 1500;

    static void expectSame(const Signal& one, const Signal& other) {
        EXPECT_TRUE(samplesOf(one) == samplesOf(other)) << one.name;
        EXPECT_EQ(one.lastSeenTime, other.lastSeenTime);
        EXPECT_EQ(one.hasData, other.hasData);
        EXPECT_EQ(one.min, other.min);
        EXPECT_EQ(one.max, other.max);
    }
};

TEST_F(RunsAndFrames, storeTheSame) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int i = 0; i < 60 && !HasFailure(); ++i)
        round(random);
}

}  // namespace
}  // namespace trelis
