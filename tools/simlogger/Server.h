#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "FrameFeed.h"

namespace trelis::sim {

/// What a server does on purpose wrong, for those who test a client.
enum class Fault {
    kNone,
    kWrongTag,   ///< the tag of a frame does not fit; without a key nothing happens
    kWrongKey,   ///< the whole connection is encrypted under another key
    kTooLong,    ///< a frame or a block says that it is longer than any can be
    kOverflow,   ///< a frame of the greatest length that may be said, which no client can take
    kOddLength,  ///< a frame whose length is no whole number of cipher units
    kEmpty,      ///< empty frames between the others, which is allowed; a block of length 0
    kGarbage,    ///< bytes that are no block
    kBadBlock,   ///< a block whose content cannot be unpacked
    kHalf,       ///< half an answer and then silence
    kSilence,    ///< no answer
    kReset,      ///< the connection is reset
    kClose,      ///< the connection is closed
};

/// The fault of this name in the command line, such as "wrong-tag".
std::optional<Fault> faultNamed(std::string_view name);

struct ServeOptions {
    std::uint16_t port = 777;  ///< 0: any free one
    std::string key;           ///< empty: not encrypted
    double speed = 1.0;        ///< times real time; 0: as fast as the client asks
    Fault fault = Fault::kNone;
    std::uint64_t faultAfter = 0;  ///< good answers before it
    /// Most bytes of the stream of blocks in one answer of an encrypted connection, at least 16, or
    /// in one segment of a plain one; 0: whole blocks.
    std::size_t piece = 0;
    bool once = false;  ///< serve one connection only
};

/// The logger's side of a live connection, on the loopback address. Each connection carries a feed
/// of its own from its beginning, and ends behind its last frame. One connection at a time.
class Server {
  public:
    using FeedMaker = std::function<std::unique_ptr<FrameFeed>()>;

    /// Listens. Throws std::system_error if the port is not to be had.
    Server(ServeOptions options, FeedMaker makeFeed);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server();

    std::uint16_t port() const { return port_; }
    /// Serves until stop(), or one connection. Throws what the feed throws.
    void run();
    /// Makes run() return soon. Any thread, and signal handlers.
    void stop() { stopped_ = true; }

    std::uint64_t framesSent() const { return framesSent_; }
    std::uint64_t answersSent() const { return answersSent_; }

  private:
    const ServeOptions options_;
    const FeedMaker makeFeed_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<bool> stopped_ = false;
    std::atomic<std::uint64_t> framesSent_ = 0;
    std::atomic<std::uint64_t> answersSent_ = 0;
};

}  // namespace trelis::sim
