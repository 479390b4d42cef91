// The facts about the run that the model reads, and the few calls that it makes upward. The Store
// derives from it; signals and messages reach it by reference.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trelis {

class RealMessage;
class Signal;
struct VirtualRegistry;

class ModelContext {
  public:
    ModelContext();
    ModelContext(const ModelContext&) = delete;
    ModelContext& operator=(const ModelContext&) = delete;
    virtual ~ModelContext();

    /// Input is a running stream: samples keep a moving end marker. Main thread writes.
    std::atomic<bool> liveMode = false;
    /// Decode every signal whether in use or not; set during live runs.
    std::atomic<bool> readAll = false;
    /// Error frames are wanted in this parse. Set by ErrorMessage::startWorker.
    bool wantErrors = false;

    /// A message's worker ended by an exception, which has been reported. Any thread sets it; the
    /// end of the parse looks at it.
    std::atomic<bool> workerFailed = false;

    /// The messages that have a thread now. The Store's worker, and the main thread between parses.
    std::vector<std::weak_ptr<RealMessage>> messageThreads;

    /// The selected interval, ms since the epoch. Written by the main thread, and by the worker
    /// while no interval is set.
    std::atomic<bool> intervalSet = false;
    std::atomic<std::uint64_t> intervalStart = 0;
    std::atomic<std::uint64_t> intervalEnd = 0;

    /// Width of plotted lines in pixels, the setting `line_width`.
    std::atomic<double> lineWidth = 2.0;

    /// `legacygps` of the definition file: positions come from the first interface's own messages.
    bool legacyGps = false;
    /// The definition file named its only DBC file in the old way: references of two parts resolve.
    bool legacyVsd = false;

    /// Built by recount: the selected signals that are not internal, in list order. A window takes
    /// the copy that selection() gives, since the worker recounts at the end of a parse.
    std::vector<std::shared_ptr<Signal>> selectedSignals;
    /// Any thread.
    [[nodiscard]] std::vector<std::shared_ptr<Signal>> selection() const;

    /// The list of all virtual signals and what goes with it, see virtual/VirtualRegistry.h. Made
    /// with the first virtual message.
    std::shared_ptr<VirtualRegistry> virtualRegistry;

    /// Looks up `<iface>.<msg>.<sig>`. SignalNotFoundException or std::invalid_argument with a text
    /// for the user.
    virtual std::shared_ptr<Signal> getSignal(const std::string& reference) = 0;

    /// Name of the interface with this number, if there is one.
    [[nodiscard]] virtual std::optional<std::string> interfaceName(std::uint32_t /*number*/) const {
        return std::nullopt;
    }

    /// Colour text of a signal.
    [[nodiscard]] virtual std::string colorOf(const std::string& interface,
                                              const std::string& message,
                                              const std::string& signal) const = 0;

    /// Counts selections and users anew, or notes that it must be done while a RecountBatch lives.
    /// Main thread, or the worker at the end of a parse.
    void recount();

  protected:
    virtual void recountNow() = 0;

  private:
    friend class RecountBatch;
    void recountLocked();

    mutable std::mutex selectionMutex_;  // guards selectedSignals while it is rebuilt
    unsigned recountHolds_ = 0;
    bool recountPending_ = false;
};

/// While it lives, recounts are gathered: selecting a million signals counts once, not a million
/// times.
class RecountBatch {
  public:
    explicit RecountBatch(ModelContext& context) : context_(context) { ++context_.recountHolds_; }
    RecountBatch(const RecountBatch&) = delete;
    RecountBatch& operator=(const RecountBatch&) = delete;
    ~RecountBatch();

  private:
    ModelContext& context_;
};

}  // namespace trelis
