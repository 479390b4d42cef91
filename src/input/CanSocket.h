// The frames of a CAN interface of this machine, by SocketCAN (see can(7), Linux kernel
// documentation networking/can.rst).
#pragma once

#include <cstdint>

#include "model/Frame.h"

namespace trelis {

class Store;

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
