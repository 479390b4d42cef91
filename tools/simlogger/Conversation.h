#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "BlockWriter.h"
#include "FrameFeed.h"
#include "Server.h"
#include "StreamCipher.h"

namespace trelis::sim {

/// One connection of a Server: reads command bytes and answers each with what is due.
class Conversation {
  public:
    struct Counts {
        std::atomic<std::uint64_t>& frames;
        std::atomic<std::uint64_t>& answers;
    };

    /// The socket stays the caller's.
    Conversation(const ServeOptions& options, FrameFeed& feed, int socket,
                 const std::atomic<bool>& stopped, Counts counts);

    /// Until the feed ends, the client leaves, a fault ends it or the server is stopped.
    void run();

  private:
    using Bytes = std::vector<std::uint8_t>;
    enum class Wait { kReadable, kTimeOut, kGone };

    bool awaitCommand();
    Wait waitFor(std::chrono::milliseconds time) const;
    bool isDue(const FedFrame& fed) const;
    /// Gathers what is due; false if the feed has ended or the client left.
    bool gatherBlock();
    Bytes nextAnswer();
    Bytes sealPending();
    bool answer();
    bool answerWrongly();
    bool send(std::span<const std::uint8_t> bytes);
    void sendEnd();
    void stayedSilent() const;

    const ServeOptions& options_;
    FrameFeed& feed_;
    const int socket_;
    const std::atomic<bool>& stopped_;
    Counts counts_;
    BlockWriter blocks_;
    std::optional<FedFrame> ahead_;  // the next frame of the feed
    Bytes pending_;                  // of the stream of blocks, not sent yet
    std::optional<StreamCipher> cipher_;
    bool headSent_ = false;
    std::uint64_t answers_ = 0;
    std::chrono::steady_clock::time_point begin_;
    std::chrono::steady_clock::time_point lastAnswer_;
};

}  // namespace trelis::sim
