#include "virtual/VirtualSignal.h"

#include <stdexcept>
#include <utility>

#include "app/diagnostics/Report.h"
#include "virtual/KeyReading.h"

namespace trelis {
namespace {

constexpr std::uint64_t kFillerDistanceMs = 5000;

// The first of two spellings that the group has; empty if it has neither.
const char* presentKey(const Glib::KeyFile& keyFile, const std::string& group, const char* first,
                       const char* second) {
    if (keyFile.has_key(group, first)) return first;
    return keyFile.has_key(group, second) ? second : nullptr;
}

struct Link {
    std::shared_ptr<Signal> input;
    std::shared_ptr<Signal> user;
};

void appendLinks(VirtualSignal& user, std::vector<Link>& links) {
    std::vector<std::shared_ptr<Signal>> inputs;
    user.collectInputs(inputs);
    for (auto& input : inputs)
        links.push_back({std::move(input), user.shared_from_this()});
}

// Walks the tree of inputs below `top`. A virtual signal passes the word on to its own inputs if
// its use count is `edge`, that is before it gets its first or after it had its last user.
template <typename Change>
void changeInputs(VirtualSignal& top, std::uint32_t edge, Change change) {
    if (top.useCount != edge) return;
    std::vector<Link> links;
    appendLinks(top, links);
    while (!links.empty()) {
        const Link link = std::move(links.back());
        links.pop_back();
        auto* computed = dynamic_cast<VirtualSignal*>(link.input.get());
        if (computed != nullptr && computed->useCount == edge) appendLinks(*computed, links);
        change(*link.input, computed != nullptr, link.user);
    }
}

}  // namespace

VirtualSignal::VirtualSignal(const std::shared_ptr<Message>& owner, const std::string& signalName)
    : Signal(owner, signalName) {}

void VirtualSignal::addUser(const std::shared_ptr<Signal>& user) {
    changeInputs(*this, 0, [](Signal& input, bool computed, const std::shared_ptr<Signal>& by) {
        computed ? input.Signal::addUser(by) : input.addUser(by);
    });
    Signal::addUser(user);
}

void VirtualSignal::removeUser(const std::shared_ptr<Signal>& user) {
    changeInputs(*this, 1, [](Signal& input, bool computed, const std::shared_ptr<Signal>& by) {
        computed ? input.Signal::removeUser(by) : input.removeUser(by);
    });
    Signal::removeUser(user);
}

void VirtualSignal::addSample(std::uint64_t time, double value) {
    const std::lock_guard lock(*mutex);
    output(time, value);
}

bool VirtualSignal::usesSignal(const std::string& /*other*/) const {
    reportFatal("should never be used");
}

bool VirtualSignal::takeFillers(std::uint64_t count) {
    if (count <= kMostFillers - fillersUsed_) {
        fillersUsed_ += count;
        return true;
    }
    if (!std::exchange(fillLimitTold_, true))
        report(Level::kWarning, format("The gaps in %s are too long to be filled, they stay empty",
                                       fullName.c_str()));
    return false;
}

void VirtualSignal::fillGap(std::uint64_t time) {
    const std::uint64_t fillers =
        (time - lastOutTime - kGapMs + kFillerDistanceMs - 1) / kFillerDistanceMs;
    if (!takeFillers(fillers)) return;
    const double value = hasValWhenEmpty ? valWhenEmpty : lastOutValue;
    for (std::uint64_t i = 0; i < fillers; ++i) {
        lastOutTime += kFillerDistanceMs;
        storeSample(lastOutTime, value);
    }
}

void VirtualSignal::release(std::shared_ptr<Signal> signal) {
    thread_local std::vector<std::shared_ptr<Signal>> waiting;
    thread_local bool draining = false;
    waiting.push_back(std::move(signal));
    if (draining) return;
    draining = true;
    while (!waiting.empty()) {
        // What dies here appends its own inputs to the list.
        const std::shared_ptr<Signal> last = std::move(waiting.back());
        waiting.pop_back();
    }
    draining = false;
}

void VirtualSignal::readCommonOptions(const Glib::KeyFile& keyFile, const std::string& group) {
    if (const char* key = presentKey(keyFile, group, "fact", "factor")) {
        factor = keyFile.get_double(group, key);
        if (factor == 0.0 || std::isnan(factor))
            throw std::invalid_argument("Factor can not be zero");
    }
    if (const char* key = presentKey(keyFile, group, "offs", "offset"))
        offset = keyFile.get_double(group, key);
    readDisplayOptions(keyFile, group);
    fillEmpty = readFlag(keyFile, group, "fillEmpty");
    hasValWhenEmpty = keyFile.has_key(group, "valWhenEmpty");
    if (hasValWhenEmpty) valWhenEmpty = keyFile.get_double(group, "valWhenEmpty");
    pauseIfZero = readFlag(keyFile, group, "pauseIfZero");
    if (pauseIfZero && fillEmpty) {
        report(Level::kWarning,
               format("Ignoring pauseIfZero for %s, can't be combined with fillEmpty",
                      fullName.c_str()));
        pauseIfZero = false;
    }
    if (keyFile.has_key(group, "absInput"))
        absInput = keyFile.get_boolean(group, "absInput");
    else if (keyFile.has_key(group, "abs"))
        throw std::invalid_argument(
            "The 'abs' option has been removed, please replace it with 'absInput' or 'absOutput' "
            "depending on if the absolute value should be taken on the input to the signal, or on "
            "the output from the signal");
    absOutput = readFlag(keyFile, group, "absOutput");
    if (keyFile.has_key(group, "unit")) unit = keyFile.get_string(group, "unit");
    if (keyFile.has_key(group, "comment")) comment = keyFile.get_string(group, "comment");
}

void VirtualSignal::readDisplayOptions(const Glib::KeyFile& keyFile, const std::string& group) {
    if (const char* key = presentKey(keyFile, group, "minLim", "minLimit")) {
        lowerLimit = keyFile.get_double(group, key);
        hasLimits = true;
    }
    if (const char* key = presentKey(keyFile, group, "maxLim", "maxLimit")) {
        upperLimit = keyFile.get_double(group, key);
        hasLimits = true;
    }
    hidden = readFlag(keyFile, group, "hidden");
}

}  // namespace trelis
