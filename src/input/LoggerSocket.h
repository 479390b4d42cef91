// The TCP connection to a logger.
#pragma once

#include <chrono>
#include <cstdint>

namespace trelis {

class Store;

// What connectToLogger gives instead of a socket.
inline constexpr int kNoSocket = -1;
inline constexpr int kNoSuchHost = -2;
inline constexpr int kNotConnected = -3;

/// Connects to Store::hostName and Store::port over IPv4 and gives the socket, which is
/// non-blocking, becomes Store::socket and is the caller's to close. A failure is told at WRN.
/// Waits at most `patience` for the peer and gives up silently when the live run is to stop; the
/// look-up of the host's name takes as long as the system's resolver does.
int connectToLogger(Store& store, std::chrono::milliseconds patience = std::chrono::seconds(10));

/// How a command byte went out.
enum class SendResult {
    kSent,
    kNotNow,  ///< the peer takes nothing at present; some time was spent waiting for it
    kFailed,  ///< the diagnostic has been printed, unless the live run is to stop
};
/// Sends one byte over Store::socket.
SendResult sendCommand(const Store& store, std::uint8_t command);

}  // namespace trelis
