#include "virtual/Average.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"
#include "virtual/BatchLock.h"
#include "virtual/KeyReading.h"

namespace trelis {
namespace {

constexpr std::uint64_t kLongestStretchMs = 9999;

// Half of the numbers is enough for all times; the rest is room to compute in.
std::int64_t timeOf(const Sample& sample) {
    constexpr std::uint64_t kLatest = std::uint64_t{1} << 62U;
    return static_cast<std::int64_t>(std::min(sample.time, kLatest));
}

}  // namespace

Average::Average(const std::shared_ptr<Message>& owner, const std::string& group,
                 const Glib::KeyFile& keyFile)
    : VirtualSignal(owner, signalNameOfGroup(group)),
      input(readSingleInput(context(), keyFile, group)),
      step_(readStep(keyFile, group)),
      window_(keyFile.get_integer(group, "window")),
      onlyPos_(readFlag(keyFile, group, "onlyPos")),
      onlyNeg_(readFlag(keyFile, group, "onlyNeg")) {
    checkWindow();
    readCommonOptions(keyFile, group);
    if (unit.empty()) unit = input->unit;
}

Average::Average(const std::shared_ptr<Message>& owner, const std::string& group,
                 const Glib::KeyFile& keyFile, std::shared_ptr<Signal> source,
                 const std::string& signalName, std::uint32_t stepMs, std::int32_t windowMs)
    : VirtualSignal(owner, signalName), input(std::move(source)), step_(stepMs), window_(windowMs) {
    checkWindow();
    unit = input->unit;
    comment = input->comment;
    readDisplayOptions(keyFile, group);
}

Average::~Average() {
    release(std::move(input));
}

void Average::checkWindow() const {
    if (step_ > window_) throw std::invalid_argument("step > window for virtual signal " + name);
}

bool Average::usesSignal(const std::string& other) const {
    return input->fullName == other;
}

void Average::collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const {
    sources.push_back(input);
}

bool Average::inputsReady() {
    if (started_) return true;
    const auto first = firstSampleTime(*input);
    if (!first) return false;
    lastTime_ = timeOf({*first, 0.0});
    centreOn(lastTime_);
    started_ = true;
    return true;
}

void Average::centreOn(std::int64_t time) {
    outTime_ = time;
    windowStart_ = time - window_ / 2;
    windowEnd_ = time + window_ / 2;
}

double Average::inputValue(double value) const {
    if (onlyPos_) value = std::max(value, 0.0);
    if (onlyNeg_) value = std::min(value, 0.0);
    return absInput ? std::fabs(value) : value;
}

void Average::calculate() {
    if (!inputsReady()) return;
    const auto unread = unread_.open(*input, inputIndex_);
    auto samples = unread;
    {
        BatchLock lock(*mutex);
        while (fillWindow(samples)) {
            dropOldStretches();
            if (timeSum_ != 0)
                output(static_cast<std::uint64_t>(outTime_),
                       areaSum_ / static_cast<double>(timeSum_));
            lock.tick();
            if (samples.empty()) {
                if (lastSampleTime_ <= outTime_) break;
            } else if (const std::int64_t next = timeOf(samples.front());
                       next - outTime_ > static_cast<std::int64_t>(kGapMs) &&
                       (lastSampleTime_ <= outTime_ || !mustStepThroughGap(next))) {
                centreOn(next);
                continue;
            }
            outTime_ += step_;
            windowStart_ += step_;
            windowEnd_ += step_;
        }
    }
    inputIndex_ += finalSamples(*input, unread, unread.size() - samples.size());
    unread_.close();
}

bool Average::fillWindow(std::span<const Sample>& samples) {
    while (!samples.empty()) {
        const std::int64_t time = timeOf(samples.front());
        if (time >= windowEnd_) {
            addStretch(static_cast<std::uint64_t>(windowEnd_ - lastTime_));
            lastTime_ = windowEnd_;
            return true;
        }
        const auto duration = static_cast<std::uint64_t>(time - lastTime_);
        if (duration <= kLongestStretchMs) addStretch(duration);
        lastTime_ = lastSampleTime_ = time;
        lastValue_ = inputValue(samples.front().value);
        samples = samples.subspan(1);
    }
    return !context().liveMode;
}

void Average::addStretch(std::uint64_t duration) {
    if (duration == 0) return;
    const double area = static_cast<double>(duration) * lastValue_;
    timeSum_ += duration;
    areaSum_ += area;
    if (!stretches_.empty()) {
        Stretch& last = stretches_.back();
        if (last.area == area && last.duration == duration &&
            last.time + static_cast<std::int64_t>(duration * last.count) == lastTime_) {
            ++last.count;
            return;
        }
    }
    stretches_.push({lastTime_, duration, area, 1});
}

void Average::dropOldStretches() {
    while (!stretches_.empty() && stretches_.front().time < windowStart_) {
        Stretch& oldest = stretches_.front();
        timeSum_ -= oldest.duration;
        areaSum_ -= oldest.area;
        oldest.time += static_cast<std::int64_t>(oldest.duration);
        if (--oldest.count == 0) stretches_.pop();
    }
}

// While the window still holds samples from before a gap the output goes on, but not for ever.
bool Average::mustStepThroughGap(std::int64_t next) {
    if (next - lastSampleTime_ <= static_cast<std::int64_t>(kGapMs)) return true;
    if (++gapSteps_ == kMostGapSteps)
        report(Level::kWarning,
               format("The gaps in the input of %s are too long for its window, its output skips "
                      "them",
                      fullName.c_str()));
    return gapSteps_ < kMostGapSteps;
}

void Average::flushSamples() {
    calculate();
    Signal::flushSamples();
    stretches_.release();
}

}  // namespace trelis
