#include "config/link/LinkSegment.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

constexpr int kSegmentProject = 'N';
constexpr int kSemaphoreProject = 'O';
constexpr int kSemaphoreCount = 2;  // only the first is used: 0 free, 1 taken
constexpr timespec kLockTimeout{1, 10000};

using Words = std::array<std::int64_t, sizeof(LinkRecord) / sizeof(std::int64_t)>;

[[noreturn]] void failWithErrno(const char* what) {
    reportFatal(std::string(what) + ": " + std::strerror(errno));
}

std::string ownPath() {
    constexpr std::size_t kLongest = 1023;
    std::array<char, kLongest> buffer;
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length <= 0) failWithErrno("could not read exec path");
    return {buffer.data(), static_cast<std::size_t>(length)};
}

}  // namespace

LinkSegment::LinkSegment(const std::string& path) {
    const std::string file = path.empty() ? ownPath() : path;
    openSemaphores(file);
    openSegment(file);
}

void LinkSegment::openSegment(const std::string& path) {
    const key_t key = ftok(path.c_str(), kSegmentProject);
    if (key == -1) failWithErrno("could not read exec path");
    shmId_ = shmget(key, sizeof(LinkRecord), IPC_CREAT | IPC_EXCL | 0666);
    if (shmId_ < 0) shmId_ = shmget(key, sizeof(LinkRecord), 0);
    if (shmId_ < 0) failWithErrno("shmget failed");
    shmid_ds facts{};
    if (shmctl(shmId_, IPC_STAT, &facts) == 0 && facts.shm_segsz < sizeof(LinkRecord)) {
        errno = EINVAL;
        failWithErrno("shmget failed");
    }
    void* const memory = shmat(shmId_, nullptr, 0);
    // The one pointer value by which shmat tells a failure.
    if (memory == std::bit_cast<void*>(std::intptr_t{-1}))
        failWithErrno("could not map shared mem into process");
    shared_ = memory;
}

void LinkSegment::openSemaphores(const std::string& path) {
    const key_t key = ftok(path.c_str(), kSemaphoreProject);
    if (key == -1) failWithErrno("could not read exec path");
    semId_ = semget(key, kSemaphoreCount, IPC_CREAT | 0660);
    if (semId_ < 0) failWithErrno("semget failed");
}

LinkSegment::~LinkSegment() {
    if (shared_ != nullptr) shmdt(shared_);
}

bool LinkSegment::lock() {
    std::array<sembuf, 2> waitAndTake{{{0, 0, 0}, {0, 1, 0}}};
    return semtimedop(semId_, waitAndTake.data(), waitAndTake.size(), &kLockTimeout) == 0;
}

void LinkSegment::unlock() {
    sembuf give{0, -1, IPC_NOWAIT};
    if (semop(semId_, &give, 1) != 0) failWithErrno("release semaphore failed");
}

// Word by word and atomically: whoever ignores the lock can spoil the content, not the program.
LinkRecord LinkSegment::load() const {
    auto& memory = *static_cast<Words*>(shared_);
    Words words;
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = std::atomic_ref(memory[i]).load(std::memory_order_relaxed);
    return std::bit_cast<LinkRecord>(words);
}

void LinkSegment::store(const LinkRecord& record) {
    const auto words = std::bit_cast<Words>(record);
    auto& memory = *static_cast<Words*>(shared_);
    for (std::size_t i = 0; i < words.size(); ++i)
        std::atomic_ref(memory[i]).store(words[i], std::memory_order_relaxed);
}

LinkSegment::Outcome LinkSegment::exchange(LinkRecord& local, Changes changes) {
    if (!lock()) return Outcome::kNotLocked;
    LinkRecord current = load();
    if (current.isBlank()) current = local;
    if (changes.view) current.copyViewFrom(local);
    if (changes.cursors) current.copyCursorsFrom(local);
    if (changes.view || changes.cursors) store(current);
    unlock();

    if (current == local) return Outcome::kSame;
    local = current;
    return Outcome::kDiffers;
}

}  // namespace trelis
