#include "model/RealMessage.h"

#include <pthread.h>

#include <array>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <typeinfo>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"

namespace trelis {
namespace {

constexpr std::size_t kRunBlock = 512;
constexpr std::chrono::milliseconds kQueuePause{10};

}  // namespace

RealMessage::RealMessage(std::uint32_t messageId, const std::string& messageName,
                         const std::shared_ptr<CanIface>& interface)
    : Message(messageId, messageName, interface), mutex_(std::make_shared<std::mutex>()) {}

RealMessage::~RealMessage() {
    joinWorker();
}

std::shared_ptr<RealMessage> RealMessage::create(std::uint32_t id, const std::string& name,
                                                 const std::shared_ptr<CanIface>& interface) {
    return std::make_shared<RealMessage>(id, name, interface);
}

bool RealMessage::startWorker() {
    if (!isWanted()) return false;
    checkNoWorker();
    launch("RealMessage", &RealMessage::runQueueWorker);
    return true;
}

bool RealMessage::startLogWorker(const std::deque<std::shared_ptr<FrameSource>>& parsers) {
    if (!isWanted()) return false;
    checkNoWorker();
    parsers_ = parsers;
    if (launch("RealMessageLP", &RealMessage::runLogWorker)) return true;
    parsers_.clear();
    if (!joinCrew()) throw std::runtime_error("No thread can be made for message " + name);
    return true;
}

void RealMessage::checkNoWorker() const {
    if (worker_.joinable() || !leader_.expired()) reportFatal("thread already created");
}

bool RealMessage::launch(const char* threadName, void (RealMessage::*body)()) {
    auto& threads = context().messageThreads;
    if (threads.size() >= kMostThreads) return false;
    {
        const std::lock_guard lock(*mutex_);
        workerRun_ = true;
        crewClosed_ = body != &RealMessage::runLogWorker;
    }
    const auto run = [this, body] {
        try {
            (this->*body)();
            return;
        } catch (const PrintMsgError&) {
            context().workerFailed = true;
        } catch (const std::exception& error) {
            context().workerFailed = true;
            report(Level::kError, format("Exception: %s", error.what()));
        }
        parsers_.clear();
        const std::lock_guard lock(*mutex_);
        workerRun_ = false;
        queueChanged_.notify_all();
    };
    try {
        worker_ = std::thread(run);
    } catch (const std::system_error&) {  // the system has no more of them
        return false;
    }
    pthread_setname_np(worker_.native_handle(), threadName);
    threads.push_back(std::static_pointer_cast<RealMessage>(shared_from_this()));
    return true;
}

bool RealMessage::joinCrew() {
    const auto& threads = context().messageThreads;
    for (std::size_t tries = 0; tries < threads.size(); ++tries) {
        // Ids spread the messages over the threads.
        const auto leader = threads[(id + tries) % threads.size()].lock();
        if (!leader || !leader->enlist(*this)) continue;
        leader_ = leader;
        return true;
    }
    return false;
}

bool RealMessage::enlist(RealMessage& other) {
    const std::lock_guard lock(*mutex_);
    if (crewClosed_ || !workerRun_) return false;
    crew_.push_back(&other);
    return true;
}

void RealMessage::takeRuns(FrameSource& source) {
    source.takeRuns(parent()->number, id,
                    [this](std::span<const StoredFrame> run, std::uint64_t baseTime) {
                        handleRun(run, baseTime);
                    });
}

void RealMessage::runLogWorker() {
    // A recording's frames are freed when the last worker lets go of it, so each is dropped as
    // soon as it is done.
    while (!parsers_.empty()) {
        const std::shared_ptr<FrameSource> source = std::move(parsers_.front());
        parsers_.pop_front();
        if (!source->waitUntilFramesReady()) break;
        {
            const std::lock_guard lock(*mutex_);
            crewClosed_ = true;
        }
        takeRuns(*source);
        for (RealMessage* other : crew_)
            other->takeRuns(*source);
    }
    parsers_.clear();
}

void RealMessage::runQueueWorker() {
    std::deque<Frame> taken;
    std::unique_lock lock(*mutex_);
    for (;;) {
        // Frames come in batches: a pause between two looks costs no time that a person would
        // notice, and no processor time. Frames that came while the last ones were decoded are
        // taken before the flag is looked at, so finish() loses none.
        queueChanged_.wait_for(lock, kQueuePause, [this] { return !workerRun_; });
        while (!queue_.empty()) {
            taken.swap(queue_);
            queueChanged_.notify_all();
            lock.unlock();
            for (const Frame& frame : taken)
                handleFrame(frame);
            taken.clear();
            lock.lock();
        }
        if (!workerRun_) return;
    }
}

void RealMessage::postFrame(const Frame& frame, std::uint64_t absoluteTime) {
    Frame posted = frame;
    posted.absoluteTime = absoluteTime;
    if (!worker_.joinable()) {
        handleFrame(posted);
        return;
    }
    std::unique_lock lock(*mutex_);
    queueChanged_.wait(lock, [this] { return queue_.size() < kMostQueued || !workerRun_; });
    if (workerRun_) queue_.push_back(posted);
}

std::vector<StoredFrame>* RealMessage::heldFrames() {
    return worker_.joinable() ? nullptr : &held_;
}

void RealMessage::decodeHeld() {
    // The frames are gone whatever their decoding comes to.
    std::vector<StoredFrame> run;
    run.swap(held_);
    handleRun(run, 0);
    run.clear();
    held_.swap(run);  // keeps the memory for the next run
}

void RealMessage::joinWorker() {
    {
        const std::lock_guard lock(*mutex_);
        workerRun_ = false;
        queueChanged_.notify_all();
    }
    if (const auto leader = leader_.lock()) leader->joinWorker();
    leader_.reset();
    if (!worker_.joinable()) return;
    worker_.join();
    crew_.clear();
    std::erase_if(context().messageThreads, [this](const auto& other) {
        const auto message = other.lock();
        return !message || message.get() == this;
    });
}

void RealMessage::finish() {
    joinWorker();
    Message::finish();
}

// The signals own their message, so whoever holds one here would keep both for ever.
void RealMessage::clearMessage() {
    multiplexor.reset();
    rateSource.reset();
    Message::clearMessage();
}

void RealMessage::handleFrame(const Frame& frame) {
    if (multiplexor) multiplexor->decodeFrame(frame);
    const bool all = context().readAll;
    for (const auto& signal : parseOrder) {
        if (all || signal->needsParse)
            signal->decodeFrame(frame);
        else if (signal->useCount == 0)
            break;  // the used ones stand first
    }
}

void RealMessage::handleRun(std::span<const StoredFrame> run, std::uint64_t baseTime) {
    std::array<std::int32_t, kRunBlock> muxes;
    while (!run.empty()) {
        const auto block = run.first(std::min(run.size(), kRunBlock));
        run = run.subspan(block.size());
        std::span<const std::int32_t> known;
        if (multiplexor) {
            for (std::size_t i = 0; i < block.size(); ++i)
                muxes[i] = multiplexor->muxNumberOf(block[i].data());
            currentMux = muxes[block.size() - 1];
            known = std::span(muxes).first(block.size());
        }
        // One lock for a block, not for a sample: a painter waits some microseconds at most.
        const std::lock_guard lock(*mutex_);
        const bool all = context().readAll;
        for (const auto& signal : parseOrder) {
            if (!all && !signal->needsParse) {
                if (signal->useCount == 0) break;
                continue;
            }
            // Live runs are of few frames each, so a look is cheaper than a cast.
            if (Signal& each = *signal; typeid(each) == typeid(RealSignal))
                static_cast<RealSignal&>(each).decodeRun(block, baseTime, known);
        }
    }
}

std::shared_ptr<RealSignal> RealMessage::addRateSignal(std::int32_t muxValue) {
    auto signal = RealSignal::create(shared_from_this(), "___rate___", 999, 0, 1, '+', "", 1.0, 0.0,
                                     0.0, 0.0);
    signal->muxValue = muxValue;
    signal->hidden = true;
    signal->internalOnly = true;
    signal->isRateSource = true;
    addUnnamedSignal(signal);
    if (muxValue == kPlainSignal) {
        rateSource = signal;
        rateSignal = signal;
    }
    return signal;
}

}  // namespace trelis
