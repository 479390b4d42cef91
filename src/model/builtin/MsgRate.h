// How often a message comes, in messages per second.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "virtual/VirtualSignal.h"

namespace trelis {

/// Reads the hidden rate signal of a message, which stores the time of every frame. At each time
/// stamp it gives the number of frames that carry it over the time to the next stamp. The memory of
/// the rate signal is freed once the parse is done.
class MsgRate : public VirtualSignal {
  public:
    MsgRate(const std::shared_ptr<Message>& message, const std::string& name,
            std::shared_ptr<Signal> rateSource);

    void calculate() override;
    /// Frees the samples of the source. The last stamp has no next one, so there is nothing to
    /// write.
    void flushSamples() override;
    [[nodiscard]] bool usesSignal(const std::string& signalName) const override;
    bool inputsReady() override;
    void collectInputs(std::vector<std::shared_ptr<Signal>>& inputs) const override;

  private:
    std::shared_ptr<Signal> source_;
    bool started_ = false;
    std::size_t readIndex_ = 0;   // of the next source sample
    std::uint64_t lastTime_ = 0;  // ms; the stamp whose frames are counted
    double lastValue_ = 0;        // of the source sample read last
    std::uint32_t count_ = 0;     // frames of that stamp so far
};

}  // namespace trelis
