#include "model/builtin/BuiltinMessages.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/store/Store.h"
#include "model/RealMessage.h"
#include "model/builtin/BitRate.h"
#include "model/builtin/ErrorMessage.h"
#include "model/builtin/MsgRate.h"
#include "virtual/VirtualMessage.h"

namespace trelis {
namespace {

constexpr std::uint32_t kBusLoadId = 2;
constexpr std::uint32_t kMsgRateId = 3;

// The hidden rate signals of a message that are there already, by multiplex value; empty for a
// value in use that has none yet. A definition file may hold very many, so they are gathered in one
// walk.
using RateSources = std::map<std::int32_t, std::shared_ptr<Signal>>;

RateSources rateSourcesOf(const RealMessage& message) {
    RateSources sources;
    for (const auto& signal : message.signals) {
        const auto* real = dynamic_cast<const RealSignal*>(signal.get());
        if (real == nullptr) continue;
        if (real->isRateSource)
            sources[real->muxValue] = signal;
        else if (real->muxValue >= 0)
            sources.emplace(real->muxValue, nullptr);
    }
    if (!message.multiplexor || sources.empty() || sources.rbegin()->first < 0)
        return {{kPlainSignal, message.rateSignal}};
    sources.erase(kPlainSignal);
    return sources;
}

void addMessageRates(RealMessage& message, const std::shared_ptr<VirtualMessage>& rates) {
    for (auto& [muxValue, source] : rateSourcesOf(message)) {
        const bool isPlain = muxValue == kPlainSignal;
        const std::string name =
            isPlain ? message.name : message.name + " (m" + std::to_string(muxValue) + ")";
        // Messages of one name are told apart by their ids, but only one of them can be looked up.
        if (rates->signalsByName.contains(name)) continue;
        std::shared_ptr<Signal> frames = source ? source : message.addRateSignal(muxValue);
        rates->addVirtualSignal(std::make_shared<MsgRate>(rates, name, std::move(frames)), name);
    }
}

void addBitRate(Store& store, std::uint32_t number, const std::shared_ptr<Message>& busLoad) {
    auto rate = std::make_shared<BitRate>(store, busLoad);
    busLoad->addSignal(rate->name, rate);
    if (store.bitRates.size() <= number) store.bitRates.resize(number + 1);
    store.bitRates[number] = std::move(rate);
}

void addStatistics(Store& store, CanIface& interface) {
    const std::uint32_t number = interface.number + kStatisticsOffset;
    const bool isLogger = interface.number == kLoggerInterface;
    store.highestInterface = std::max(store.highestInterface, number);
    const auto statistics = store.addInterface("ST_" + interface.name, number);

    const auto rates = std::make_shared<VirtualMessage>(statistics, kMsgRateId, "MsgRate");
    statistics->addMessage(rates);
    const auto busLoad =
        isLogger ? nullptr : std::make_shared<Message>(kBusLoadId, "BusLoad", statistics);
    if (busLoad) statistics->addMessage(busLoad);
    statistics->addMessage(ErrorMessage::create("Error", statistics, isLogger));

    for (const auto& [id, message] : interface.messages)
        if (auto* real = dynamic_cast<RealMessage*>(message.get()); real != nullptr)
            addMessageRates(*real, rates);
    if (busLoad) addBitRate(store, interface.number, busLoad);
}

}  // namespace

void addBuiltinMessages(Store& store) {
    std::vector<std::shared_ptr<CanIface>> buses;
    for (const auto& [number, interface] : store.interfaces) {
        if (number > kLoggerInterface) break;
        buses.push_back(interface);
    }
    for (const auto& bus : buses)
        addStatistics(store, *bus);
}

}  // namespace trelis
