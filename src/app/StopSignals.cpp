#include "app/StopSignals.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace trelis {
namespace {

constexpr int kWakeUp = SIGUSR1;  // sent by the destructor to its own watcher
constexpr std::chrono::milliseconds kPatience{1500};

sigset_t watchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, kWakeUp);
    return signals;
}

}  // namespace

StopSignals::StopSignals(std::function<void()> stop) : stop_(std::move(stop)) {
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    watcher_ = std::thread([this] { watch(); });
    pthread_setname_np(watcher_.native_handle(), "StopSignals");
}

StopSignals::~StopSignals() {
    done_ = true;
    pthread_kill(watcher_.native_handle(), kWakeUp);
    watcher_.join();
}

int StopSignals::exitStatus() const {
    return received_ == 0 ? 0 : 128 + received_;
}

void StopSignals::watch() {
    const sigset_t signals = watchedSignals();
    int signal = 0;
    do {
        if (sigwait(&signals, &signal) != 0) return;
        if (done_) return;
    } while (signal == kWakeUp);
    received_ = signal;
    stop_();
    const timespec patience{kPatience.count() / 1000, kPatience.count() % 1000 * 1000000};
    const int again = sigtimedwait(&signals, nullptr, &patience);
    if (!done_ && (again > 0 || errno == EAGAIN)) ::_exit(exitStatus());
}

}  // namespace trelis
