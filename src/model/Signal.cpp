#include "model/Signal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <system_error>

#include "app/diagnostics/Report.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/ModelContext.h"

namespace trelis {
namespace {

constexpr double kLowest = std::numeric_limits<double>::lowest();
constexpr double kHighest = std::numeric_limits<double>::max();

}  // namespace

Signal::Signal(std::shared_ptr<Message> owner, std::string signalName)
    : message(std::move(owner)),
      name(std::move(signalName)),
      mutex(std::make_shared<std::mutex>()),
      context_(message->context()) {
    const bool hasInterface = message->hasParent();
    const std::string interface = hasInterface ? message->parent()->name : std::string();
    color = context_.colorOf(hasInterface ? interface : "Can", message->name, name);
    fullName = (hasInterface ? interface + "." : "") + message->name + "." + name;
}

Signal::Signal(std::shared_ptr<Message> owner, std::string signalName, double lower, double upper)
    : Signal(std::move(owner), std::move(signalName)) {
    if (lower == 0.0 && upper == 0.0) return;
    lowerLimit = lower;
    upperLimit = upper;
    hasLimits = true;
}

Signal::~Signal() = default;

void Signal::setSelected(bool select) {
    if (hidden || select == selected) return;
    selected = select;
    if (select)
        addUser(nullptr);
    else
        removeUser(nullptr);
    context_.recount();
}

void Signal::printValue(char* buffer, std::size_t size, double value) const {
    if (!valueLabels.empty() && value > -2147483649.0 && value < 2147483648.0) {
        const auto key = static_cast<std::int32_t>(value);
        if (const auto label = valueLabels.find(key); label != valueLabels.end()) {
            std::snprintf(buffer, size, "%s (%d)", label->second.c_str(), key);
            return;
        }
    }
    if (unit == "hex") {
        // Out of range a conversion is undefined, so it wraps as the 64-bit number does.
        const bool fits = std::abs(value) < 9.2e18;
        const auto wide = fits ? static_cast<std::int64_t>(value) : 0;
        std::snprintf(buffer, size, "0x%X", static_cast<unsigned>(wide));
        return;
    }
    std::snprintf(buffer, size, "%.*f", decimals, value);
}

void Signal::addSample(std::uint64_t time, double value) {
    if (!mutex) throw std::system_error(std::make_error_code(std::errc::operation_not_permitted));
    const std::lock_guard lock(*mutex);
    storeSample(time, value);
}

void Signal::storeLive(std::uint64_t time, double value) {
    if (samples_.empty()) {
        append(time, value);
        append(time, value);
        lastStoredTime = time;
    } else {
        if (time - lastSeenTime > kGapMs) {
            append(time, value);
            lastStoredTime = time;
            append(time, value);
        }
        const double held = samples_.back().value;
        if (time - lastStoredTime > kGapMs - 1) {
            lastStoredTime = samples_.back().time;
            append(time, held);
        }
        if (value < held || value > held) {
            samples_.back() = {time, value};
            lastStoredTime = time;
            append(time, value);
        }
        samples_.back() = {time, value};
    }
    lastSeenTime = time;
    hasData.store(true, std::memory_order_relaxed);
}

void Signal::flushSamples() {
    const std::lock_guard lock(*mutex);
    if (samples_.empty() || samples_.back().time == lastSeenTime) return;
    append(lastSeenTime, samples_.back().value);
}

void Signal::addUser(const std::shared_ptr<Signal>& user) {
    if (user) users.push_back(user);
    ++useCount;
    needsParse = !parsed;
}

void Signal::removeUser(const std::shared_ptr<Signal>& user) {
    if (useCount == 0) reportFatal("Refcounting error");
    if (--useCount == 0) needsParse = false;
    if (const auto found = std::find(users.begin(), users.end(), user); found != users.end())
        users.erase(found);
}

bool Signal::usesSignal(const std::string& /*fullName*/) const {
    return false;
}

void Signal::decodeFrame(const Frame& /*frame*/) {}

std::unique_lock<std::mutex> Signal::lockIfOwned() const {
    return mutex ? std::unique_lock(*mutex) : std::unique_lock<std::mutex>();
}

void Signal::clearSamples() {
    // A painter may still be looking at the samples of the last parse.
    const auto lock = lockIfOwned();
    samples_.clear();
    hasData = false;
    needsParse = selected || useCount != 0;
    intervalActive = false;
    visibleMin = min = kHighest;
    visibleMax = max = kLowest;
}

void Signal::releaseSamples() {
    const std::lock_guard lock(*mutex);
    samples_.release();
}

void Signal::resetAll() {
    clearSamples();
    users.clear();
}

const Sample* Signal::findNear(std::uint64_t time) const {
    constexpr std::size_t kNear = 100;
    const std::size_t count = samples_.size();
    if (count <= kNear || samples_.front().time >= time) return samples_.begin();
    std::size_t step = count / 2;
    std::size_t position = 0;
    do {
        if (samples_[position + step].time < time) position += step;
        step /= 2;
    } while (step > kNear);
    return samples_.begin() + position;
}

double Signal::valueAt(std::uint64_t time) const {
    const std::lock_guard lock(*mutex);
    double value = 0.0;
    for (const Sample* sample = findNear(time); sample != samples_.end(); ++sample) {
        if (sample->time > time) break;
        value = sample->value;
    }
    return value;
}

void Signal::updateVisibleRange() {
    const auto lock = lockIfOwned();
    intervalActive = true;
    if (!hasData) return;
    visibleMin = kHighest;
    visibleMax = kLowest;
    const std::uint64_t start = context_.intervalStart;
    const std::uint64_t end = context_.intervalEnd;
    const auto byTime = [](const Sample& sample, std::uint64_t time) { return sample.time < time; };
    const Sample* sample = std::lower_bound(samples_.begin(), samples_.end(), start, byTime);
    // The line of the sample before runs into the interval.
    if (sample != samples_.begin()) --sample;
    for (; sample != samples_.end() && sample->time <= end; ++sample)
        widen(visibleMin, visibleMax, sample->value);
}

void Signal::resetVisibleRange() {
    const auto lock = lockIfOwned();
    intervalActive = false;
    if (!hasData) return;
    visibleMin = min;
    visibleMax = max;
}

int Signal::yPosition(double value, int height) const {
    const int width = static_cast<int>(context_.lineWidth);
    const int halfMargin = (width + 1) / 2;
    const double span = visibleMax - visibleMin;
    const double product = (visibleMax - value) * (height - 2 * halfMargin);
    const double position = halfMargin + (span == 0.0 ? product : product / span);
    // Values far outside the range end at a border that no window reaches.
    constexpr double kFar = 1e9;
    return static_cast<int>(std::isnan(position) ? 0.0 : std::clamp(position, -kFar, kFar));
}

}  // namespace trelis
