// A count of bus errors, or what the last of them was about.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "model/Signal.h"

namespace trelis {

/// Events come in order of time on one thread at a time.
class ErrorSignal : public Signal {
  public:
    using Signal::Signal;

    /// Counts an event, in `description` too if there is one. `explicitCount`: the new count, or
    /// below 0 to raise it by one. Between events more than 10 s apart the line stays flat up to
    /// 5 s behind the first.
    void addEvent(std::uint64_t time, std::int32_t what, std::int64_t explicitCount);
    /// Whether this parse wants events for this signal or for its description.
    [[nodiscard]] bool wantsEvents() const;
    /// Begins a parse: counts from 0.
    void restart();
    void clearSamples() override;
    /// The labels are those of flags: it names each bit that is set.
    void printValue(char* buffer, std::size_t size, double value) const override;

    std::shared_ptr<ErrorSignal> description;  ///< tells what the last event was; may be empty

  private:
    void addUnlessParsed(std::uint64_t time, double value);

    std::uint64_t count_ = 0;
    std::uint64_t lastTime_ = 0;  // ms; of the last event, 0 before the first
    std::int32_t lastDescription_ = 0;
};

}  // namespace trelis
