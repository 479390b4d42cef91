// A message that receives frames, and the thread on which it decodes them.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "model/FrameSource.h"
#include "model/Message.h"
#include "model/RealSignal.h"

namespace trelis {

/// Runs at most one thread of its own at a time, which finish() and the destructor join:
/// "RealMessageLP" decodes the frames of recordings, "RealMessage" those that postFrame queued.
/// The thread touches this message's signals only, their samples under `mutex`; it ends when its
/// recordings are done or the parse is aborted, or, on the queue, when finish() asks for it.
class RealMessage : public Message {
  public:
    RealMessage(std::uint32_t id, const std::string& name,
                const std::shared_ptr<CanIface>& interface);
    ~RealMessage() override;

    static std::shared_ptr<RealMessage> create(std::uint32_t id, const std::string& name,
                                               const std::shared_ptr<CanIface>& interface);

    /// ERR "thread already created" and PrintMsgError if a worker exists.
    bool startWorker() override;
    bool startLogWorker(const std::deque<std::shared_ptr<FrameSource>>& parsers) override;
    void finish() override;
    /// Queues the frame for the worker, or decodes it at once when there is none. Waits while
    /// kMostQueued frames are queued, so that a fast reader cannot fill the memory.
    void postFrame(const Frame& frame, std::uint64_t absoluteTime) override;
    /// Null while a worker decodes the queue.
    [[nodiscard]] std::vector<StoredFrame>* heldFrames() override;
    void decodeHeld() override;
    void clearMessage() override;
    [[nodiscard]] bool isWanted() const override { return pendingCount != 0; }

    /// Decodes one frame into the signals that a parse wants. One thread at a time.
    virtual void handleFrame(const Frame& frame);
    /// The same for frames of a recording in file order.
    virtual void handleRun(std::span<const StoredFrame> run, std::uint64_t baseTime);

    /// Makes a hidden rate signal, which stores the time of every frame (of those with this
    /// multiplex value), and adds it to the message.
    std::shared_ptr<RealSignal> addRateSignal(std::int32_t muxValue);

    static constexpr std::size_t kMostQueued = 65536;

    /// Private copy of the multiplexor, or empty: it keeps currentMux up to date though nobody may
    /// look at the public one.
    std::shared_ptr<RealSignal> multiplexor;
    std::shared_ptr<RealSignal> rateSource;  ///< the plain rate signal, if made

  protected:
    [[nodiscard]] std::shared_ptr<std::mutex> sampleMutex() const override { return mutex_; }

  private:
    void launch(const char* threadName, void (RealMessage::*body)());
    void runLogWorker();
    void runQueueWorker();
    void joinWorker();

    std::shared_ptr<std::mutex> mutex_;     // guards queue_, workerRun_ and the signals' samples
    std::condition_variable queueChanged_;  // woken by frames, by their removal and by finish()
    std::deque<Frame> queue_;
    bool workerRun_ = false;
    std::vector<StoredFrame> held_;                     // of the thread that reads a running input
    std::deque<std::shared_ptr<FrameSource>> parsers_;  // the log worker's own once it runs
    std::thread worker_;                                // owner: this object; see joinWorker
};

}  // namespace trelis
