// The client of a logger that sends its frames over TCP.
#pragma once

#include <memory>
#include <mutex>

#include "input/stream/StreamCodec.h"

namespace trelis {

class Store;

/// What the thread that stops a connection needs of it. Outlives every connection of a Store.
class LiveLink {
  public:
    StreamCodec codec;  ///< the worker's, but for the request to stop

    /// Takes the socket over; closes the one before.
    void open(int socket);
    void close();
    /// Ends a waiting read at once and one that is about to begin within half a second. Any thread.
    void stop();

  private:
    std::mutex mutex_;  // guards socket_
    int socket_ = -1;
};

/// The worker's input of a connection: asks the logger of Store::hostName for answer after answer
/// (encrypted with a Store::decryptionKey) and hands each record to handleRecord, until the peer or
/// the user ends it. Holds Store::liveMutex for its whole run. Failures that end the connection are
/// told; PrintMsgError for an encrypted stream that makes no sense. Store worker only.
void runLiveConnection(Store& store, LiveLink& link);

/// Sets the hooks of all live inputs. Main thread, before anything runs.
void wireLiveInputs(Store& store);

}  // namespace trelis
