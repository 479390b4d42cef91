// The frames of a CAN interface of this machine, by SocketCAN (see can(7), Linux kernel
// documentation networking/can.rst).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/Frame.h"

namespace trelis {

class Store;

/// The channel that a user's word stands for: "can3" or "3" is 3, "any" are all, which is -1.
/// Nothing for any other word.
std::optional<std::int32_t> canChannelOf(std::string_view name);

/// Names of the CAN interfaces that this machine has now, as "can0".
std::vector<std::string> canInterfaces();

/// Why a channel cannot be opened now, as a text for the user; empty if it can.
std::string canProblem(std::int32_t channel);

/// Opens a raw socket for all frames and all error frames but missing acknowledges. A channel below
/// 0 stands for all interfaces, N for "can<N>". -1 if that fails, which has been told on standard
/// error; otherwise the caller closes it.
int openCanSocket(std::int32_t channel);

/// Waits for one frame. Sets id, dlc, data and absoluteTime, the time of its arrival in ms since
/// the epoch. -1 if that fails, otherwise 0.
int readCanSocket(int socket, Frame& frame);

/// The worker's input of Store::dongleChannel: reads until the run is stopped or the interface
/// fails, which is told at WRN. ERR and PrintMsgError if it cannot be opened. Store worker only.
void runCanSocketRead(Store& store);

/// The part of runCanSocketRead behind the opening; leaves the socket open.
void readCanFrames(Store& store, int socket);

}  // namespace trelis
