#include "plot/paint/PaintTask.h"

#include <span>
#include <thread>

#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"
#include "model/Signal.h"
#include "plot/paint/PainterThreadContext.h"
#include "plot/paint/SamplePyramid.h"

namespace trelis {
namespace {

using Samples = std::span<const Sample>;

/// Index of the first sample at or after `time`, from `first` on. Looks around `guess` before it
/// looks far away: each look at a sample far off costs a wait for memory.
std::size_t findTime(Samples samples, std::size_t first, std::uint64_t time, std::size_t guess) {
    std::size_t low = first;
    std::size_t high = samples.size();
    std::size_t step = 16;
    if (guess < high && samples[guess].time < time) {
        low = guess + 1;
        while (low + step < samples.size() && samples[low + step].time < time) {
            low += step + 1;
            step *= 2;
        }
        high = std::min(low + step, samples.size());
    } else {
        high = std::min(guess, high);
        while (high >= first + step && samples[high - step].time >= time) {
            high -= step;
            step *= 2;
        }
        if (high >= first + step) low = high - step;
    }
    const auto found = std::lower_bound(
        samples.begin() + static_cast<std::ptrdiff_t>(low),
        samples.begin() + static_cast<std::ptrdiff_t>(high), time,
        [](const Sample& sample, std::uint64_t wanted) { return sample.time < wanted; });
    return static_cast<std::size_t>(found - samples.begin());
}

/// Leads the pen through the samples of one task.
class SampleWalk {
  public:
    SampleWalk(const PainterTask& task, Samples samples, const SamplePyramid& pyramid,
               const std::atomic<bool>& cancel, LineImage& image)
        : task_(task), samples_(samples), pyramid_(pyramid), cancel_(cancel), pen_(task, image) {}

    void draw() {
        if (!start()) return;
        while (next_ < samples_.size() && samples_[next_].time < task_.to && !cancel_) {
            step(next_++);
            if (!pen_.isPending()) continue;  // after a gap the pen only stands there
            const std::uint64_t columnEnd = task_.axis.columnEnd(pen_.column());
            // Columns mostly hold about as many samples as the one before.
            const std::size_t stop =
                findTime(samples_, next_, std::min(columnEnd, task_.to), next_ + columnSize_);
            columnSize_ = stop - next_;
            takeColumn(next_, stop);
            next_ = stop;
        }
        finish();
    }

  private:
    [[nodiscard]] bool gapBefore(std::size_t index) const {
        return samples_[index].time - samples_[index - 1].time > kGapMs;
    }

    /// Puts the pen down at the left edge or at the first sample.
    bool start() {
        constexpr std::uint64_t kReach = kGapMs - 1;
        const std::size_t first = findTime(samples_, 0, task_.from, samples_.size() / 2);
        next_ = first;
        if (first == samples_.size()) {
            if (task_.from - samples_.back().time > kReach) return false;
            pen_.plotMoveTo(task_.from, samples_.back().value);
        } else if (first == 0 || samples_[first].time - samples_[first - 1].time > kReach) {
            pen_.plotMoveTo(samples_[first].time, samples_[first].value);
            ++next_;
        } else {
            pen_.plotMoveTo(task_.from, samples_[first - 1].value);
        }
        return true;
    }

    /// A staircase: the value before holds until this sample, unless there is a gap.
    void step(std::size_t index) {
        const Sample& sample = samples_[index];
        if (gapBefore(index)) {
            pen_.plotMoveTo(sample.time, sample.value);
        } else {
            pen_.plotLineTo(sample.time, samples_[index - 1].value);
            pen_.plotLineTo(sample.time, sample.value);
        }
    }

    /// Takes samples that all lie in the pen's column.
    void takeColumn(std::size_t first, std::size_t last) {
        const auto walkRange = [this](std::size_t from, std::size_t to) { walk(from, to); };
        const auto absorb = [this](std::size_t from, std::size_t to, double low, double high) {
            if (pen_.isPending()) {
                pen_.absorb(low, high, samples_[to - 1].value);
            } else {  // the sample before came after a gap
                step(from);
                takeColumn(from + 1, to);
            }
        };
        pyramid_.visit(first, last, absorb, walkRange);
    }

    void walk(std::size_t first, std::size_t last) {
        if (cancel_) return;
        while (first < last) {
            if (!pen_.isPending() || gapBefore(first)) {
                step(first++);
                continue;
            }
            double low = samples_[first].value;
            double high = low;
            for (++first; first < last && !gapBefore(first); ++first) {
                const double value = samples_[first].value;
                // Written so that a NaN changes nothing; if it came first, it is replaced.
                low = value < low || low != low ? value : low;
                high = value > high || high != high ? value : high;
            }
            pen_.absorb(low, high, samples_[first - 1].value);
        }
    }

    void finish() {
        if (cancel_) return;
        const double held = samples_[next_ - 1].value;
        if (next_ == samples_.size()) {
            pen_.plotLineTo(samples_.back().time, held);
            pen_.plotLineTo(samples_.back().time, samples_.back().value);
        } else if (samples_[next_].time - samples_[next_ - 1].time < kGapMs) {
            pen_.plotLineTo(task_.to, held);
        }
        pen_.flushColumn();
    }

    const PainterTask& task_;
    const Samples samples_;
    const SamplePyramid& pyramid_;
    const std::atomic<bool>& cancel_;
    PainterThreadContext pen_;
    std::size_t next_ = 0;        ///< the sample before it is the one that holds
    std::size_t columnSize_ = 0;  ///< samples of the column before
};

/// Brings the pyramid up to date in steps, between which writers and rulers get the mutex.
void updatePyramid(const Signal& signal, SamplePyramid& pyramid, const std::atomic<bool>& cancel,
                   std::unique_lock<std::mutex>& lock) {
    constexpr std::size_t kSamplesAtOnce = 1U << 20U;
    while (!pyramid.update(signal.samples(), kSamplesAtOnce) && !cancel) {
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
}

}  // namespace

void paintTask(PainterTask& task, const std::atomic<bool>& cancel) {
    if (!task.signal) reportFatal("no assignment set");
    if (cancel) return;
    const std::shared_ptr<Signal> signal = task.signal;
    const ModelContext& context = signal->context();
    const auto pyramid = PyramidCache::instance().find(signal);
    // Kept beside the lock: the message's mutex may replace the signal's own one.
    const std::shared_ptr<std::mutex> mutex = signal->mutex;
    std::unique_lock lock(*mutex);
    updatePyramid(*signal, *pyramid, cancel, lock);
    const Samples samples = signal->samples().view();
    if (cancel || samples.empty() || task.to < context.intervalStart ||
        context.intervalEnd <= task.from)
        return;
    task.minValue = signal->visibleMin;
    task.maxValue = signal->visibleMax;
    LineImage image(task.axis.width, task.height, task.lineWidth);
    SampleWalk(task, samples, *pyramid, cancel, image).draw();
    if (!cancel) task.image = std::move(image);
}

}  // namespace trelis
