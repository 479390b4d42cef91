#include "app/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "app/store/Store.h"

namespace trelis {
namespace {

constexpr std::chrono::milliseconds kPeriod{200};
constexpr int kWholeProgress = 255;

}  // namespace

ProgressLine::ProgressLine(const Store& store) : store_(store), thread_([this] { follow(); }) {}

ProgressLine::~ProgressLine() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

bool ProgressLine::isWelcome(bool askedFor) {
    return ::isatty(STDERR_FILENO) != 0 && (askedFor || ::isatty(STDOUT_FILENO) == 0);
}

void ProgressLine::follow() {
    bool shown = false;
    std::unique_lock lock(mutex_);
    // The cursor goes back to where a message then begins, on top of the line instead of behind it.
    while (!changed_.wait_for(lock, kPeriod, [this] { return ended_; })) {
        if (store_.liveMode) {
            const unsigned long long frames = store_.framesRead;
            std::fprintf(stderr, "\033[K%llu frames read\r", frames);
        } else {
            const int percent = std::max(store_.progress.load(), 0) * 100 / kWholeProgress;
            std::fprintf(stderr, "\033[KReading: %d %%\r", percent);
        }
        std::fflush(stderr);
        shown = true;
    }
    if (shown) std::fputs("\033[K", stderr);
}

}  // namespace trelis
