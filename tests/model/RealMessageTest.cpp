#include "model/RealMessage.h"

#include <gtest/gtest.h>

#include <latch>
#include <map>
#include <stdexcept>

#include "app/diagnostics/Exceptions.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::frameOf;
using test::Messages;
using test::Samples;
using test::samplesOf;

// A recording in memory.
class FakeSource : public FrameSource {
  public:
    std::map<std::uint32_t, std::vector<StoredFrame>> frames;  // by id
    std::uint64_t base = 0;
    bool aborted = false;
    bool fails = false;

    std::latch* ready = nullptr;  // waits for it, if there is one

    bool waitUntilFramesReady() override {
        if (ready != nullptr) ready->wait();
        if (fails) throw std::runtime_error("broken source");
        return !aborted;
    }
    void takeRuns(std::uint32_t interface, std::uint32_t id, const RunConsumer& consume) override {
        if (interface != 0 || !frames.contains(id)) return;
        const std::span<const StoredFrame> all = frames[id];
        consume(all.first(all.size() / 2), base);
        consume(all.subspan(all.size() / 2), base);
    }
};

class RealMessageTest : public ::testing::Test {
  protected:
    std::shared_ptr<RealSignal> add(const std::string& name, std::uint32_t start) {
        auto signal = test::byteAt(message, name, start);
        EXPECT_TRUE(message->addSignal(name, signal));
        return signal;
    }
    void decode(std::deque<std::shared_ptr<FrameSource>> sources) {
        first->setSelected(true);
        ASSERT_TRUE(message->startLogWorker(sources));
        message->finish();
    }

    test::BusStore store;
    std::shared_ptr<RealMessage> message = store.addMessage(1, "Msg");
    std::shared_ptr<RealSignal> first = add("first", 0);
    std::shared_ptr<RealSignal> second = add("second", 8);
    std::shared_ptr<FakeSource> source = std::make_shared<FakeSource>();
};

TEST_F(RealMessageTest, countsWhatIsWanted) {
    second->setSelected(true);
    EXPECT_EQ(message->parseOrder.front(), second);
    first->addUser(second);
    first->addUser(second);
    second->internalOnly = true;
    first->parsed = true;
    store.recount();
    EXPECT_EQ(message->parseOrder.front(), first);
    EXPECT_EQ(message->selectedCount, 1U);
    EXPECT_EQ(message->selectedVisibleCount, 0U);
    EXPECT_EQ(message->usedCount, 2U);
    EXPECT_EQ(message->pendingCount, 1U);
    EXPECT_TRUE(store.selectedSignals.empty());
    store.liveMode = true;
    second->useCount = 9;
    store.recount();
    EXPECT_EQ(message->parseOrder.front(), first) << "the order stays while a stream runs";
}

TEST_F(RealMessageTest, refusesNamesAndIdsTwice) {
    EXPECT_FALSE(message->addSignal("first", second));
    EXPECT_EQ(message->signals.size(), 2U);
    EXPECT_THROW(store.addMessage(1, "Other"), PrintMsgError);
    EXPECT_EQ(first->mutex, second->mutex) << "signals of a message share its mutex";
    EXPECT_THROW(static_cast<void>(Message(store, 2, "Orphan").parent()), std::runtime_error);
}

TEST_F(RealMessageTest, decodesOnlyWhatAParseNeeds) {
    const auto third = add("third", 16);
    first->addUser(nullptr);
    first->addUser(nullptr);
    second->addUser(nullptr);
    first->needsParse = false;  // parsed before
    store.recount();
    message->handleFrame(frameOf(0x030201));
    EXPECT_TRUE(first->samples().empty());
    EXPECT_EQ(second->samples().size(), 1U);
    EXPECT_TRUE(third->samples().empty());
    store.readAll = true;
    message->handleFrame(frameOf(0x030201, 10));
    EXPECT_EQ(first->samples().size(), 1U);
    EXPECT_EQ(third->samples().size(), 1U);
}

TEST_F(RealMessageTest, finishesWithoutAWorker) {
    first->addUser(nullptr);
    store.recount();
    message->postFrame(frameOf(5), 100);  // at once
    message->postFrame(frameOf(5), 200);
    second->parsed = true;
    for (int i = 0; i < 2; ++i) {
        message->finish();
        EXPECT_EQ(samplesOf(*first), (Samples{{100, 5}, {200, 5}}));
    }
    EXPECT_TRUE(first->parsed);
    EXPECT_FALSE(first->needsParse);
    EXPECT_FALSE(second->parsed) << "neither data nor users";
}

TEST_F(RealMessageTest, needsNoThreadUnlessWanted) {
    EXPECT_FALSE(message->startWorker());
    EXPECT_FALSE(message->startLogWorker({source}));
    first->setSelected(true);
    EXPECT_TRUE(message->startWorker());
    EXPECT_THROW(message->startWorker(), PrintMsgError);
    EXPECT_THROW(message->startLogWorker({source}), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages(), Messages{"thread already created"});
    message->finish();
    store.recount();
    EXPECT_FALSE(message->startWorker()) << "everything was parsed";
}

TEST_F(RealMessageTest, losesNoQueuedFrame) {
    first->setSelected(true);
    ASSERT_TRUE(message->startWorker());
    constexpr std::uint64_t kFrames = RealMessage::kMostQueued * 2;  // the queue fills and drains
    Samples posted;
    for (std::uint64_t i = 0; i < kFrames; ++i) {
        message->postFrame(frameOf(i % 2), i);
        posted.push_back({i, static_cast<double>(i % 2)});
    }
    message->finish();
    EXPECT_TRUE(samplesOf(*first) == posted) << first->samples().size();
}

TEST_F(RealMessageTest, decodesRecordingsInOrder) {
    const auto later = std::make_shared<FakeSource>();
    source->base = 1000;
    later->base = 5000;
    Samples expected;
    for (const auto& recording : {source, later})
        for (std::uint64_t i = 0; i < 2000; ++i) {
            recording->frames[1].emplace_back(i, 8, i % 251);
            recording->frames[2].emplace_back(i, 8, 99);
            expected.push_back({recording->base + i, static_cast<double>(i % 251)});
        }
    decode({source, later});
    EXPECT_TRUE(samplesOf(*first) == expected) << first->samples().size();
    EXPECT_TRUE(second->samples().empty());
    EXPECT_EQ(source.use_count(), 1) << "a recording is let go of when it is done";
}

// A definition file may hold more messages than the system has threads.
TEST_F(RealMessageTest, sharesThreadsBeyondTheMost) {
    constexpr std::uint32_t kMessages = RealMessage::kMostThreads + 300;
    std::vector<std::shared_ptr<RealMessage>> messages;
    std::vector<std::shared_ptr<RealSignal>> signals;
    for (std::uint32_t id = 10; id < 10 + kMessages; ++id) {
        messages.push_back(store.addMessage(id, "M" + std::to_string(id)));
        signals.push_back(test::byteAt(messages.back(), "s", 0));
        signals.back()->addUser(nullptr);
        messages.back()->addSignal("s", signals.back());
        for (std::uint64_t time = 0; time < 4; ++time)
            source->frames[id].emplace_back(time, 8, id + time);
    }
    store.recount();
    for (int parse = 0; parse < 2; ++parse) {
        std::latch ready(1);
        source->ready = &ready;
        for (const auto& each : messages)
            ASSERT_TRUE(each->startLogWorker({source}));
        EXPECT_THROW(messages.back()->startLogWorker({source}), PrintMsgError);
        EXPECT_EQ(store.messageThreads.size(), RealMessage::kMostThreads);
        ready.count_down();
        for (const auto& each : messages)
            each->finish();
        EXPECT_TRUE(store.messageThreads.empty());
        for (std::size_t i = 0; i < signals.size(); ++i)
            ASSERT_EQ(samplesOf(*signals[i]).back(), (Sample{3, double((10 + i + 3) % 256)})) << i;
        for (const auto& signal : signals) {
            signal->parsed = false;
            signal->clearSamples();
        }
        store.recount();
    }

    for (const auto& each : messages)
        EXPECT_TRUE(each->startWorker());
    messages.back()->postFrame(frameOf(9), 5);  // at once
    EXPECT_EQ(samplesOf(*signals.back()), (Samples{{5, 9}}));
    for (const auto& each : messages)
        each->finish();
}

TEST_F(RealMessageTest, endsAtABadRecording) {
    const auto behind = std::make_shared<FakeSource>();
    behind->frames[1] = {{2, 8, 9}};
    for (bool* how : {&source->aborted, &source->fails}) {
        *how = true;
        const auto sound = std::make_shared<FakeSource>();
        sound->frames[1] = {{1, 8, 7}};
        first->clearSamples();
        first->parsed = false;
        decode({sound, source, behind});
        EXPECT_EQ(samplesOf(*first), (Samples{{1, 7}}));
        EXPECT_EQ(behind.use_count(), 1);
        EXPECT_EQ(store.workerFailed, source->fails);
    }
    EXPECT_EQ(test::TestStore::messages(), Messages{"Exception: broken source"});
}

TEST_F(RealMessageTest, clearsItsSignals) {
    first->setSelected(true);
    message->postFrame(frameOf(1), 1);
    // Signals own their message: a message that kept one would never go.
    auto other = store.addMessage(2, "Other");
    other->addRateSignal(kPlainSignal);
    other->multiplexor = test::byteAt(other, "mux", 0, kMultiplexor);
    const std::weak_ptr<RealMessage> watched = std::exchange(other, nullptr);
    store.bus->clear();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(message->signals.empty());
    EXPECT_FALSE(first->hasData);
    EXPECT_THROW(static_cast<void>(store.bus->findByName("Msg")), SignalNotFoundException);
}

TEST_F(RealMessageTest, interfacesFindTheirActiveMessages) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int i = 0; i < 1000; ++i) {
        const auto id = static_cast<std::uint32_t>(random.bits());
        if (store.bus->findById(id)) continue;
        const auto other = store.addMessage(id, "M" + std::to_string(id));
        other->pendingCount = random.below(2);
        EXPECT_EQ(store.bus->findByName(other->name), other);
    }
    EXPECT_EQ(store.bus->findActive(1), nullptr) << "not built yet";
    for (const bool all : {false, true}) {
        store.readAll = all;
        EXPECT_TRUE(store.bus->buildActiveMap());
        for (const auto& [id, other] : store.bus->messages) {
            Message* wanted = all || other->pendingCount != 0 ? other.get() : nullptr;
            EXPECT_EQ(store.bus->findActive(static_cast<std::uint32_t>(id)), wanted) << id;
        }
    }
}

}  // namespace
}  // namespace trelis
