// A group of signals with a numeric id.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "model/CanIface.h"
#include "model/Frame.h"

namespace trelis {

class FrameSource;
class Signal;
class StoredFrame;

/// Held by shared pointers. Signals are added only while no parse runs.
class Message : public UseCounts, public std::enable_shared_from_this<Message> {
  public:
    Message(std::uint32_t id, std::string name, const std::shared_ptr<CanIface>& iface);
    /// A message that belongs to no interface, such as the editor's scratch message.
    Message(ModelContext& context, std::uint32_t id, std::string name);
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;
    virtual ~Message();

    /// Starts decoding queued frames on a thread of its own; false if nothing wants that.
    virtual bool startWorker();
    /// Starts decoding the frames of these recordings, in order; false if nothing wants that.
    virtual bool startLogWorker(const std::deque<std::shared_ptr<FrameSource>>& parsers);
    /// Waits for the worker and takes every signal that was wanted as parsed.
    virtual void finish();
    /// SignalNotFoundException if there is none of that name.
    [[nodiscard]] virtual std::shared_ptr<Signal> getSignal(const std::string& signalName) const;
    /// Takes one frame with its absolute time in ms.
    virtual void postFrame(const Frame& frame, std::uint64_t absoluteTime);
    /// Where a running input may gather frames, with absolute times, until decodeHeld: many of one
    /// message decode faster together. Null for a message that takes them by postFrame only.
    [[nodiscard]] virtual std::vector<StoredFrame>* heldFrames();
    /// Decodes what was gathered, in order, and forgets it.
    virtual void decodeHeld();
    /// Drops all signals and the parent.
    virtual void clearMessage();
    [[nodiscard]] virtual bool isWanted() const;

    /// Appends the signal and enters it under this name; false, and nothing happens, if the name
    /// is taken.
    bool addSignal(const std::string& signalName, const std::shared_ptr<Signal>& signal);
    /// The same for a signal that no lookup by name shall find, such as a rate signal.
    void addUnnamedSignal(const std::shared_ptr<Signal>& signal);
    /// Selects the signals whose short names match the glob pattern (`*` and `?`).
    void selectPattern(const std::string& pattern);
    void selectAll(bool select);
    /// The interface; std::runtime_error without one.
    [[nodiscard]] std::shared_ptr<CanIface> parent() const;
    [[nodiscard]] bool hasParent() const { return iface != nullptr; }
    /// Sorts parseOrder by use, counts, and appends to the context's list of selected signals.
    void recount();

    [[nodiscard]] ModelContext& context() const { return context_; }

    std::uint32_t id;
    std::string name;
    std::int32_t currentMux = -1;  ///< last multiplex value seen
    std::map<std::string, std::shared_ptr<Signal>> signalsByName;
    std::vector<std::shared_ptr<Signal>> signals;     ///< in order of definition
    std::vector<std::shared_ptr<Signal>> parseOrder;  ///< the most used first
    std::shared_ptr<Signal> rateSignal;               ///< hidden; stores the time of every frame
    std::string comment;
    std::shared_ptr<CanIface> iface;  ///< parent; may be empty

  protected:
    /// The mutex that all signals of this message share, or empty: each keeps its own.
    [[nodiscard]] virtual std::shared_ptr<std::mutex> sampleMutex() const;

  private:
    ModelContext& context_;
};

}  // namespace trelis
