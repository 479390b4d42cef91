#include "Conversation.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <random>
#include <utility>

namespace trelis::sim {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPatience{20};  // between two looks at the request to stop
/// At a given speed an answer holds the frames of at least this time, as a logger gathers them.
constexpr milliseconds kGather{10};
constexpr milliseconds kMostGoodbye{2000};
constexpr std::uint32_t kLongestFrame = 0x200000;

void putWord(std::vector<std::uint8_t>& bytes, std::uint32_t word) {
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
}

std::vector<std::uint8_t> blockSaying(std::uint32_t length, std::size_t contentSize) {
    std::vector<std::uint8_t> bytes;
    putWord(bytes, BlockWriter::kMagicNew);
    putWord(bytes, length);
    bytes.resize(bytes.size() + contentSize, 0xFF);
    return bytes;
}

std::array<std::uint8_t, StreamCipher::kUnit> randomIv() {
    std::random_device device;
    std::array<std::uint8_t, StreamCipher::kUnit> iv{};
    for (auto& byte : iv)
        byte = static_cast<std::uint8_t>(device());
    return iv;
}

}  // namespace

Conversation::Conversation(const ServeOptions& options, FrameFeed& feed, int socket,
                           const std::atomic<bool>& stopped, Counts counts)
    : options_(options),
      feed_(feed),
      socket_(socket),
      stopped_(stopped),
      counts_(counts),
      blocks_(RecordFormat::kNew18, false, [this](std::span<const std::uint8_t> block) {
          pending_.insert(pending_.end(), block.begin(), block.end());
      }) {
    if (options.key.empty()) return;
    const bool wrong = options.fault == Fault::kWrongKey;
    cipher_.emplace(wrong ? options.key + "?" : options.key, randomIv());
}

Conversation::Wait Conversation::waitFor(milliseconds time) const {
    const auto deadline = steady_clock::now() + time;
    for (;;) {
        if (stopped_) return Wait::kGone;
        const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
        pollfd waiting{socket_, POLLIN | POLLRDHUP, 0};
        const auto slice = std::clamp(left, milliseconds(0), kPatience);
        const int ready = poll(&waiting, 1, static_cast<int>(slice.count()));
        if (ready < 0 && errno != EINTR) return Wait::kGone;
        if (ready > 0 && (waiting.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0)
            return Wait::kGone;
        if (ready > 0) return Wait::kReadable;
        if (left <= milliseconds(0)) return Wait::kTimeOut;
    }
}

// A client that wants the other mode than the one the logger is set up for gets what there is; one
// that says nonsense is left.
bool Conversation::awaitCommand() {
    for (;;) {
        const Wait wait = waitFor(milliseconds(1000));
        if (wait == Wait::kGone) return false;
        if (wait == Wait::kTimeOut) continue;
        std::uint8_t command = 0;
        return recv(socket_, &command, 1, 0) == 1 && command <= 1;
    }
}

bool Conversation::isDue(const FedFrame& fed) const {
    if (options_.speed <= 0) return true;
    const std::chrono::duration<double, std::milli> passed = steady_clock::now() - begin_;
    return static_cast<double>(fed.frame.timeMs) <= passed.count() * options_.speed;
}

bool Conversation::gatherBlock() {
    if (options_.speed > 0) {
        const auto wait =
            std::chrono::ceil<milliseconds>(lastAnswer_ + kGather - steady_clock::now());
        if (wait > milliseconds(0) && waitFor(wait) == Wait::kGone) return false;
    }
    std::size_t count = 0;
    while (count < BlockWriter::kRecordsPerBlock) {
        if (!ahead_) ahead_ = feed_.next();
        if (!ahead_) break;
        if (!isDue(*ahead_)) {
            if (count > 0) break;
            if (waitFor(milliseconds(1)) == Wait::kGone) return false;
            continue;
        }
        blocks_.add(ahead_->timestamp, ahead_->frame);
        ahead_.reset();
        ++count;
    }
    blocks_.flush();
    counts_.frames += count;
    return count > 0;
}

// Without padding the last bytes of a stream would never fill a unit, so the head of a block that
// does not come any more follows them.
Conversation::Bytes Conversation::sealPending() {
    const bool ended = !ahead_ && !(ahead_ = feed_.next());
    const std::size_t most = options_.piece > 0 ? std::max(options_.piece, StreamCipher::kUnit)
                                                : std::size_t{kLongestFrame / 2};
    if (ended && pending_.size() <= most) {
        const Bytes filler = blockSaying(BlockWriter::kRecordsPerBlock, StreamCipher::kUnit);
        const std::size_t over = pending_.size() % StreamCipher::kUnit;
        if (over != 0)
            pending_.insert(
                pending_.end(), filler.begin(),
                filler.begin() + static_cast<std::ptrdiff_t>(StreamCipher::kUnit - over));
    }
    std::size_t take = std::min(pending_.size(), most);
    take -= take % StreamCipher::kUnit;
    Bytes bytes = cipher_->frame(std::span(pending_).first(take));
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(take));
    return bytes;
}

Conversation::Bytes Conversation::nextAnswer() {
    const std::size_t enough = cipher_ ? StreamCipher::kUnit : 1;
    if (pending_.size() < enough && !gatherBlock() && pending_.empty()) return {};
    if (cipher_) return sealPending();
    return std::exchange(pending_, {});
}

bool Conversation::send(std::span<const std::uint8_t> bytes) {
    const std::size_t piece = cipher_ || options_.piece == 0 ? bytes.size() : options_.piece;
    while (!bytes.empty()) {
        const std::size_t count = std::min(piece, bytes.size());
        const ssize_t sent = ::send(socket_, bytes.data(), count, MSG_NOSIGNAL);
        if (sent > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd waiting{socket_, POLLOUT, 0};
            poll(&waiting, 1, static_cast<int>(kPatience.count()));
            if (stopped_) return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool Conversation::answer() {
    if (cipher_ && !headSent_ && !send(cipher_->head())) return false;
    headSent_ = true;
    if (options_.fault != Fault::kNone && answers_ >= options_.faultAfter) return answerWrongly();
    const Bytes bytes = nextAnswer();
    if (bytes.empty()) return false;
    lastAnswer_ = steady_clock::now();
    ++answers_;
    ++counts_.answers;
    return send(bytes);
}

void Conversation::stayedSilent() const {
    while (waitFor(milliseconds(1000)) != Wait::kGone) {
    }
}

// Gives true if the connection goes on as if nothing were wrong.
bool Conversation::answerWrongly() {
    Bytes bytes;
    ++answers_;
    switch (options_.fault) {
        case Fault::kWrongTag:
            bytes = nextAnswer();
            if (!bytes.empty()) bytes.back() ^= 1U;
            return !bytes.empty() && send(bytes);
        case Fault::kTooLong:
            if (cipher_)
                putWord(bytes, kLongestFrame + 1);
            else
                bytes = blockSaying(18087, 18087);
            break;
        case Fault::kOverflow:
            bytes = cipher_ ? cipher_->frame(Bytes(kLongestFrame)) : blockSaying(0xFFFFFFFFU, 100);
            break;
        case Fault::kOddLength:
            putWord(bytes, 17);
            bytes.resize(bytes.size() + 17 + StreamCipher::kTagSize);
            break;
        case Fault::kEmpty:
            bytes = cipher_ ? cipher_->frame({}) : blockSaying(0, 0);
            if (!cipher_ || answers_ % 2 != 0) break;
            bytes = nextAnswer();
            return !bytes.empty() && send(bytes);
        case Fault::kGarbage:
            bytes.assign(64, 0x5A);
            if (cipher_) bytes = cipher_->frame(bytes);
            break;
        case Fault::kBadBlock:
            bytes = blockSaying(24, 24);
            if (cipher_) bytes = cipher_->frame(bytes);
            break;
        case Fault::kHalf:
            bytes = nextAnswer();
            bytes.resize(bytes.size() / 2);
            if (send(bytes)) stayedSilent();
            return false;
        case Fault::kSilence:
            stayedSilent();
            return false;
        case Fault::kReset: {
            const linger hard{1, 0};
            setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
            return false;
        }
        case Fault::kClose:
            return false;
        case Fault::kNone:
        case Fault::kWrongKey:
            bytes = nextAnswer();
            return !bytes.empty() && send(bytes);
    }
    return send(bytes);
}

// A socket that is closed while command bytes wait in it is reset, which could cost the client the
// last answer; so the client leaves first, if it does so in time.
void Conversation::sendEnd() {
    if (options_.fault == Fault::kReset) return;
    shutdown(socket_, SHUT_WR);
    const auto deadline = steady_clock::now() + kMostGoodbye;
    std::array<std::uint8_t, 64> rest{};
    while (!stopped_ && steady_clock::now() < deadline) {
        pollfd waiting{socket_, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(kPatience.count())) <= 0) continue;
        if (recv(socket_, rest.data(), rest.size(), 0) <= 0) return;
    }
}

void Conversation::run() {
    if (!awaitCommand()) return;
    begin_ = steady_clock::now();
    lastAnswer_ = begin_;
    while (answer())
        if (!awaitCommand()) return;
    sendEnd();
}

}  // namespace trelis::sim
