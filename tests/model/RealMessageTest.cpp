#include "model/RealMessage.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

using Messages = std::vector<std::string>;

// A recording in memory.
class FakeSource : public FrameSource {
  public:
    std::map<std::uint32_t, std::vector<StoredFrame>> frames;  // by id
    std::uint64_t base = 0;
    bool aborted = false;
    bool fails = false;

    bool waitUntilFramesReady() override {
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

Frame frameOf(std::uint64_t data) {
    Frame frame;
    frame.id = 1;
    frame.dlc = 8;
    for (auto& byte : frame.data) {
        byte = static_cast<std::uint8_t>(data);
        data >>= 8;
    }
    return frame;
}

class RealMessageTest : public ::testing::Test {
  protected:
    RealMessageTest() { interface->addMessage(message); }

    std::shared_ptr<RealSignal> add(const std::string& name, std::uint32_t start) {
        auto signal = RealSignal::create(message, name, start, 8, 1, '+', "", 1, 0, 0, 0);
        EXPECT_TRUE(message->addSignal(name, signal));
        return signal;
    }

    test::TestStore store;
    std::shared_ptr<CanIface> interface = store.addInterface("Can", 0);
    std::shared_ptr<RealMessage> message = RealMessage::create(1, "Msg", interface);
    std::shared_ptr<RealSignal> first = add("first", 0);
    std::shared_ptr<RealSignal> second = add("second", 8);
    std::shared_ptr<FakeSource> source = std::make_shared<FakeSource>();
};

TEST_F(RealMessageTest, countsWhatIsWanted) {
    second->setSelected(true);
    EXPECT_EQ(message->parseOrder.front(), second);
    EXPECT_EQ(message->signals.front(), first);
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

TEST_F(RealMessageTest, selectsByPattern) {
    message->selectPattern("fi*");
    EXPECT_TRUE(first->selected && !second->selected);
    message->selectPattern("?econd");
    EXPECT_TRUE(second->selected);
    message->selectAll(false);
    EXPECT_EQ(store.counts.selectedCount, 0U);
}

TEST_F(RealMessageTest, refusesNamesAndIdsTwice) {
    EXPECT_FALSE(message->addSignal("first", second));
    EXPECT_EQ(message->signals.size(), 2U);
    EXPECT_EQ(message->getSignal("second"), second);
    EXPECT_THROW(interface->addMessage(RealMessage::create(1, "Other", interface)), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages().back(),
              "Couldn't insert message 'Other' into interface 'Can', message with ID '1' already "
              "exists");
    EXPECT_EQ(first->mutex, second->mutex) << "signals of a message share its mutex";
    const Message orphan(store, 2, "Orphan");
    EXPECT_FALSE(orphan.hasParent());
    EXPECT_THROW(static_cast<void>(orphan.parent()), std::runtime_error);
}

TEST_F(RealMessageTest, decodesOnlyWhatAParseNeeds) {
    const auto third = add("third", 16);
    first->addUser(nullptr);
    first->addUser(nullptr);
    second->addUser(nullptr);
    first->needsParse = false;  // parsed before
    store.recount();
    Frame frame = frameOf(0x030201);
    message->handleFrame(frame);
    EXPECT_TRUE(first->samples().empty());
    EXPECT_EQ(second->samples().size(), 1U);
    EXPECT_TRUE(third->samples().empty());
    store.readAll = true;
    frame.absoluteTime = 10;
    message->handleFrame(frame);
    EXPECT_EQ(first->samples().size(), 1U);
    EXPECT_EQ(third->samples().size(), 1U);
}

TEST_F(RealMessageTest, finishesWithoutAWorker) {
    first->addUser(nullptr);
    store.recount();
    message->postFrame(frameOf(5), 100);  // at once
    message->postFrame(frameOf(5), 200);
    ASSERT_EQ(first->samples().size(), 1U);
    message->finish();
    EXPECT_EQ(first->samples().back(), (Sample{200, 5.0}));
    EXPECT_TRUE(first->parsed);
    EXPECT_FALSE(first->needsParse);
    second->parsed = true;
    message->finish();
    EXPECT_FALSE(second->parsed) << "neither data nor users";
    EXPECT_EQ(first->samples().size(), 2U);
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
    for (std::uint64_t i = 0; i < kFrames; ++i)
        message->postFrame(frameOf(i % 2), i);
    message->finish();
    EXPECT_EQ(first->samples().size(), kFrames);
    for (std::uint64_t i = 0; i < first->samples().size(); ++i)
        ASSERT_EQ(first->samples()[i], (Sample{i, static_cast<double>(i % 2)}));
}

TEST_F(RealMessageTest, decodesRecordingsInOrder) {
    auto later = std::make_shared<FakeSource>();
    for (std::uint64_t i = 0; i < 2000; ++i) {
        source->frames[1].emplace_back(i, 8, i % 251);
        later->frames[1].emplace_back(i, 8, i % 251);
        source->frames[2].emplace_back(i, 8, 99);
    }
    source->base = 1000;
    later->base = 5000;
    first->setSelected(true);
    ASSERT_TRUE(message->startLogWorker({source, later}));
    message->finish();
    ASSERT_EQ(first->samples().size(), 4000U);
    EXPECT_EQ(first->samples()[1999], (Sample{2999, 1999 % 251}));
    EXPECT_EQ(first->samples()[2000], (Sample{5000, 0}));
    EXPECT_TRUE(second->samples().empty());
    EXPECT_EQ(source.use_count(), 1) << "a recording is let go of when it is done";
}

TEST_F(RealMessageTest, endsAtAnAbortedRecording) {
    source->frames[1] = {{1, 8, 7}};
    auto aborted = std::make_shared<FakeSource>();
    aborted->aborted = true;
    auto behind = std::make_shared<FakeSource>();
    behind->frames[1] = {{2, 8, 9}};
    first->setSelected(true);
    ASSERT_TRUE(message->startLogWorker({source, aborted, behind}));
    message->finish();
    EXPECT_EQ(first->samples().size(), 1U);
    EXPECT_EQ(behind.use_count(), 1);
}

TEST_F(RealMessageTest, tellsWhatEndedItsWorker) {
    source->fails = true;
    first->setSelected(true);
    ASSERT_TRUE(message->startLogWorker({source}));
    message->finish();
    EXPECT_TRUE(store.workerFailed);
    EXPECT_EQ(test::TestStore::messages(), Messages{"Exception: broken source"});
    EXPECT_EQ(source.use_count(), 1);
}

TEST_F(RealMessageTest, clearsItsSignals) {
    first->setSelected(true);
    message->postFrame(frameOf(1), 1);
    interface->clear();
    EXPECT_TRUE(message->signals.empty());
    EXPECT_FALSE(message->hasParent());
    EXPECT_FALSE(first->hasData);
    EXPECT_EQ(interface->findById(1), nullptr);
    EXPECT_THROW(static_cast<void>(interface->findByName("Msg")), SignalNotFoundException);
    // Signals own their message: a message that kept one would never go.
    auto other = RealMessage::create(2, "Other", interface);
    interface->addMessage(other);
    other->addRateSignal(kPlainSignal);
    other->multiplexor = RealSignal::create(other, "mux", 0, 8, 1, '+', "", 1, 0, 0, 0);
    const std::weak_ptr<RealMessage> watched = other;
    other.reset();
    interface->clear();
    EXPECT_TRUE(watched.expired());
}

TEST_F(RealMessageTest, interfacesFindTheirActiveMessages) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    std::map<std::uint32_t, std::shared_ptr<RealMessage>> wanted;
    for (int i = 0; i < 1000; ++i) {
        const auto id = static_cast<std::uint32_t>(random.bits());
        if (interface->findById(id)) continue;
        auto other = RealMessage::create(id, "M" + std::to_string(id), interface);
        interface->addMessage(other);
        if (random.below(2) == 0) continue;
        other->pendingCount = 1;
        wanted.emplace(id, other);
    }
    EXPECT_EQ(interface->findActive(wanted.begin()->first), nullptr) << "not built yet";
    EXPECT_TRUE(interface->buildActiveMap());
    EXPECT_EQ(interface->activeMessages.size(), wanted.size());
    for (const auto& [id, other] : interface->messages) {
        const auto number = static_cast<std::uint32_t>(id);
        Message* expected = wanted.contains(number) ? other.get() : nullptr;
        EXPECT_EQ(interface->findActive(number), expected) << number;
    }
    EXPECT_EQ(interface->findByName(wanted.begin()->second->name), wanted.begin()->second);
    store.readAll = true;
    EXPECT_TRUE(interface->buildActiveMap());
    EXPECT_EQ(interface->findActive(1), message.get());
}

}  // namespace
}  // namespace trelis
