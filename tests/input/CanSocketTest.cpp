// Frames of a CAN interface. A pair of datagram sockets stands in for the interface; the rest needs
// a virtual one ("ip link add dev can0 type vcan") and is skipped without.
#include "input/CanSocket.h"

#include <linux/can.h>

#include <numeric>

#include "LiveRig.h"
#include "app/diagnostics/Exceptions.h"
#include "input/LiveRun.h"
#include "support/Model.h"

namespace trelis::test {
namespace {

can_frame canFrame(std::uint32_t id, std::uint8_t length, std::uint8_t firstByte) {
    can_frame frame{};
    frame.can_id = id;
    frame.can_dlc = length;
    std::iota(frame.data, frame.data + 8, firstByte);
    return frame;
}

/// Two connected sockets that keep the arrival times of their datagrams, as CAN sockets do.
struct DatagramPair {
    DatagramPair()
        : near(boundSocket(SOCK_DGRAM, nearAddress)), far(boundSocket(SOCK_DGRAM, farAddress)) {
        EXPECT_EQ(connectTo(near, farAddress), 0);
        EXPECT_EQ(connectTo(far, nearAddress), 0);
    }
    void put(const can_frame& frame, std::size_t size = sizeof(can_frame)) const {
        EXPECT_EQ(send(far.get(), &frame, size, 0), static_cast<ssize_t>(size));
    }
    sockaddr_in nearAddress;
    sockaddr_in farAddress;
    Descriptor near;
    Descriptor far;
};

class CanSocketTest : public testing::Test {
  protected:
    CanSocketTest() {
        store_.dongleMode = true;
        wireLiveInputs(store_);
        const auto message = store_.addMessage(0x123, "M");
        message->addSignal("S", byteAt(message, "S", 0));
        message->selectAll(true);
    }

    BusStore store_;
};

TEST_F(CanSocketTest, OneFrameWithItsTime) {
    const DatagramPair pair;
    const std::uint64_t before = wallClockMs();
    pair.put(canFrame(0x123, 3, 0x50));
    pair.put(canFrame(0x9ABCDEF0, 15, 1));
    Frame frame;
    frame.data.fill(0xFF);
    ASSERT_EQ(readCanSocket(pair.near.get(), frame), 0);
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_EQ(frame.dlc, 3);
    EXPECT_EQ(frame.data, (std::array<std::uint8_t, 8>{0x50, 0x51, 0x52}));
    EXPECT_GE(frame.absoluteTime, before);
    EXPECT_LE(frame.absoluteTime, wallClockMs());
    ASSERT_EQ(readCanSocket(pair.near.get(), frame), 0);
    EXPECT_EQ(frame.id, 0x9ABCDEF0U);
    EXPECT_EQ(frame.data[7], 8);
    pair.put(canFrame(1, 8, 0), 15);
    EXPECT_EQ(readCanSocket(pair.near.get(), frame), -1);
}

TEST_F(CanSocketTest, FramesAreDecodedUntilTheInterfaceFails) {
    const DatagramPair pair;
    for (std::uint8_t i = 1; i <= 50; ++i)
        pair.put(canFrame(0x123, 8, i));
    pair.put({}, 1);  // no frame
    readCanFrames(store_, pair.near.get());
    EXPECT_EQ(store_.framesRead, 50U);
    const auto values = valuesOf(store_).at("Can.M.S");
    ASSERT_EQ(values.size(), 50U);
    EXPECT_EQ(values.back().value, 50.0);
    EXPECT_GE(store_.parseLastTime, store_.firstTime + kLiveWindowMs);
    EXPECT_EQ(takeMessages(), Texts{"WRN kvaser dongle read error"});
    EXPECT_FALSE(store_.running);
}

TEST_F(CanSocketTest, SilentInterfaceCanBeStopped) {
    const DatagramPair pair;
    std::thread reader([&] { readCanFrames(store_, pair.near.get()); });
    pair.put(canFrame(0x123, 8, 1));
    while (store_.framesRead == 0)
        std::this_thread::yield();
    store_.running = false;
    reader.join();
    EXPECT_EQ(takeMessages(), Texts{});
}

TEST_F(CanSocketTest, InterfaceThatIsNotThere) {
    store_.dongleChannel = 987654;
    testing::internal::CaptureStderr();
    EXPECT_THROW(store_.parseNow(), PrintMsgError);
    const std::string printed = testing::internal::GetCapturedStderr();
    // Which of the two depends on whether the kernel knows CAN at all.
    EXPECT_NE(printed.find("Could not determine interface index for channel 987654"),
              printed.find("open socket failed: "));
    EXPECT_EQ(takeMessages(), Texts{"ERR couldn't connect to kvaser dongle"});
}

/// The number of an interface "can<N>" that is up, or -1.
int liveChannel() {
    for (const std::string& name : canInterfaces())
        if (contentOf("/sys/class/net/" + name + "/operstate") != "down\n")
            return canChannelOf(name).value_or(-1);
    return -1;
}

TEST_F(CanSocketTest, RealInterface) {
    const int channel = liveChannel();
    if (channel < 0) GTEST_SKIP() << "no CAN interface of the name can<N> is up";
    const Descriptor reader(openCanSocket(channel));
    const Descriptor sender(openCanSocket(channel));
    ASSERT_GE(reader.get(), 0);
    ASSERT_GE(sender.get(), 0);
    const can_frame sent = canFrame(0x321, 8, 9);
    ASSERT_EQ(write(sender.get(), &sent, sizeof sent), static_cast<ssize_t>(sizeof sent));
    Frame frame;
    ASSERT_EQ(readCanSocket(reader.get(), frame), 0);
    EXPECT_EQ(frame.id, 0x321U);
    EXPECT_EQ(frame.data[0], 9);
}

}  // namespace
}  // namespace trelis::test
