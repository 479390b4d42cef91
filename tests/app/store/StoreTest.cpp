#include "app/store/Store.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
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
    const auto computed = add("Virt", kVirtualInterface, "Virtual", "X");
    store.legacyVsd = true;
    EXPECT_EQ(store.getSignal("Motor.Speed"), real);
    EXPECT_EQ(store.getSignal("Virtual.X"), computed);
    EXPECT_EQ(store.getSignal("Can.Motor.Speed"), real);
    EXPECT_EQ(lookupFailure("Speed").substr(0, 8), "invalid:");
}

TEST_F(StoreTest, refusesInterfacesTwice) {
    const auto interface = store.addInterface("Can0", 4);
    EXPECT_EQ(store.findInterfaceByNumber(4), interface);
    EXPECT_EQ(store.findInterfaceByNumber(5), nullptr);
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
    for (const std::uint32_t number : kNumbers)
        EXPECT_EQ(store.findActiveInterface(number), nullptr);
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
    EXPECT_EQ(store.progress, -1);
    {
        const RecountBatch batch(store);
        one->setSelected(true);
        two->setSelected(true);
        EXPECT_EQ(store.counts.selectedCount, 0U) << "gathered until the batch ends";
    }
    EXPECT_EQ(store.counts.selectedCount, 2U);
    EXPECT_EQ(store.counts.pendingCount, 2U);
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
    store.firstTime = 10;
    store.lastTime = 90;
    store.setInterval(60, 20);
    EXPECT_TRUE(store.intervalSet);
    EXPECT_EQ(store.intervalStart, 20U);
    EXPECT_EQ(store.intervalEnd, 60U);
    store.clearInterval();
    EXPECT_FALSE(store.intervalSet);
    EXPECT_EQ(store.intervalStart, 10U);
    EXPECT_EQ(store.intervalEnd, 90U);
    store.intervalStart = 33;
    store.clearInterval();
    EXPECT_EQ(store.intervalStart, 33U) << "without one nothing happens";
}

TEST_F(StoreTest, clearsEverything) {
    const auto signal = add("Can0", 0, "A", "s");
    signal->setSelected(true);
    signal->addSample(5, 1);
    store.dbcLoaded = true;
    store.firstFrame = false;
    store.lastTime = 7;
    store.setInterval(1, 2);
    store.clearAll();
    EXPECT_TRUE(store.interfaces.empty());
    EXPECT_TRUE(store.selectedSignals.empty());
    EXPECT_EQ(store.counts.selectedCount, 0U);
    EXPECT_FALSE(store.dbcLoaded || store.intervalSet);
    EXPECT_TRUE(store.firstFrame);
    EXPECT_EQ(store.firstTime, Store::kNoTime);
    EXPECT_EQ(store.parseFirstTime, Store::kNoTime);
    EXPECT_EQ(store.lastTime, 0U);
    EXPECT_TRUE(signal->samples().empty());
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
    const auto parse = [&] {
        store.running = true;
        EXPECT_TRUE(store.parseNow());
        EXPECT_FALSE(store.parsing || store.isBusy() || store.running);
    };
    parse();
    for (bool* mode : {&store.ascMode, &store.csvMode, &store.dongleMode}) {
        *mode = true;  // each goes before those that were set until now
        parse();
    }
    store.networkInput = true;
    parse();
    EXPECT_EQ(passes, "log asc csv can live ");
    EXPECT_EQ(store.lastTime, 0U);
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
    int passes = 0;
    store.hooks.logFiles = [&](Store&) {
        if (++passes == 1) {
            begun.count_down();
            proceed.wait();
        } else if (passes == 2) {
            second.count_down();
        }
    };
    store.startWorker();
    store.startWorker();
    store.requestParse();
    begun.wait();
    EXPECT_TRUE(store.waitingForWork());
    for (int i = 0; i < 5; ++i)
        store.requestParse();
    EXPECT_TRUE(store.reparseRequested());
    proceed.count_down();
    second.wait();
    store.shutdown();
    EXPECT_EQ(passes, 2);
}

TEST_F(StoreTest, worksOnAfterAnInputThatEndedTheWorker) {
    store.noGui = false;
    std::latch first(1);
    std::latch second(1);
    int passes = 0;
    store.hooks.logFiles = [&](Store& running) {
        if (++passes == 1) {
            running.running = false;
            first.count_down();
        } else if (passes == 2) {
            second.count_down();
        }
    };
    store.startWorker();
    store.requestParse();
    first.wait();
    store.requestParse();
    second.wait();
    store.shutdown();
    EXPECT_EQ(passes, 2);
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
    store.busyUp();
    store.busyDown();
    store.busyDown();
    EXPECT_FALSE(store.isBusy());
    store.busyUp();
    EXPECT_TRUE(store.isBusy()) << "the count stops at 0";
}

}  // namespace
}  // namespace trelis
