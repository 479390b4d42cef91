// The reader of one recording file on a thread of its own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "input/FrameChunks.h"
#include "input/LogFilter.h"
#include "model/FrameSource.h"

namespace trelis {

/// How many files may be read at once; -1: not decided yet. Main thread, before a parse.
extern std::int32_t parserThreadLimit;

/// A frame that something reads in the order of the file.
struct OrderedFrame {
    std::uint64_t time = 0;  ///< as StoredFrame::time
    std::uint64_t data = 0;
    std::uint32_t id = 0;
    std::uint8_t dlc = 0;
    std::uint8_t interface = 0;
};

/// Where a file lies on the time axis, in ms: the base that its time stamps are added to. `base`
/// and `lastTime` are those of the files before it, both 0 at the first one.
std::uint64_t placeFile(std::uint64_t startTime, std::uint32_t firstTimestamp, std::uint64_t base,
                        std::uint64_t lastTime);

/// From waiting for its turn over reading, file done and frames ready to destroyed. The read thread
/// alone writes the frames until the file is done, the Store's worker places them in time, and then
/// the message threads take them. Destroying it frees what it holds and lets the next file start.
class LogParser : public FrameSource {
  public:
    /// What all parsers of a parse share.
    struct Shared {
        Shared(const Store& store, bool keepWholeBlocks)
            : filter(store), keepBlocks(keepWholeBlocks) {}

        const LogFilter filter;
        Pool<FrameChunk> chunks;
        Pool<RecordBlock> blocks;
        const bool keepBlocks;  ///< keep whole blocks instead of filtering
    };

    LogParser(std::string path, std::uint64_t startTime);
    LogParser(const LogParser&) = delete;
    LogParser& operator=(const LogParser&) = delete;
    ~LogParser() override;

    /// ERR and PrintMsgError while parsers of an earlier parse are alive.
    static void resetCounters();
    static std::shared_ptr<LogParser> create(const std::string& path, std::uint64_t startTime);

    /// Starts the read thread if one of the parserThreadLimit slots is free, or waits for one.
    /// ERR and PrintMsgError at a second start.
    bool start(const std::shared_ptr<Shared>& shared, bool wait);
    /// Blocks until the file is read or stop() was called; whether it is read.
    bool waitUntilFileDone();
    bool waitUntilFramesReady() override;
    /// Puts the frames behind `lastTime`: all times in ms. Moves `firstTime` and `lastTime`, raises
    /// the ready flag and returns the new base. Store worker only, in order of start time.
    std::uint64_t fixTimestamps(std::uint64_t base, std::uint64_t& firstTime,
                                std::uint64_t& lastTime);
    /// Ends reading and waiting. Any thread.
    void stop();

    void takeRuns(std::uint32_t interface, std::uint32_t id, const RunConsumer& consume) override;

    /// Offset in the file behind which it could not be read, if it is damaged or cut off inside a
    /// block; once the file is done.
    [[nodiscard]] std::optional<std::uint64_t> damagedBehind() const { return damagedBehind_; }
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::uint64_t startTime() const { return startTime_; }

    /// Frames for bus load and errors; complete once the file is done.
    [[nodiscard]] const std::vector<OrderedFrame>& orderedFrames() const { return ordered_; }
    /// With keepBlocks: the next block in file order, as soon as it is read; empty behind the last
    /// one, or when the parse is stopped. Store worker only, which gives it to recycleBlock.
    std::unique_ptr<RecordBlock> nextBlock();
    void recycleBlock(std::unique_ptr<RecordBlock> block);
    /// Absolute time of a frame's time(); once the frames are ready.
    [[nodiscard]] std::uint64_t baseTime() const { return baseTime_; }

  private:
    /// The frames of one message. The place of the next one is kept beside the chunks: finding it
    /// costs one look.
    struct Group {
        StoredFrame* next = nullptr;
        StoredFrame* end = nullptr;
        std::vector<std::unique_ptr<FrameChunk>> chunks;
    };

    bool takeSlot(bool wait);
    void runReader();
    void readFile();
    void readBlocks(int descriptor);
    void filterBlock(const std::uint8_t* records, std::size_t length);
    void keepBlock(std::unique_ptr<RecordBlock> block);
    void keepFrame(const std::uint8_t* record, LogFilter::Verdict verdict);
    void growGroup(Group& group);
    /// Follows the counter of a kept record and gives its time(), overflows added.
    std::uint64_t follow(std::uint32_t timestamp);

    const std::string path_;
    const std::uint64_t startTime_;  // ms since the epoch
    const std::uint64_t sequence_;
    std::shared_ptr<Shared> shared_;  // set by start()
    std::thread thread_;              // owner: this object; joined by the destructor
    bool counted_ = false;            // in the number of parsers with data; guarded by the gate

    // Written by the read thread only, until the file is done.
    bool firstFrame_ = true;
    std::uint32_t firstTimestamp_ = 0;
    std::uint32_t lastTimestamp_ = 0;
    std::uint64_t overflowed_ = 0;          // ms that overflows of the counter add
    std::vector<std::uint32_t> overflows_;  // the time stamps at which it overflowed
    std::vector<Group> groups_;             // each is taken by one message thread
    std::vector<OrderedFrame> ordered_;
    std::size_t recordSize_ = 18;  // of the block that is filtered
    std::optional<std::uint64_t> damagedBehind_;

    std::mutex fileMutex_;                   // guards fileDone_ and blocks_
    std::condition_variable fileCondition_;  // woken when one of them changes
    bool fileDone_ = false;
    std::deque<std::unique_ptr<RecordBlock>> blocks_;  // read and not taken yet

    std::mutex readyMutex_;  // guards framesReady_
    std::condition_variable readyCondition_;
    bool framesReady_ = false;
    std::uint64_t baseTime_ = 0;  // written before framesReady_

    std::atomic<bool> abort_ = false;
};

}  // namespace trelis
