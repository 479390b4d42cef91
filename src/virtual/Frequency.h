// How often a signal swings, or how far.
#pragma once

#include "virtual/CustomSignal.h"
#include "virtual/RingQueue.h"

namespace trelis {

/// Finds the turning points of its input. The output, from peak to peak, is the frequency in Hz as
/// a mean over `samples` cycles, or the amplitude between a low and a high. Amplitudes are
/// deliberately taken in whole units: below 1 they read 0.
class Frequency final : public SteppedSignal<Frequency> {
  public:
    Frequency(const std::shared_ptr<Message>& message, const std::string& group,
              const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    void findTurn(double value);
    void addEntry(std::uint32_t entry);
    void addAmplitude(double distance);

    std::int32_t samples_;
    double filter_;  ///< 0: off
    std::int32_t peaks_;
    bool amplitude_;
    RingQueue<std::uint32_t> queue_;  ///< periods in ms, or amplitudes
    std::uint64_t queueSum_ = 0;
    bool rising_ = false;
    double previous_ = 0.0;
    std::uint64_t lastEdge_ = 0;  ///< 0: not started
    double lastLow_ = 0.0;
    double lastHigh_ = 0.0;
};

}  // namespace trelis
