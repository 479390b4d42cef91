#include "virtual/Estimate.h"

#include <algorithm>

#include "virtual/KeyReading.h"

namespace trelis {
namespace {

// Beyond this a time comes from a damaged file, and sums of times might run over.
constexpr std::uint64_t kLatestTime = std::uint64_t{1} << 62U;

}  // namespace

Estimate::Estimate(const std::shared_ptr<Message>& owner, const std::string& group,
                   const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      highLimit_(keyFile.get_double(group, "highLimit")),
      lowLimit_(keyFile.get_double(group, "lowLimit")),
      offValue_(readNumber(keyFile, group, "offValue", 0.0)) {
    addSingleInput(keyFile, group);
}

void Estimate::calculateStep() {
    const double value = inputs.front().heldValue;
    if (!inHigh_) {
        if (!(value > highLimit_)) {
            output(curTime, offValue_);
            return;
        }
        inHigh_ = true;
        highStart_ = curTime;
        sum_ = 0.0;
        count_ = 0;
        return;
    }
    sum_ += value;
    ++count_;
    if (!(value < lowLimit_)) return;
    inHigh_ = false;
    writeExcursion(sum_ / count_);
}

// One output a step from the start of the excursion up to now. All have one value, of which the
// storage keeps a sample every 10 s; the outputs in between, which it would drop, are left out.
// That matters for an excursion across a gap, where no steps were computed, but outputs are due.
void Estimate::writeExcursion(double level) {
    if (isPaused(level) || curTime <= highStart_) return;
    const std::uint64_t last = highStart_ + (curTime - 1 - highStart_) / step * step;
    const bool damaged = curTime > kLatestTime;
    if (damaged || !takeFillers((last - highStart_) / kGapMs)) {
        output(highStart_, level);
        output(last, level);
        return;
    }
    std::uint64_t time = highStart_;
    output(time, level);
    while (time < last) {
        // The first output at which the storage keeps a mark again; it keeps the one before it.
        const std::uint64_t quiet = std::max(lastStoredTime + kGapMs, time + step) - highStart_;
        const std::uint64_t due = highStart_ + (quiet + step - 1) / step * step;
        if (due - step > time) output(std::min(due - step, last), level);
        time = std::min(due, last);
        output(time, level);
    }
}

}  // namespace trelis
