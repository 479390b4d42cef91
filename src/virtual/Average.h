// The time-weighted mean of a signal over a sliding window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "virtual/RingQueue.h"
#include "virtual/UnreadSamples.h"
#include "virtual/VirtualSignal.h"

namespace trelis {

/// Reads every sample of its input. A sample counts for the time until the next one, and every
/// output stands at the centre of its window, which reaches half a width to each side. The trailing
/// edge lies on a sample, since samples leave the window as a whole.
class Average final : public VirtualSignal {
  public:
    /// std::invalid_argument if `step` is greater than `window`, or below 1.
    Average(const std::shared_ptr<Message>& message, const std::string& group,
            const Glib::KeyFile& keyFile);
    /// The window behind another signal: takes over its unit and comment, and reads only the plot
    /// limits and `hidden` from the group that defines that signal.
    Average(const std::shared_ptr<Message>& message, const std::string& group,
            const Glib::KeyFile& keyFile, std::shared_ptr<Signal> input, const std::string& name,
            std::uint32_t step, std::int32_t window);
    ~Average() override;

    bool inputsReady() override;
    void calculate() override;
    void flushSamples() override;
    [[nodiscard]] bool usesSignal(const std::string& other) const override;
    void collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const override;

    std::shared_ptr<Signal> input;

    /// Most steps within gaps of the input that one signal takes. A window of days over a damaged
    /// clock would otherwise step through centuries.
    static constexpr std::uint64_t kMostGapSteps = 200'000'000;

  private:
    /// Stretches of one sample each: `count` of them with the same duration and area, one behind
    /// the other. What a constant input adds takes no more room the longer the window is.
    struct Stretch {
        std::int64_t time = 0;  ///< start of the first one
        std::uint64_t duration = 0;
        double area = 0.0;
        std::uint64_t count = 0;
    };

    void checkWindow() const;
    [[nodiscard]] double inputValue(double value) const;
    /// Reads samples up to the end of the window; false if there are no more and more may come.
    bool fillWindow(std::span<const Sample>& samples);
    void addStretch(std::uint64_t duration);
    void dropOldStretches();
    void centreOn(std::int64_t time);
    [[nodiscard]] bool mustStepThroughGap(std::int64_t next);

    RingQueue<Stretch> stretches_;
    std::int64_t step_;
    std::int64_t window_;
    bool onlyPos_ = false;
    bool onlyNeg_ = false;
    std::int64_t outTime_ = 0;
    std::int64_t windowStart_ = 0;
    std::int64_t windowEnd_ = 0;
    std::size_t inputIndex_ = 0;
    double areaSum_ = 0.0;
    std::uint64_t timeSum_ = 0;
    std::int64_t lastTime_ = 0;
    double lastValue_ = 0.0;
    std::int64_t lastSampleTime_ = 0;
    bool started_ = false;
    std::uint64_t gapSteps_ = 0;
    UnreadSamples unread_;
};

}  // namespace trelis
