// The threads that draw signals.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "plot/paint/PainterTask.h"

namespace trelis {

class PainterThreadPool;

/// One thread of a pool. Owned by the pool, which joins it.
///
/// Lock order: mutex_, then the pool's queueMutex_. No lock is held while a task is painted or
/// handed back.
class PainterThread {
  public:
    PainterThread(PainterThreadPool& pool, int number);
    PainterThread(const PainterThread&) = delete;
    PainterThread& operator=(const PainterThread&) = delete;
    /// Ends the present task at its next look at the cancel flag, and joins.
    ~PainterThread();

    /// Gives the task to the thread if it is idle; says whether it took it. From any other thread;
    /// from the thread itself ERR and PrintMsgError.
    bool assignWork(std::shared_ptr<PainterTask> task);
    /// The thread's own way to take a task, with mutex_ held; from any other thread ERR and
    /// PrintMsgError.
    void reassign(std::shared_ptr<PainterTask> task);
    /// Drops the present task: its user is not called. Does not wait.
    void cancelWork();
    /// Lets an idle thread look at the queue again.
    void lookAtQueue();
    /// Returns when the thread has no task.
    void waitUntilIdle();

  private:
    void run();
    void paint(std::shared_ptr<PainterTask> task);
    [[nodiscard]] bool isOwnThread() const {
        return thread_.get_id() == std::this_thread::get_id();
    }

    PainterThreadPool& pool_;
    const int number_;

    std::mutex mutex_;              // guards the flags and task_
    std::condition_variable wake_;  // a flag was set
    std::condition_variable idle_;  // ongoing_ was cleared
    bool stop_ = false;
    bool ongoing_ = false;    ///< a task is assigned
    bool queueNews_ = false;  ///< the queue got a task when no thread was free
    /// Written under mutex_; the painter looks at it without, as a cheap poll.
    std::atomic<bool> cancel_ = false;
    std::shared_ptr<PainterTask> task_;

    /// Owner: this object; the destructor joins it. Runs run(): draws one task after another, and
    /// touches the task, the samples of its signal under their mutex, and the task's user.
    std::thread thread_;
};

/// A fixed number of threads that take tasks in the order in which they come. One owner thread adds
/// and cancels. Must be destroyed before the users of its tasks.
class PainterThreadPool {
  public:
    explicit PainterThreadPool(int threads);
    PainterThreadPool(const PainterThreadPool&) = delete;
    PainterThreadPool& operator=(const PainterThreadPool&) = delete;
    virtual ~PainterThreadPool();

    void addTask(std::shared_ptr<PainterTask> task);
    /// Drops all waiting tasks and cancels the running ones, without waiting. A task that was past
    /// its last look at the cancel flag still reaches its user, who knows it by its generation.
    void cancelAll();
    /// Returns when no thread has a task: after cancelAll a matter of a millisecond, and nobody
    /// looks at any sample any more.
    void waitUntilIdle();
    /// Gives the oldest waiting task to the thread of this number, which calls and holds its mutex.
    bool fetchNext(int threadNumber);

  private:
    bool hasWaiting();

    std::mutex queueMutex_;  // guards queue_
    std::deque<std::shared_ptr<PainterTask>> queue_;
    std::vector<std::unique_ptr<PainterThread>> threads_;
};

}  // namespace trelis
