#include "input/LogParser.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "app/diagnostics/Report.h"
#include "input/TimeAxis.h"
#include "input/stream/LittleEndian.h"
#include "input/stream/StreamCodec.h"
#include "model/Frame.h"

namespace trelis {

std::int32_t parserThreadLimit = -1;

namespace {

constexpr std::int32_t kUnknownThreads = 20;
// Frames from one to the one after the next cache line.
constexpr std::ptrdiff_t kPrefetchFrames = 8;
// Blocks of one file that wait for the dump: few enough to stay in the processor's cache.
constexpr std::size_t kMostBlocks = 64;

// The gate through which all parsers of the process pass: files are begun strictly in order, and
// at most twice the thread limit of them are held in memory.
struct Gate {
    std::mutex mutex;  // guards all below and parserThreadLimit
    std::condition_variable condition;
    std::uint64_t nextSequence = 0;   // given to the next parser made
    std::uint64_t nextToRead = 0;     // allowed to start reading
    std::uint64_t hasData = 0;        // begun and not yet destroyed
    std::uint64_t runningTreads = 0;  // in their reading phase
};

Gate& gate() {
    static Gate instance;
    return instance;
}

std::uint64_t threadLimit() {
    if (parserThreadLimit == -1) {
        const unsigned hardware = std::thread::hardware_concurrency();
        parserThreadLimit = hardware == 0 ? kUnknownThreads : static_cast<std::int32_t>(hardware);
    }
    return static_cast<std::uint64_t>(std::max(parserThreadLimit, 1));
}

std::uint64_t takeSequence() {
    const std::lock_guard lock(gate().mutex);
    return gate().nextSequence++;
}

struct FileCloser {
    int descriptor;
    explicit FileCloser(int open) : descriptor(open) {}
    FileCloser(const FileCloser&) = delete;
    FileCloser& operator=(const FileCloser&) = delete;
    ~FileCloser() { ::close(descriptor); }
};

}  // namespace

LogParser::LogParser(std::string path, std::uint64_t startTime)
    : path_(std::move(path)), startTime_(startTime), sequence_(takeSequence()) {}

LogParser::~LogParser() {
    stop();
    if (thread_.joinable()) thread_.join();
    for (Group& group : groups_)
        for (auto& chunk : group.chunks)
            shared_->chunks.giveBack(std::move(chunk));
    for (auto& block : blocks_)
        shared_->blocks.giveBack(std::move(block));
    const std::lock_guard lock(gate().mutex);
    if (!counted_) return;
    --gate().hasData;
    gate().condition.notify_all();
}

void LogParser::resetCounters() {
    std::uint64_t hasData = 0;
    std::uint64_t running = 0;
    {
        const std::lock_guard lock(gate().mutex);
        hasData = gate().hasData;
        running = gate().runningTreads;
        if (hasData == 0 && running == 0) gate().nextSequence = gate().nextToRead = 0;
    }
    if (hasData != 0) reportFatal(format("hasData: %li", static_cast<long>(hasData)));
    if (running != 0) reportFatal(format("runningTreads: %li", static_cast<long>(running)));
}

std::shared_ptr<LogParser> LogParser::create(const std::string& path, std::uint64_t startTime) {
    return std::make_shared<LogParser>(path, startTime);
}

bool LogParser::takeSlot(bool wait) {
    std::unique_lock lock(gate().mutex);
    const auto isFree = [] { return gate().runningTreads < threadLimit(); };
    if (wait) gate().condition.wait(lock, [&] { return isFree() || abort_; });
    if (!isFree() || abort_) return false;
    ++gate().runningTreads;
    return true;
}

bool LogParser::start(const std::shared_ptr<Shared>& shared, bool wait) {
    if (thread_.joinable()) reportFatal("thread already created");
    if (!takeSlot(wait)) return false;
    shared_ = shared;
    groups_.resize(shared->filter.groupCount());
    thread_ = std::thread([this] { runReader(); });
    pthread_setname_np(thread_.native_handle(), "LogParser");
    return true;
}

// The read thread: waits for its turn, reads and filters the file, and gives its slot back however
// it ends. It touches nothing but this parser and the gate.
void LogParser::runReader() {
    bool turn = false;
    {
        std::unique_lock lock(gate().mutex);
        gate().condition.wait(lock, [this] {
            return abort_ || (gate().hasData < 2 * threadLimit() && gate().nextToRead == sequence_);
        });
        if (!abort_) {
            turn = true;
            counted_ = true;
            ++gate().hasData;
            ++gate().nextToRead;
            gate().condition.notify_all();
        }
    }
    if (turn) {
        try {
            readFile();
        } catch (const std::exception& error) {
            report(Level::kError, format("Exception: %s", error.what()));
        }
    }
    {
        const std::lock_guard lock(gate().mutex);
        --gate().runningTreads;
        gate().condition.notify_all();
    }
    const std::lock_guard lock(fileMutex_);
    fileDone_ = turn;
    fileCondition_.notify_all();
}

void LogParser::readFile() {
    const int descriptor = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        report(Level::kWarning, format("Could not open log file %s, skipping\n", path_.c_str()));
        return;
    }
    const FileCloser closer(descriptor);
    readBlocks(descriptor);
}

void LogParser::readBlocks(int descriptor) {
    StreamCodec codec;
    initStreamCodec(codec, 1);
    std::uint64_t position = 0;
    for (int newlines = 0; newlines < 2; ++position) {
        std::uint8_t byte = 0;
        if (readFully(codec, descriptor, {&byte, 1}) != kStreamDone) {
            report(Level::kWarning, format("Could not find header of file: %s\n", path_.c_str()));
            return;
        }
        if (byte == '\n') ++newlines;
    }
    std::unique_ptr<RecordBlock> block = shared_->blocks.take();
    while (!abort_) {
        std::int32_t length = 0;
        const int result = readBlockInto(codec, descriptor, block->records, length);
        if (result != kStreamBlock) {
            struct stat status {};
            const bool cut = result == kStreamEnd && ::fstat(descriptor, &status) == 0 &&
                             position < static_cast<std::uint64_t>(status.st_size);
            if (cut || result == kStreamError) damagedBehind_ = position;
            break;
        }
        position += kBlockHeadSize + static_cast<std::uint64_t>(codec.inLength);
        recordSize_ = static_cast<std::size_t>(codec.recordSize);
        block->recordSize = static_cast<std::uint32_t>(codec.recordSize);
        block->length = static_cast<std::uint32_t>(length);
        if (shared_->keepBlocks) {
            keepBlock(std::move(block));
            block = shared_->blocks.take();
        } else {
            filterBlock(block->records.data(), block->length);
        }
    }
    shared_->blocks.giveBack(std::move(block));
}

inline std::uint64_t LogParser::follow(std::uint32_t timestamp) {
    if (firstFrame_) {
        firstFrame_ = false;
        firstTimestamp_ = timestamp;
    } else if (timestamp < lastTimestamp_) [[unlikely]] {
        overflowed_ += kCounterOverflowMs;
        overflows_.push_back(timestamp);
    }
    lastTimestamp_ = timestamp;
    return timestamp + overflowed_;
}

void LogParser::keepBlock(std::unique_ptr<RecordBlock> block) {
    std::unique_lock lock(fileMutex_);
    fileCondition_.wait(lock, [this] { return blocks_.size() < kMostBlocks || abort_; });
    blocks_.push_back(std::move(block));
    fileCondition_.notify_all();
}

std::unique_ptr<RecordBlock> LogParser::nextBlock() {
    std::unique_lock lock(fileMutex_);
    fileCondition_.wait(lock, [this] { return !blocks_.empty() || fileDone_ || abort_; });
    if (blocks_.empty() || abort_) return nullptr;
    std::unique_ptr<RecordBlock> block = std::move(blocks_.front());
    blocks_.pop_front();
    fileCondition_.notify_all();
    return block;
}

void LogParser::recycleBlock(std::unique_ptr<RecordBlock> block) {
    shared_->blocks.giveBack(std::move(block));
}

void LogParser::growGroup(Group& group) {
    group.chunks.push_back(shared_->chunks.take());
    group.next = group.chunks.back()->frames.data();
    group.end = group.next + FrameChunk::kCapacity;
}

inline void LogParser::keepFrame(const std::uint8_t* record, LogFilter::Verdict verdict) {
    const std::uint64_t time = follow(loadLittleEndian<std::uint32_t>(record));
    const auto data = loadLittleEndian<std::uint64_t>(record + 9);
    if (verdict.keep != LogFilter::Keep::kOrder) {
        Group& group = groups_[verdict.group];
        if (group.next == group.end) [[unlikely]]
            growGroup(group);
        // A hundred messages take turns, more than the processor follows by itself: the line that
        // comes next in this group is asked for while the frames of the others are kept.
        __builtin_prefetch(group.next + kPrefetchFrames, 1);
        *group.next++ = StoredFrame(time, record[8], data);
    }
    if (verdict.keep != LogFilter::Keep::kGroup) {
        const std::uint8_t interface = recordSize_ > 17 ? record[17] : std::uint8_t{0};
        ordered_.push_back(
            {time, data, loadLittleEndian<std::uint32_t>(record + 4), record[8], interface});
    }
}

void LogParser::filterBlock(const std::uint8_t* records, std::size_t length) {
    const std::size_t size = recordSize_;
    const bool hasInterface = size > 17;
    const LogFilter& filter = shared_->filter;
    for (const std::uint8_t* record = records; length >= size; record += size, length -= size) {
        const auto verdict = filter.check(loadLittleEndian<std::uint32_t>(record + 4),
                                          hasInterface ? record[17] : 0U);
        if (verdict.keep != LogFilter::Keep::kNothing)
            keepFrame(record, verdict);
        else if (firstFrame_)
            follow(loadLittleEndian<std::uint32_t>(record));  // it anchors the time base
    }
}

bool LogParser::waitUntilFileDone() {
    std::unique_lock lock(fileMutex_);
    fileCondition_.wait(lock, [this] { return fileDone_ || abort_; });
    return fileDone_;
}

bool LogParser::waitUntilFramesReady() {
    std::unique_lock lock(readyMutex_);
    readyCondition_.wait(lock, [this] { return framesReady_ || abort_; });
    return framesReady_;
}

std::uint64_t placeFile(std::uint64_t startTime, std::uint32_t firstTimestamp, std::uint64_t base,
                        std::uint64_t lastTime) {
    const bool goesOn = base != 0 && baseGoesOn(base, firstTimestamp, startTime, lastTime);
    return goesOn ? base : baseFor(firstTimestamp, startTime, lastTime);
}

std::uint64_t LogParser::fixTimestamps(std::uint64_t base, std::uint64_t& firstTime,
                                       std::uint64_t& lastTime) {
    if (!firstFrame_) {
        if (base == 0) firstTime = startTime_;
        base = placeFile(startTime_, firstTimestamp_, base, lastTime);
        baseTime_ = base;
        for (const std::uint32_t timestamp : overflows_)
            report(Level::kWarning,
                   format("can message timestamp has overflowed (%u)\n", timestamp));
        base += overflowed_;
        lastTime = base + lastTimestamp_;
    }
    const std::lock_guard lock(readyMutex_);
    framesReady_ = true;
    readyCondition_.notify_all();
    return base;
}

void LogParser::stop() {
    abort_ = true;
    // Each lock is taken and left before the wake-up, so that a waiter between its look at the flag
    // and its sleep is not missed.
    { const std::lock_guard lock(readyMutex_); }
    readyCondition_.notify_all();
    { const std::lock_guard lock(fileMutex_); }
    fileCondition_.notify_all();
    { const std::lock_guard lock(gate().mutex); }
    gate().condition.notify_all();
}

void LogParser::takeRuns(std::uint32_t interface, std::uint32_t id, const RunConsumer& consume) {
    if (!shared_) return;
    const std::uint32_t number = shared_->filter.find(id, interface);
    if (number == LogFilter::kNoGroup || number >= groups_.size()) return;
    Group& group = groups_[number];
    for (auto& chunk : group.chunks) {
        const bool last = &chunk == &group.chunks.back();
        const std::size_t left = last ? static_cast<std::size_t>(group.end - group.next) : 0;
        consume(std::span(chunk->frames).first(FrameChunk::kCapacity - left), baseTime_);
        shared_->chunks.giveBack(std::move(chunk));
    }
    group.chunks.clear();
}

}  // namespace trelis
