// A named time series: the one storage class of the program.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "model/Frame.h"
#include "model/ModelContext.h"
#include "model/SampleArray.h"

namespace trelis {

class Message;

/// Always held by shared pointers. Descriptive fields change only while no parse runs. The samples
/// and their ranges are guarded by `mutex`: the thread that decodes the message writes, painters
/// and the main thread read.
class Signal : public std::enable_shared_from_this<Signal> {
  public:
    Signal(std::shared_ptr<Message> message, std::string name);
    /// Limits that are not both 0.0 are stored as the plot limits.
    Signal(std::shared_ptr<Message> message, std::string name, double lowerLimit,
           double upperLimit);
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    virtual ~Signal();

    /// Says whether the user wants this signal. Does nothing for a hidden one.
    virtual void setSelected(bool select);
    /// Writes the value as text with its terminating zero, cut to `size` bytes.
    virtual void printValue(char* buffer, std::size_t size, double value) const;
    /// Takes the next value; stores it if it changed or 10 s passed. Times must not fall.
    /// Locks `mutex`; std::system_error without one.
    virtual void addSample(std::uint64_t time, double value);
    /// Counts a user: a selection (empty pointer) or a signal that computes from this one.
    virtual void addUser(const std::shared_ptr<Signal>& user);
    /// "Refcounting error" and PrintMsgError at a count of 0.
    virtual void removeUser(const std::shared_ptr<Signal>& user);
    /// Computes what the inputs allow. Only virtual signals do.
    virtual void calculate() {}
    /// Writes the held value at the time of the last frame, so that the line reaches it.
    virtual void flushSamples();
    /// Whether the signal of this full name is an input.
    [[nodiscard]] virtual bool usesSignal(const std::string& fullName) const;
    /// Decodes the signal from a frame of its message. Only real signals do.
    virtual void decodeFrame(const Frame& frame);
    /// Forgets the samples, keeps their memory, and asks for a parse if anybody uses the signal.
    /// Only between parses. Locks `mutex`.
    virtual void clearSamples();

    /// Frees the samples and their memory; nothing else changes. Locks `mutex`.
    void releaseSamples();

    /// clearSamples and no users any more: the model is about to be dropped.
    void resetAll();

    /// Stores like addSample, for a caller that holds `mutex` over many samples.
    void storeSample(std::uint64_t time, double value) {
        liveStorage() ? storeLive(time, value) : storeFromLog(time, value);
    }

    /// A sample at most a little over 100 before the first one at or after `time`. The caller holds
    /// `mutex`.
    [[nodiscard]] const Sample* findNear(std::uint64_t time) const;
    /// The value that holds at `time`; 0.0 before the first sample. Locks `mutex`.
    [[nodiscard]] double valueAt(std::uint64_t time) const;
    /// Pixel row, from the top, of a value in a plot of this height, by the visible range.
    [[nodiscard]] int yPosition(double value, int height) const;

    /// Takes the visible range from the samples in the selected interval. Locks `mutex`.
    void updateVisibleRange();
    /// Takes the visible range from all samples. Locks `mutex`.
    void resetVisibleRange();

    [[nodiscard]] const SampleArray& samples() const { return samples_; }
    [[nodiscard]] ModelContext& context() const { return context_; }

    std::list<std::shared_ptr<Signal>> users;  ///< may be shorter than useCount
    std::uint64_t lastStoredTime = 0;          ///< ms; last sample by change or keep-alive
    std::uint64_t lastSeenTime = 0;            ///< ms; last addSample, stored or not
    bool hidden = false;                       ///< not listed, cannot be selected
    bool internalOnly = false;                 ///< never shown, not even with the hidden ones
    std::shared_ptr<Message> message;          ///< the owner
    std::string name;
    std::string fullName;  ///< interface.message.name
    std::string unit;      ///< "hex" makes printValue write hexadecimal
    std::string color;
    int decimals = 2;  ///< digits that printValue writes
    std::map<std::int32_t, std::string> valueLabels;
    std::shared_ptr<std::mutex> mutex;  ///< guards samples and ranges; the message's, once in one
    bool selected = false;
    std::atomic<bool> hasData = false;  ///< addSample was called since the last clear
    bool parsed = false;                ///< went through a finished parse
    bool needsParse = false;            ///< to be decoded in the next parse
    std::uint32_t useCount = 0;         ///< selections and dependent signals
    bool hasLimits = false;
    double lowerLimit = std::numeric_limits<double>::lowest();
    double upperLimit = std::numeric_limits<double>::max();
    double visibleMin = std::numeric_limits<double>::max();
    double visibleMax = std::numeric_limits<double>::lowest();
    bool intervalActive = false;  ///< the visible range is that of an interval
    double min = std::numeric_limits<double>::max();
    double max = std::numeric_limits<double>::lowest();
    bool isRateSource = false;  ///< a message's hidden rate signal
    std::string comment;

  protected:
    [[nodiscard]] bool liveStorage() const;

    /// The rules of storage without and with `liveMode`; inline, since they run for every value.
    void storeFromLog(std::uint64_t time, double value);
    void storeLive(std::uint64_t time, double value);

  private:
    /// Holds `mutex`, which a signal without a message does not have.
    [[nodiscard]] std::unique_lock<std::mutex> lockIfOwned() const;
    void append(std::uint64_t time, double value);
    /// Widens a range by a value that lies within the limits.
    void widen(double& low, double& high, double value) const;

    ModelContext& context_;
    SampleArray samples_;

    friend class RealSignal;
};

inline void Signal::widen(double& low, double& high, double value) const {
    if (value < low && (!hasLimits || value >= lowerLimit)) low = value;
    if (value > high && (!hasLimits || value <= upperLimit)) high = value;
}

inline bool Signal::liveStorage() const {
    return context_.liveMode.load(std::memory_order_relaxed);
}

inline void Signal::append(std::uint64_t time, double value) {
    widen(min, max, value);
    if (!intervalActive) {
        visibleMin = min;
        visibleMax = max;
    } else if (time >= context_.intervalStart && time <= context_.intervalEnd) {
        widen(visibleMin, visibleMax, value);
    }
    samples_.push_back({time, value});
}

inline void Signal::storeFromLog(std::uint64_t time, double value) {
    if (samples_.empty()) {
        append(time, value);
        lastStoredTime = time;
    } else {
        double held = samples_.back().value;
        if (time - lastSeenTime > kGapMs) {
            append(lastSeenTime, held);
            append(time, value);
            lastStoredTime = time;
            held = value;
        } else if (time - lastStoredTime > kGapMs - 1) {
            append(lastSeenTime, held);
            lastStoredTime = lastSeenTime;
        }
        if (value < held || value > held) {  // a NaN differs from nothing
            append(time, value);
            lastStoredTime = time;
        }
    }
    lastSeenTime = time;
    hasData.store(true, std::memory_order_relaxed);
}

}  // namespace trelis
