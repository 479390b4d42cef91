#include "virtual/SignalFactory.h"

#include <functional>
#include <map>
#include <stdexcept>

#include "virtual/AboveBelow.h"
#include "virtual/Accumulate.h"
#include "virtual/Average.h"
#include "virtual/Count.h"
#include "virtual/CustomMath.h"
#include "virtual/Equals.h"
#include "virtual/Estimate.h"
#include "virtual/Frequency.h"
#include "virtual/Geofence.h"
#include "virtual/IIR.h"
#include "virtual/IntDer.h"
#include "virtual/KeyReading.h"
#include "virtual/LookupTable.h"
#include "virtual/MultiMath.h"
#include "virtual/Multiplex.h"
#include "virtual/Slope.h"
#include "virtual/Statistics.h"
#include "virtual/Timekeeping.h"
#include "virtual/VirtualMessage.h"

namespace trelis {
namespace {

struct Definition {
    const std::shared_ptr<Message> message;
    const std::string& group;
    const Glib::KeyFile& keyFile;
    const std::string& vsdFile;
};

using Maker = std::shared_ptr<VirtualSignal> (*)(const Definition&);

template <typename Method>
std::shared_ptr<VirtualSignal> make(const Definition& d) {
    return std::make_shared<Method>(d.message, d.group, d.keyFile);
}

template <>
std::shared_ptr<VirtualSignal> make<LookupTable>(const Definition& d) {
    return std::make_shared<LookupTable>(d.message, d.group, d.keyFile, d.vsdFile);
}

Maker findMaker(const std::string& method) {
    static const std::map<std::string, Maker, std::less<>> kMakers = {
        {"average", make<Average>},
        {"slope", make<Slope>},
        {"integrate", make<IntDer>},
        {"count", make<Count>},
        {"time", make<Timekeeping>},
        {"accumulate", make<Accumulate>},
        {"frequency", make<Frequency>},
        {"estimate", make<Estimate>},
        {"IIR", make<IIR>},
        {"above", make<AboveBelow>},
        {"below", make<AboveBelow>},
        {"multiplex", make<Multiplex>},
        {"statistics", make<Statistics>},
        {"equals", make<Equals>},
        {"lookuptable", make<LookupTable>},
        {"geofence", make<Geofence>},
        {"expression", make<CustomMath>},
    };
    if (const auto found = kMakers.find(method); found != kMakers.end()) return found->second;
    if (MultiMath::isOperation(method)) return make<MultiMath>;
    throw std::invalid_argument("Unknown virtual signal method: " + method);
}

// Behind the name of the signal that a smoothing window hides.
constexpr const char* kInnerSuffix = "_randNameA83D5Y765sa43/8TUfs";

// The width in ms; 0 for none. Without steps there is nothing to smooth.
int smoothingWindow(const Glib::KeyFile& keyFile, const std::string& group) {
    const int window =
        readInteger(keyFile, group, keyFile.has_key(group, "avg") ? "avg" : "avgWindow", 0);
    return window > 0 && keyFile.has_key(group, "step") ? window : 0;
}

std::shared_ptr<VirtualSignal> addSmoothed(const std::shared_ptr<VirtualMessage>& message,
                                           const std::string& name,
                                           const std::shared_ptr<VirtualSignal>& inner, int window,
                                           const std::string& group, const Glib::KeyFile& keyFile) {
    inner->hidden = true;
    inner->internalOnly = true;
    inner->name = name + kInnerSuffix;
    inner->fullName += kInnerSuffix;
    const auto average = std::make_shared<Average>(message, group, keyFile, inner, name,
                                                   readStep(keyFile, group), window);
    average->smoothedSource = inner;
    message->addVirtualSignal(inner, inner->name);
    message->addVirtualSignal(average, name);
    return average;
}

}  // namespace

std::shared_ptr<VirtualSignal> createSignal(const std::shared_ptr<VirtualMessage>& message,
                                            const std::string& group, const std::string& name,
                                            const Glib::KeyFile& keyFile,
                                            const std::string& vsdFile) {
    if (message->signalsByName.contains(name))
        throw std::invalid_argument("Message '" + message->name +
                                    "' already has a signal with name " + name);
    const Maker make = findMaker(keyFile.get_string(group, "method"));
    auto signal = make({message, group, keyFile, vsdFile});
    signal->vsdFile = vsdFile;
    signal->vsdGroup = group;
    if (const int window = smoothingWindow(keyFile, group); window != 0)
        return addSmoothed(message, name, signal, window, group, keyFile);
    message->addVirtualSignal(signal, name);
    return signal;
}

}  // namespace trelis
