// The messages in which the field logger tells its position, motion and reception.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "model/RealMessage.h"

namespace trelis {

class Store;

/// Positions of the field logger: degrees of latitude and longitude are magnitudes, and `N_S` and
/// `E_W` tell the side. Layouts are fixed and need no definition file. Every signal that was not
/// parsed before is decoded from each frame, wanted or not: they change slowly.
class LoggerMessage : public RealMessage {
  public:
    /// One signal and where its value stands in a frame.
    struct Field {
        const char* name;
        const char* unit;
        const char* comment;
        int decimals;  ///< below 0: as many as other signals
        double (*decode)(std::uint64_t data);
    };

    LoggerMessage(std::uint32_t id, const std::string& name,
                  const std::shared_ptr<CanIface>& interface);

    /// Adds the messages GPS_POS, GPS_MOT and GPS_STAT with their signals and rate signals.
    static void addAll(const std::shared_ptr<CanIface>& interface);

    void handleFrame(const Frame& frame) override;
    void handleRun(std::span<const StoredFrame> run, std::uint64_t baseTime) override;
    void clearMessage() override;

  private:
    struct Decoder {
        std::shared_ptr<Signal> signal;
        double (*decode)(std::uint64_t data);
    };

    void addFields(std::span<const Field> fields);
    [[nodiscard]] bool takesSamples(const Signal& signal) const;

    std::vector<Decoder> decoders_;
};

/// Makes the interface `Logger`, number 255, with its messages.
void addLoggerInterface(Store& store);

}  // namespace trelis
