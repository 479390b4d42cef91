#include "plot/paint/PainterThreadPool.h"

#include <pthread.h>

#include <exception>
#include <utility>

#include "app/diagnostics/Report.h"
#include "plot/paint/PaintTask.h"

namespace trelis {

PainterThread::PainterThread(PainterThreadPool& pool, int number) : pool_(pool), number_(number) {
    // The new thread waits for the mutex until thread_ is set, which isOwnThread reads.
    const std::lock_guard lock(mutex_);
    thread_ = std::thread([this] { run(); });
}

PainterThread::~PainterThread() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
        cancel_ = true;
        wake_.notify_all();
    }
    thread_.join();
}

bool PainterThread::assignWork(std::shared_ptr<PainterTask> task) {
    if (isOwnThread()) reportFatal("assignWork may not be called from threads own context");
    const std::lock_guard lock(mutex_);
    if (ongoing_) return false;
    task_ = std::move(task);
    ongoing_ = true;
    wake_.notify_all();
    return true;
}

void PainterThread::reassign(std::shared_ptr<PainterTask> task) {
    if (!isOwnThread()) reportFatal("reassign may only be called from threads own context");
    task_ = std::move(task);
    ongoing_ = true;
}

void PainterThread::cancelWork() {
    const std::lock_guard lock(mutex_);
    if (!ongoing_) return;
    cancel_ = true;
    wake_.notify_all();
}

void PainterThread::lookAtQueue() {
    const std::lock_guard lock(mutex_);
    queueNews_ = true;
    wake_.notify_all();
}

void PainterThread::waitUntilIdle() {
    std::unique_lock lock(mutex_);
    idle_.wait(lock, [this] { return !ongoing_; });
}

// A task for the queue could come between a look at the queue and the wait:
//
//      painter                           main thread
//                                        assignWork: no, ongoing_ is set
//      lock, clear ongoing_
//      fetchNext: queue is empty
//                                        append to the queue
//      wait (unlocks)
//                                        lookAtQueue: lock, queueNews_ = true, notify
//      wakes, looks again
//
// The painter holds mutex_ from the look to the wait, so lookAtQueue comes after it has begun.
void PainterThread::run() {
    pthread_setname_np(pthread_self(), "PainterThread");
    std::unique_lock lock(mutex_);
    while (!stop_) {
        // A task may have been assigned before this thread came to run.
        queueNews_ = false;
        if (!ongoing_ && !pool_.fetchNext(number_)) {
            idle_.notify_all();
            wake_.wait(lock, [this] { return stop_ || ongoing_ || queueNews_; });
            if (stop_) return;
            if (!ongoing_) continue;
        }
        if (!task_) reportFatal("ongoing should be set here");
        if (!cancel_) {
            std::shared_ptr<PainterTask> task = std::move(task_);
            lock.unlock();
            paint(std::move(task));
            lock.lock();
        }
        task_.reset();
        cancel_ = false;
        ongoing_ = false;
    }
}

void PainterThread::paint(std::shared_ptr<PainterTask> task) {
    try {
        paintTask(*task, cancel_);
    } catch (const std::exception& error) {  // out of memory: the others are still drawn
        report(Level::kError, format("Exception: %s", error.what()));
    }
    PainterThreadPoolUser* const user = task->user;
    if (!cancel_) user->onPainterDone(std::move(task));
}

PainterThreadPool::PainterThreadPool(int threads) {
    for (int number = 0; number < threads; ++number)
        threads_.push_back(std::make_unique<PainterThread>(*this, number));
}

PainterThreadPool::~PainterThreadPool() {
    cancelAll();
    threads_.clear();
}

void PainterThreadPool::addTask(std::shared_ptr<PainterTask> task) {
    // While older tasks wait, a thread that has just become free must not take this one first.
    if (!hasWaiting())
        for (const auto& thread : threads_)
            if (thread->assignWork(task)) return;
    {
        const std::lock_guard lock(queueMutex_);
        queue_.push_back(std::move(task));
    }
    for (const auto& thread : threads_)
        thread->lookAtQueue();
}

bool PainterThreadPool::hasWaiting() {
    const std::lock_guard lock(queueMutex_);
    return !queue_.empty();
}

void PainterThreadPool::cancelAll() {
    std::deque<std::shared_ptr<PainterTask>> dropped;
    {
        const std::lock_guard lock(queueMutex_);
        queue_.swap(dropped);
    }
    for (const auto& thread : threads_)
        thread->cancelWork();
}

void PainterThreadPool::waitUntilIdle() {
    for (const auto& thread : threads_)
        thread->waitUntilIdle();
}

bool PainterThreadPool::fetchNext(int threadNumber) {
    std::shared_ptr<PainterTask> task;
    {
        const std::lock_guard lock(queueMutex_);
        if (queue_.empty()) return false;
        task = std::move(queue_.front());
        queue_.pop_front();
    }
    threads_[static_cast<std::size_t>(threadNumber)]->reassign(std::move(task));
    return true;
}

}  // namespace trelis
