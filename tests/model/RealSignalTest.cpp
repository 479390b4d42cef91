#include "model/RealSignal.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "model/RealMessage.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

std::uint64_t wordOf(const std::vector<std::uint8_t>& bytes) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        word |= std::uint64_t{bytes[i]} << (8 * i);
    return word;
}

Frame frameOf(std::uint64_t time, std::uint64_t word) {
    Frame frame;
    frame.dlc = 8;
    frame.absoluteTime = time;
    for (auto& byte : frame.data) {
        byte = static_cast<std::uint8_t>(word);
        word >>= 8;
    }
    return frame;
}

struct Layout {
    std::uint32_t start = 0;
    std::uint32_t length = 0;
    std::int32_t intel = 1;
    char sign = '+';
    double factor = 1;
    double offset = 0;
};

class RealSignalTest : public ::testing::Test {
  protected:
    RealSignalTest() { interface->addMessage(message); }

    std::shared_ptr<RealSignal> make(const Layout& layout) {
        return RealSignal::create(message, "s" + std::to_string(++made), layout.start,
                                  layout.length, layout.intel, layout.sign, "", layout.factor,
                                  layout.offset, 0, 0);
    }

    test::TestStore store;
    std::shared_ptr<CanIface> interface = store.addInterface("Can", 0);
    std::shared_ptr<RealMessage> message = RealMessage::create(1, "Msg", interface);
    int made = 0;
};

TEST_F(RealSignalTest, decodesKnownLayouts) {
    struct Case {
        Layout layout;
        std::vector<std::uint8_t> bytes;
        double value;
    };
    const Case cases[] = {
        {{4, 12}, {0xA3, 0x5C}, 0x5CA},
        {{0, 12, 1, '-'}, {0xFF, 0x0F}, -1},
        {{0, 16}, {0x34, 0x12}, 0x1234},
        {{7, 16, 0}, {0x12, 0x34}, 0x1234},
        {{3, 12, 0}, {0xF1, 0x23}, 0x123},
        {{7, 8, 0, '-', 0.5, 10}, {0x80}, -54},
        {{0, 32, 1, '-'}, {0xFF, 0xFF, 0xFF, 0xFF}, -1},
        {{0, 32}, {0xFF, 0xFF, 0xFF, 0xFF}, 4294967295.0},
        {{0, 8, 1, '+', 0, 3}, {7}, 10},  // a factor of 0 is none
        {{60, 8}, {0, 0, 0, 0, 0, 0, 0, 0xF0}, 0x0F},
        {{64, 8}, {255, 255, 255, 255, 255, 255, 255, 255}, 0},
        {{4'000'000'000U, 4'000'000'000U}, {255, 255, 255, 255, 255, 255, 255, 255}, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(make(c.layout)->valueOf(wordOf(c.bytes)), c.value)
            << "start " << c.layout.start << " length " << c.layout.length;
}

// The raw value bit by bit, as a DBC line tells it.
std::uint32_t rawOf(const Layout& layout, std::uint64_t word) {
    const auto bitAt = [&](std::uint64_t place) {
        return place < 64 ? static_cast<std::uint32_t>(word >> place & 1U) : 0U;
    };
    std::uint32_t raw = 0;
    std::uint64_t place = layout.start;
    for (std::uint32_t i = 0; i < layout.length; ++i) {
        if (layout.intel != 0) {
            raw |= bitAt(place++) << (i % 32);
        } else {
            raw |= bitAt(place) << ((layout.length - 1 - i) % 32);
            place = place % 8 == 0 ? place + 15 : place - 1;
        }
    }
    return raw;
}

double valueOf(const Layout& layout, std::uint64_t word) {
    const std::uint32_t raw = rawOf(layout, word);
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
        Layout layout;
        layout.start = random.below(80);
        layout.length = 1 + random.below(random.below(4) == 0 ? 100 : 40);
        layout.intel = static_cast<std::int32_t>(random.below(2));
        layout.sign = random.below(2) == 0 ? '-' : '+';
        layout.factor = random.below(2) == 0 ? 1.0 : 0.25;
        layout.offset = random.below(3) - 1.0;
        const auto signal = make(layout);
        for (int k = 0; k < 20; ++k) {
            const std::uint64_t word = k == 0 ? ~std::uint64_t{0} : random.bits();
            ASSERT_EQ(signal->valueOf(word), valueOf(layout, word))
                << "start " << layout.start << " length " << layout.length << " intel "
                << layout.intel << " sign " << layout.sign << " word " << word;
        }
    }
}

TEST_F(RealSignalTest, decodesFloatsOfFourWholeBytes) {
    const auto word = std::uint64_t{std::bit_cast<std::uint32_t>(-2.75F)} << 16;
    auto little = make({16, 32});
    little->setFloat();
    EXPECT_EQ(little->valueOf(word), -2.75);
    auto big = make({23, 32, 0});
    big->setFloat();
    EXPECT_EQ(
        big->valueOf(std::uint64_t{__builtin_bswap32(std::bit_cast<std::uint32_t>(1e-3F))} << 16),
        static_cast<double>(1e-3F));
    for (const Layout& layout : {Layout{16, 31}, Layout{17, 32}, Layout{16, 32, 0}, Layout{0, 64}})
        EXPECT_THROW(make(layout)->setFloat(), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages().back(),
              "Only 32bit floats on 4 whole bytes are supported.");
}

TEST_F(RealSignalTest, flipsAtEveryFrameWithoutBits) {
    const auto rate = message->addRateSignal(kPlainSignal);
    for (std::uint64_t time = 10; time < 14; ++time)
        rate->decodeFrame(frameOf(time, 0));
    const auto& samples = rate->samples();
    ASSERT_EQ(samples.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(samples[i], (Sample{10 + i, i % 2 == 0 ? 1.0 : 0.0}));
    EXPECT_THROW(static_cast<void>(message->getSignal(rate->name)), SignalNotFoundException);
}

TEST_F(RealSignalTest, followsTheMultiplexor) {
    auto multiplexor = make({0, 8});
    multiplexor->muxValue = kMultiplexor;
    auto multiplexed = make({8, 8});
    multiplexed->muxValue = 3;
    message->multiplexor = multiplexor;
    multiplexed->decodeFrame(frameOf(1, 0x0503));
    EXPECT_TRUE(multiplexed->samples().empty()) << "no multiplex value was seen yet";
    for (const std::uint64_t word : {0x0503U, 0x0904U, 0x0603U}) {
        multiplexor->decodeFrame(frameOf(word, word));
        multiplexed->decodeFrame(frameOf(word, word));
    }
    EXPECT_TRUE(multiplexor->samples().empty());
    ASSERT_EQ(multiplexed->samples().size(), 2U);
    EXPECT_EQ(multiplexed->samples()[1].value, 6.0);
}

// Whole runs and single frames must store the same samples.
TEST_F(RealSignalTest, decodesRunsAsItDecodesFrames) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 60; ++round) {
        const bool multiplexed = random.below(2) == 0;
        store.liveMode = random.below(2) == 0;
        std::vector<std::shared_ptr<RealMessage>> twins;
        interface->clear();
        const Layout muxLayout{random.below(56), 2, static_cast<std::int32_t>(random.below(2))};
        std::vector<Layout> layouts(6);
        std::vector<std::int32_t> muxValues;
        const bool wide = random.below(3) == 0;
        for (Layout& layout : layouts) {
            layout = {random.below(70),
                      random.below(40),
                      static_cast<std::int32_t>(random.below(2)),
                      random.below(2) == 0 ? '-' : '+',
                      0.5,
                      1.0};
            muxValues.push_back(multiplexed ? static_cast<std::int32_t>(random.below(5)) - 1 : -1);
        }
        for (std::uint32_t id = 0; id < 2; ++id) {
            message = RealMessage::create(id, "Twin" + std::to_string(id), interface);
            interface->addMessage(message);
            for (std::size_t i = 0; i < layouts.size(); ++i) {
                auto signal = make(layouts[i]);
                signal->muxValue = muxValues[i];
                if (wide) signal->decodeWide();
                signal->addUser(nullptr);
                message->addSignal(signal->name, signal);
            }
            if (multiplexed) {
                message->multiplexor = make(muxLayout);
                message->multiplexor->muxValue = kMultiplexor;
            }
            twins.push_back(message);
        }
        std::vector<StoredFrame> run;
        std::uint64_t time = 0;
        std::uint64_t word = random.bits();
        for (int i = 0; i < 1500; ++i) {
            constexpr std::uint32_t kSteps[] = {0, 1, 10, 900, 9999, 10000, 10001, 40000};
            time += kSteps[random.below(random.below(10) == 0 ? 8 : 4)];
            if (random.below(3) == 0) word = random.bits() & random.bits();
            run.emplace_back(time, 8, word);
        }
        constexpr std::uint64_t kBase = 1'700'000'000'000;
        for (const StoredFrame& stored : run)
            twins[0]->handleFrame(frameOf(kBase + stored.time(), stored.data()));
        const std::size_t cut = random.below(1500);
        twins[1]->handleRun(std::span(run).first(cut), kBase);
        twins[1]->handleRun(std::span(run).subspan(cut), kBase);
        for (std::size_t i = 0; i < layouts.size(); ++i) {
            const Signal& one = *twins[0]->signals[i];
            const Signal& other = *twins[1]->signals[i];
            ASSERT_EQ(one.samples().size(), other.samples().size())
                << "round " << round << ", " << i;
            for (std::size_t k = 0; k < one.samples().size(); ++k)
                ASSERT_EQ(one.samples()[k], other.samples()[k]) << "round " << round << ", " << i;
            EXPECT_EQ(one.lastSeenTime, other.lastSeenTime);
            EXPECT_EQ(one.hasData, other.hasData);
            EXPECT_EQ(one.min, other.min);
            EXPECT_EQ(one.max, other.max);
        }
        EXPECT_EQ(twins[0]->currentMux, twins[1]->currentMux);
    }
}

// A multiplexor's value may be no number that fits.
TEST_F(RealSignalTest, survivesWildMultiplexValues) {
    auto multiplexor = make({0, 32, 1, '+', 1e300, 0});
    multiplexor->muxValue = kMultiplexor;
    multiplexor->decodeFrame(frameOf(1, 7));
    EXPECT_EQ(message->currentMux, -1);
    auto wide = make({0, 32});
    wide->setFloat();
    wide->muxValue = kMultiplexor;
    wide->decodeFrame(
        frameOf(1, std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN())));
    EXPECT_EQ(message->currentMux, -1);
}

}  // namespace
}  // namespace trelis
