#include "config/link/IPC.h"

#include <glibmm/main.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "config/link/LinkObjects.h"
#include "support/Files.h"

namespace trelis {
namespace {

using test::linkKey;
using test::removeLinkObjects;

/// A file of its own for each test, and with it keys of its own; removes what was made with them.
class IpcTest : public ::testing::Test {
  protected:
    IpcTest() { removeLinkObjects(path_); }
    ~IpcTest() override {
        removeLinkObjects(path_);
        while (!MessageLog::instance().isEmpty())
            MessageLog::instance().pop();
    }

    const test::Folder folder_;
    const std::string path_ = folder_.write("copies", "");
};

/// A copy with a log whose clock is `offset` ms off.
std::unique_ptr<IPC> linkedCopy(const std::string& path, std::int64_t offset = 0) {
    auto copy = std::make_unique<IPC>(path);
    copy->enable();
    copy->addOffset(0, offset);
    return copy;
}

/// Runs the main loop, which hands over the news, until the condition holds.
bool pump(const std::function<bool()>& done) {
    constexpr int kTicks = 3000;
    for (int i = 0; i < kTicks && !done(); ++i) {
        while (Glib::MainContext::get_default()->iteration(false))
            continue;
        usleep(2000);
    }
    return done();
}

/// Another copy of the program: runs `body` in a process of its own, then waits to be killed.
class OtherCopy {
  public:
    explicit OtherCopy(const std::function<bool()>& body) {
        std::array<int, 2> ready{};
        if (pipe(ready.data()) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            const char answer = body() ? 'y' : 'n';
            if (write(ready[1], &answer, 1) != 1) _exit(1);
            for (;;)
                pause();
        }
        close(ready[1]);
        char answer = 'n';
        isReady_ = read(ready[0], &answer, 1) == 1 && answer == 'y';
        close(ready[0]);
    }
    OtherCopy(const OtherCopy&) = delete;
    OtherCopy& operator=(const OtherCopy&) = delete;
    ~OtherCopy() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    [[nodiscard]] bool isReady() const { return isReady_; }

  private:
    pid_t pid_ = -1;
    bool isReady_ = false;
};

TEST(TimeOffsetsTest, HoldFromTheirTimeOn) {
    TimeOffsets offsets;
    EXPECT_EQ(offsets.at(500), 0);
    offsets.add(1000, 50);
    offsets.add(2000, 50);  // the same offset
    offsets.add(900, 70);   // an earlier time
    offsets.add(3000, 80);
    for (const auto& [time, offset] : std::vector<std::pair<std::int64_t, std::int64_t>>{
             {0, 50}, {999, 50}, {1000, 50}, {2999, 50}, {3000, 80}, {9000, 80}})
        EXPECT_EQ(offsets.at(time), offset) << "at " << time;
}

TEST_F(IpcTest, OtherProcessesFollowInTheirOwnTime) {
    OtherCopy other([this] {
        const auto ipc = linkedCopy(path_, 1000);
        ipc->viewChanged(5000, 9000);
        ipc->setCursors(6000, -1);
        // It has told everything when a third party of the same file has heard it.
        const auto witness = linkedCopy(path_, 1000);
        return pump([&] { return witness->view() && witness->firstCursor() == 6000; });
    });
    ASSERT_TRUE(other.isReady());

    IPC ipc(path_);
    int told = 0;
    ipc.changed.connect([&] { ++told; });
    ipc.enable();
    EXPECT_FALSE(ipc.view());
    EXPECT_EQ(ipc.firstCursor(), -1);

    // With its first log, this copy hears what was told before.
    ipc.addOffset(0, 100000);
    ASSERT_TRUE(pump([&] { return told > 0; }));
    ASSERT_TRUE(ipc.view());
    EXPECT_EQ(ipc.view()->start, 104000U);
    EXPECT_EQ(ipc.view()->end, 108000U);
    EXPECT_EQ(ipc.firstCursor(), 105000);
    EXPECT_EQ(ipc.secondCursor(), -1);
    ipc.disable();
    EXPECT_FALSE(ipc.isEnabled());
}

TEST_F(IpcTest, FiveCopiesShareViewAndCursors) {
    std::vector<std::unique_ptr<IPC>> copies;
    for (int i = 0; i < 5; ++i)
        copies.push_back(linkedCopy(path_, i * 1000));
    copies[2]->viewChanged(12000, 15000);
    copies[3]->setCursors(14000, 13500);
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const auto shift = static_cast<std::int64_t>(i) * 1000;
        EXPECT_TRUE(
            pump([&] { return copies[i]->view() && copies[i]->firstCursor() == 11000 + shift; }));
        EXPECT_EQ(copies[i]->view()->start, static_cast<std::uint64_t>(10000 + shift));
        EXPECT_EQ(copies[i]->secondCursor(), 10500 + shift);
    }
    copies[0]->setCursors(-1, -1);
    for (const auto& copy : copies)
        EXPECT_TRUE(pump([&] { return copy->firstCursor() == -1 && copy->secondCursor() == -1; }));
}

TEST_F(IpcTest, WithoutOffsetsOrLinkNothingIsTold) {
    IPC silent(path_);
    silent.enable();
    silent.viewChanged(1000, 2000);
    silent.setCursors(1500, 1600);
    IPC unlinked(path_);
    unlinked.addOffset(0, 0);
    unlinked.viewChanged(3000, 4000);
    const auto listener = linkedCopy(path_);
    const auto second = linkedCopy(path_);
    // What the listener tells goes round a few times, in which all copies look at what is there.
    for (const std::int64_t told : {4, 5, 6, 7, 8}) {
        listener->setCursors(7, told);
        ASSERT_TRUE(pump([&] { return second->secondCursor() == told; }));
    }
    EXPECT_FALSE(listener->view());
    EXPECT_FALSE(second->view());
    EXPECT_EQ(silent.firstCursor(), 1500) << "without offsets a cursor stands as it is";

    // The first offset lets the silent copy hear.
    silent.addOffset(0, 10);
    EXPECT_TRUE(pump([&] { return silent.firstCursor() == 17; }));
}

TEST_F(IpcTest, ACopyKilledWithTheLockLeavesTheOthersUsable) {
    const auto ipc = linkedCopy(path_);
    ipc->viewChanged(100, 200);
    {
        OtherCopy other([this] { return LinkSegment(path_).lock(); });
        ASSERT_TRUE(other.isReady());
    }  // killed
    LinkRecord record;
    record.firstCursor = 5;
    LinkSegment segment(path_);
    EXPECT_EQ(segment.exchange(record, {false, true}), LinkSegment::Outcome::kNotLocked);
    EXPECT_EQ(record.firstCursor, 5);

    ipc->setCursors(120, 150);
    EXPECT_EQ(ipc->firstCursor(), 120);
    EXPECT_EQ(ipc->view()->end, 200U);

    // Someone frees the lock: what was pending goes out.
    const auto other = linkedCopy(path_);
    segment.unlock();
    EXPECT_TRUE(pump([&] { return other->firstCursor() == 120 && other->view(); }));
}

TEST_F(IpcTest, WrongSizesAreRefusedAndRemovedSemaphoresWaitedFor) {
    const auto expectRefusal = [this](const char* text) {
        EXPECT_THROW(IPC{path_}, PrintMsgError);
        EXPECT_TRUE(MessageLog::instance().pop().text.starts_with(text)) << text;
        removeLinkObjects(path_);
    };
    ASSERT_GE(shmget(linkKey(path_, 'N'), 32, IPC_CREAT | 0666), 0);
    expectRefusal("shmget failed: ");
    ASSERT_GE(semget(linkKey(path_, 'O'), 1, IPC_CREAT | 0660), 0);
    expectRefusal("semget failed: ");
    EXPECT_THROW(IPC("/nowhere/at/all"), PrintMsgError);

    const auto ipc = linkedCopy(path_);
    semctl(semget(linkKey(path_, 'O'), 0, 0), 0, IPC_RMID);
    ipc->setCursors(1, 2);
    EXPECT_EQ(ipc->secondCursor(), 2);
}

TEST_F(IpcTest, TouchesOnly64BytesAndSurvivesAnyContent) {
    constexpr std::size_t kSize = 4096;
    // The segment as another program sees it.
    const auto detach = [](void* memory) { shmdt(memory); };
    const std::unique_ptr<void, decltype(detach)> raw(
        shmat(shmget(linkKey(path_, 'N'), kSize, IPC_CREAT | 0666), nullptr, 0), detach);
    const std::span bytes(static_cast<unsigned char*>(raw.get()), kSize);
    std::fill(bytes.begin(), bytes.end(), 0xAA);

    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    const std::array<std::int64_t, 6> awkward = {0, -1, 1, kMost, -kMost - 1, 1 << 20};

    LinkSegment segment(path_);
    TimeOffsets offsets;
    offsets.add(0, kMost);
    offsets.add(1 << 20, -kMost - 1);
    const auto ipc = linkedCopy(path_, kMost);
    for (int round = 0; round < 200; ++round) {
        std::array<std::int64_t, 8> words{};
        for (auto& word : words)
            word = random() % 2 == 0 ? awkward[random() % awkward.size()]
                                     : static_cast<std::int64_t>(random());
        std::memcpy(bytes.data(), words.data(), sizeof words);
        LinkRecord record;
        ASSERT_NE(segment.exchange(record, {}), LinkSegment::Outcome::kNotLocked);
        static_cast<void>(offsets.ownTime(record.viewStart, record.viewStartFree));
        if (const auto view = ipc->view()) {
            EXPECT_LT(view->start, view->end);
        }
        EXPECT_GE(ipc->firstCursor(), -1);
        EXPECT_GE(ipc->secondCursor(), -1);
    }
    for (const unsigned char byte : bytes.subspan(sizeof(LinkRecord)))
        ASSERT_EQ(byte, 0xAA);
}

}  // namespace
}  // namespace trelis
