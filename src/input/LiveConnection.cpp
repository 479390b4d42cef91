#include "input/LiveConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/CanSocket.h"
#include "input/EncryptedStream.h"
#include "input/HandleRecord.h"
#include "input/LiveRun.h"
#include "input/LoggerSocket.h"
#include "virtual/VirtualRegistry.h"

namespace trelis {
namespace {

constexpr std::uint8_t kAskPlain = 0;
constexpr std::uint8_t kAskEncrypted = 1;
constexpr std::size_t kMostHeldBlocks = 8;
constexpr int kSoonMs = 5;

/// What is left to do after one answer.
enum class Answer { kGood, kLast };

/// One connection from its first command byte to its end.
class Session {
  public:
    Session(Store& store, LiveLink& link, int socket)
        : store_(store), link_(link), socket_(socket), batch_(store) {
        link_.open(socket);
        if (!store_.decryptionKey.empty()) encrypted_.emplace();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        freeStreamCodec(&link_.codec);
        link_.close();
        store_.socket = -1;
    }

    void run() {
        if (initNetworkStreamCodec(link_.codec) != 0) reportFatal("Out of memory");
        try {
            exchange();
        } catch (...) {
            batch_.flush();  // what came before the failure stays
            throw;
        }
        settle();
        if (noDataYet_)
            report(Level::kInfo, encrypted_ ? "Check that logger is set up for encrypted data"
                                            : "Check that logger is set up for non-encrypted data");
    }

  private:
    void exchange() {
        while (!liveStopAsked(store_)) {
            const SendResult sent = sendCommand(store_, encrypted_ ? kAskEncrypted : kAskPlain);
            if (sent == SendResult::kNotNow) {
                if (heldBlocks_ > 0) settle();  // nobody knows how long the logger takes
                continue;
            }
            if (sent == SendResult::kFailed) {
                tellUnlessStopped(Level::kWarning, "Network failure");
                break;
            }
            if (heldBlocks_ > 0 && !answerComesSoon()) settle();
            if ((encrypted_ ? takeEncrypted() : takePlain()) == Answer::kLast) break;
            growLiveAxis(store_);
            noDataYet_ = false;
            if (!isBehind_) settle();
        }
    }

    // Whether the answer to the last command byte begins to arrive while waiting for it costs
    // nobody anything.
    [[nodiscard]] bool answerComesSoon() const {
        if (link_.codec.inBegin < link_.codec.inEnd) return true;
        pollfd waiting{socket_, POLLIN, 0};
        return poll(&waiting, 1, kSoonMs) > 0;
    }

    // Decodes the frames that are held, and lets all that follows from them follow.
    void settle() {
        batch_.flush();
        heldBlocks_ = 0;
        calculateAll(store_);
        store_.emitData();
    }

    void tellUnlessStopped(Level level, const char* text) const {
        if (!liveStopAsked(store_)) report(level, text);
    }

    void handleRecords() {
        const auto records = blockRecords(link_.codec);
        const auto recordSize = static_cast<std::size_t>(link_.codec.recordSize);
        batch_.add(records, recordSize);
        isBehind_ = records.size() + recordSize > static_cast<std::size_t>(kMaxBlockSize);
        if (++heldBlocks_ >= kMostHeldBlocks) settle();
    }

    Answer takePlain() {
        switch (readBlock(link_.codec, socket_)) {
            case kStreamBlock:
                handleRecords();
                return Answer::kGood;
            case kStreamEnd:
                tellUnlessStopped(Level::kInfo, "Stream ended");
                return Answer::kLast;
            default:
                tellUnlessStopped(Level::kWarning, "Failed to unpack data from logger");
                return Answer::kLast;
        }
    }

    Answer takeEncrypted() {
        int code = encrypted_->readFrame(link_.codec, socket_, store_.decryptionKey);
        if (code == kStreamEnd) tellUnlessStopped(Level::kInfo, "Stream ended");
        if (code != kStreamDone) return Answer::kLast;
        // One frame can hold many blocks, so a stop is looked for between them.
        do {
            code = encrypted_->unpackNext(link_.codec);
            if (code == kStreamBlock) handleRecords();
        } while (code == kStreamBlock && !liveStopAsked(store_));
        return code == kStreamError ? Answer::kLast : Answer::kGood;
    }

    Store& store_;
    LiveLink& link_;
    const int socket_;
    RecordBatch batch_;
    std::optional<EncryptedStream> encrypted_;  // with a key
    bool noDataYet_ = true;
    // A logger that fills its blocks has more to send. The frames of some blocks are then decoded
    // together, in long runs of each message.
    bool isBehind_ = false;
    std::size_t heldBlocks_ = 0;
};

}  // namespace

void LiveLink::open(int socket) {
    close();
    const std::lock_guard lock(mutex_);
    socket_ = socket;
}

void LiveLink::close() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
}

void LiveLink::stop() {
    stopStreamRead(&codec);
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) shutdown(socket_, SHUT_RDWR);
}

void runLiveConnection(Store& store, LiveLink& link) {
    const std::lock_guard live(store.liveMutex);
    if (liveStopAsked(store)) return;
    const int socket = connectToLogger(store);
    store.connected = socket >= 0;
    if (!store.noGui) store.connectionChanged.emit();
    if (socket < 0) return;
    {
        Session session(store, link, socket);
        beginLiveRun(store, wallClockMs());
        session.run();
    }
    endLiveRun(store);
}

void wireLiveInputs(Store& store) {
    const auto link = std::make_shared<LiveLink>();
    store.hooks.liveConnection = [link](Store& owner) { runLiveConnection(owner, *link); };
    store.hooks.stopLiveRead = [link] { link->stop(); };
    store.hooks.canSocket = runCanSocketRead;
}

}  // namespace trelis
