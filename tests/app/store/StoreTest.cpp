#include "app/store/Store.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <utility>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "model/RealMessage.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

using Messages = std::vector<std::string>;

class StoreTest : public ::testing::Test {
  protected:
    std::shared_ptr<Signal> add(const std::string& interfaceName, std::uint32_t number,
                                const std::string& messageName, const std::string& signalName) {
        auto interface = store.findInterfaceByName(interfaceName);
        if (!interface) interface = store.addInterface(interfaceName, number);
        auto message = RealMessage::create(static_cast<std::uint32_t>(interface->messages.size()),
                                           messageName, interface);
        interface->addMessage(message);
        auto signal = std::make_shared<Signal>(message, signalName);
        message->addSignal(signalName, signal);
        return signal;
    }
    std::string lookupFailure(const std::string& reference) {
        try {
            static_cast<void>(store.getSignal(reference));
        } catch (const SignalNotFoundException& error) {
            return std::string("not found: ") + error.what();
        } catch (const std::invalid_argument& error) {
            return std::string("invalid: ") + error.what();
        }
        return "";
    }

    test::TestStore store;
};

TEST_F(StoreTest, looksSignalsUpByReference) {
    const auto speed = add("Can0", 0, "Motor", "Speed");
    const auto dotted = add("Can0", 0, "Odd", "a.b");
    EXPECT_EQ(store.getSignal("Can0.Motor.Speed"), speed);
    EXPECT_EQ(store.getSignal("Can0.Odd.a.b"), dotted);
    EXPECT_EQ(lookupFailure("Can1.Motor.Speed"),
              "not found: Couldn't find interface with name Can1");
    EXPECT_EQ(lookupFailure("Can0.Brake.Speed"), "not found: Can't find message with name Brake");
    EXPECT_EQ(lookupFailure("Can0.Motor.Torque"), "not found: Can't find signal with name Torque");
    EXPECT_EQ(lookupFailure("Motor.Speed"),
              "invalid: Expected signal to be formatted as <iface>.<msg>.<sign> but got "
              "Motor.Speed");
    EXPECT_EQ(lookupFailure("").substr(0, 8), "invalid:");
}

TEST_F(StoreTest, completesReferencesOfOldDefinitions) {
    const auto real = add("Can", 0, "Motor", "Speed");
    store.legacyVsd = true;
    EXPECT_EQ(store.getSignal("Motor.Speed"), real);
    EXPECT_EQ(store.getSignal("Can.Motor.Speed"), real);
    const auto computed = add("Virt", kVirtualInterface, "Virtual", "X");
    EXPECT_EQ(store.getSignal("Virtual.X"), computed);
    EXPECT_EQ(lookupFailure("Speed").substr(0, 8), "invalid:");
}

TEST_F(StoreTest, refusesInterfacesTwice) {
    store.addInterface("Can0", 4);
    EXPECT_THROW(store.addInterface("Can0", 5), PrintMsgError);
    EXPECT_THROW(store.addInterface("Can1", 4), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages(),
              (Messages{"Interface name 'Can0' already used. Duplicates not allowed.",
                        "Could not insert Can interface (nbr), Can1 (4)"}));
}

TEST_F(StoreTest, findsMessagesByNumber) {
    add("Can0", 4, "Motor", "Speed");
    EXPECT_EQ(store.getMessage(4, 0)->name, "Motor");
    const auto failure = [&](std::uint32_t number, std::uint32_t id) -> std::string {
        try {
            return store.getMessage(number, id)->name;
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
    };
    EXPECT_EQ(failure(9, 0), "Can't find interface with number 9");
    EXPECT_EQ(failure(4, kExtendedIdFlag | 1), "Can't find message with id 2147483649");
}

TEST_F(StoreTest, keepsTheLastConnectionAtHome) {
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    ::setenv("HOME", "/home/me", 1);
    EXPECT_EQ(test::TestStore().liveFilePath, "/home/me/.sigmiralive");
    ::setenv("HOME", "", 1);
    EXPECT_EQ(test::TestStore().liveFilePath, "/tmp/.sigmiralive");
    ::setenv("HOME", home.c_str(), 1);
}

TEST_F(StoreTest, findsActiveInterfacesByNumber) {
    constexpr std::uint32_t kNumbers[] = {
        0, 31, 255, kCsvInterface, kVirtualInterface, kStatisticsOffset, kStatisticsOffset + 255};
    for (const std::uint32_t number : kNumbers)
        add("I" + std::to_string(number), number, "M", "s")->setSelected(true);
    add("Idle", 7, "M", "s");
    store.buildActiveMaps();
    for (const std::uint32_t number : kNumbers) {
        ASSERT_NE(store.findActiveInterface(number), nullptr) << number;
        EXPECT_EQ(store.findActiveInterface(number)->number, number);
    }
    for (const std::uint32_t number :
         {7U, 256U, 300U, kStatisticsOffset + 7, kStatisticsOffset + 256})
        EXPECT_EQ(store.findActiveInterface(number), nullptr) << number;
    store.clearAll();
    for (const std::uint32_t number : kNumbers)
        EXPECT_EQ(store.findActiveInterface(number), nullptr);
}

TEST_F(StoreTest, countsOverAllInterfaces) {
    const auto one = add("Can0", 0, "A", "s");
    const auto two = add("Can1", 1, "B", "s");
    {
        const RecountBatch batch(store);
        one->setSelected(true);
        two->setSelected(true);
        EXPECT_EQ(store.counts.selectedCount, 0U) << "gathered until the batch ends";
    }
    EXPECT_EQ(store.counts.selectedCount, 2U);
    EXPECT_EQ(store.progress, 0);
    auto rate = std::make_shared<Signal>(one->message, "rate");
    rate->needsParse = true;
    store.bitRates = {nullptr, rate};
    store.recount();
    EXPECT_EQ(store.counts.pendingCount, 3U);
    store.clearSelection();
    EXPECT_TRUE(store.selectedSignals.empty());
    rate->needsParse = false;
    store.recount();
    EXPECT_EQ(store.progress, -1);
}

TEST_F(StoreTest, keepsTheIntervalWithinItsRules) {
    const auto expectInterval = [this](bool isSet, std::uint64_t start, std::uint64_t end) {
        EXPECT_EQ(store.intervalSet, isSet);
        EXPECT_EQ(store.intervalStart, start);
        EXPECT_EQ(store.intervalEnd, end);
    };
    store.firstTime = 10;
    store.lastTime = 90;
    store.setInterval(60, 20);
    expectInterval(true, 20, 60);
    store.clearInterval();
    expectInterval(false, 10, 90);
    store.intervalStart = 33;
    store.clearInterval();  // without one nothing happens
    expectInterval(false, 33, 90);
}

TEST_F(StoreTest, clearsEverything) {
    const auto signal = add("Can0", 0, "A", "s");
    signal->setSelected(true);
    signal->addSample(5, 1);
    store.dbcLoaded = true;
    store.firstFrame = false;
    store.firstTime = store.lastTime = store.parseFirstTime = 7;
    store.setInterval(1, 2);
    store.clearAll();
    EXPECT_TRUE(store.interfaces.empty() && store.selectedSignals.empty());
    EXPECT_TRUE(signal->samples().empty());
    EXPECT_EQ(store.counts.selectedCount, 0U);
    EXPECT_FALSE(store.dbcLoaded || store.intervalSet);
    EXPECT_TRUE(store.firstFrame);
    EXPECT_EQ(store.firstTime, Store::kNoTime);
    EXPECT_EQ(store.parseFirstTime, Store::kNoTime);
    EXPECT_EQ(store.lastTime, 0U);
}

TEST_F(StoreTest, runsOnePassOfItsInputOnTheCallingThread) {
    std::string passes;
    const auto path = [&](const char* name, bool live) {
        return [&passes, name, live](Store& running) {
            passes += name;
            EXPECT_EQ(running.parsing, !live) << name;
            EXPECT_EQ(running.isBusy(), !live) << name;
        };
    };
    store.hooks.logFiles = path("log ", false);
    store.hooks.ascImport = path("asc ", false);
    store.hooks.csvImport = path("csv ", false);
    store.hooks.canSocket = path("can ", true);
    store.hooks.liveConnection = path("live ", true);
    // Each goes before those that were set until now.
    const std::function<void()> modes[] = {
        [] {}, [this] { store.ascMode = true; }, [this] { store.csvMode = true; },
        [this] { store.dongleMode = true; }, [this] { store.networkInput = true; }};
    for (const auto& setMode : modes) {
        setMode();
        store.running = true;
        EXPECT_TRUE(store.parseNow());
        EXPECT_FALSE(store.parsing || store.isBusy() || store.running);
    }
    EXPECT_EQ(passes, "log asc csv can live ");
}

TEST_F(StoreTest, tellsHowAPassFailed) {
    store.hooks.logFiles = [](Store&) { throw std::runtime_error("no luck"); };
    EXPECT_FALSE(store.parseNow());
    EXPECT_EQ(test::TestStore::messages(), Messages{"Exception: no luck"});
    EXPECT_FALSE(store.parsing);
    store.running = true;
    store.hooks.logFiles = [](Store&) { reportFatal("the end"); };
    EXPECT_THROW(store.parseNow(), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages(), Messages{"the end"});
}

TEST_F(StoreTest, makesOnePassOfRequestsThatMeet) {
    store.noGui = false;  // the worker lives on after a pass
    std::latch begun(1);
    std::latch proceed(1);
    std::latch second(1);
    std::latch third(1);
    int passes = 0;
    store.hooks.logFiles = [&](Store& running) {
        if (++passes == 1) {
            begun.count_down();
            proceed.wait();
        } else if (passes == 2) {
            running.running = false;  // an input that ends the worker
            second.count_down();
        } else if (passes == 3) {
            third.count_down();
        }
    };
    store.startWorker();
    store.startWorker();
    store.requestParse();
    begun.wait();
    for (int i = 0; i < 5; ++i)
        store.requestParse();
    EXPECT_TRUE(store.reparseRequested());
    proceed.count_down();
    second.wait();
    store.requestParse();  // starts the worker anew
    third.wait();
    store.shutdown();
    EXPECT_EQ(passes, 3);
}

TEST_F(StoreTest, shutsDownOnce) {
    int saved = 0;
    store.hooks.saveSettings = [&] { ++saved; };
    add("Can0", 0, "A", "s");
    store.startWorker();
    store.shutdown();
    store.shutdown();
    EXPECT_EQ(saved, 1);
    EXPECT_TRUE(store.interfaces.empty());
}

TEST_F(StoreTest, tellsWhatKeepsItBusy) {
    EXPECT_FALSE(store.waitingForWork());
    store.parsing = true;
    EXPECT_TRUE(store.waitingForWork());
    store.dumpLogsToFile("/tmp/x.asc", 5, 9);
    EXPECT_TRUE(store.waitingForWork());
    EXPECT_EQ(test::TestStore::messages(),
              (Messages{"Wait for parse to complete", "Wait for dump to finish"}));
    EXPECT_EQ(store.dumpPath, "/tmp/x.asc");
    EXPECT_EQ(store.dumpFrom, 5U);
    EXPECT_EQ(store.dumpTo, 9U);
    EXPECT_TRUE(store.reparseRequested());
    store.busyDown();  // the count stops at 0
    store.busyUp();
    EXPECT_TRUE(store.isBusy());
}

}  // namespace
}  // namespace trelis
