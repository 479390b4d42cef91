// The errors of a bus, or those of the logger itself.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/Message.h"
#include "model/builtin/ErrorSignal.h"

namespace trelis {

/// Turns error frames, laid out as SocketCAN has them (linux/can/error.h), into counts and
/// descriptions. Frames are decoded at once on the thread that posts them, the Store's worker.
class ErrorMessage : public Message {
  public:
    static constexpr std::uint32_t kId = 1;

    /// `forLogger`: the smaller set of signals of the interface `Logger`.
    static std::shared_ptr<ErrorMessage> create(const std::string& name,
                                                const std::shared_ptr<CanIface>& interface,
                                                bool forLogger);
    ErrorMessage(const std::string& name, const std::shared_ptr<CanIface>& interface);

    /// Asks for the error frames of this parse. There is no thread; true if a signal needs them.
    bool startWorker() override;
    void postFrame(const Frame& frame, std::uint64_t absoluteTime) override;
    [[nodiscard]] bool isWanted() const override;
    void clearMessage() override;

  private:
    std::shared_ptr<ErrorSignal> addErrorSignal(const char* signalName, const char* text);
    void addBusSignals();
    void addLoggerSignals();
    static void addErrorTo(ErrorSignal& signal, std::uint64_t time, std::int32_t what,
                           std::int64_t explicitCount);

    /// The counts in the order of their flags in an error frame's id; one on the logger.
    std::vector<std::shared_ptr<ErrorSignal>> counts_;
};

}  // namespace trelis
