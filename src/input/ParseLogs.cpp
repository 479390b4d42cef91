// The pass over all recordings: who waits for whom, and in which order things end.
#include <deque>
#include <exception>
#include <system_error>
#include <vector>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "input/LogFiles.h"
#include "input/LogParser.h"
#include "input/TimeAxis.h"
#include "input/stream/LittleEndian.h"
#include "model/Message.h"
#include "model/builtin/BitRate.h"

namespace trelis {
namespace {

constexpr double kProgressOfFiles = 242.25;  // 95 per cent of 255

using Parsers = std::deque<std::shared_ptr<LogParser>>;

// Ends all readers that are left, however the pass ends: message threads then leave, too. While it
// lives an interrupted run reaches them.
class ParserStopper {
  public:
    ParserStopper(Store& store, Parsers& parsers) : store_(store), parsers_(parsers) {
        store_.setPassStopper(
            [all = std::vector<std::weak_ptr<LogParser>>(parsers.begin(), parsers.end())] {
                for (const auto& weak : all)
                    if (const auto parser = weak.lock()) parser->stop();
            });
    }
    ParserStopper(const ParserStopper&) = delete;
    ParserStopper& operator=(const ParserStopper&) = delete;
    ~ParserStopper() {
        store_.setPassStopper({});
        for (const auto& parser : parsers_)
            parser->stop();
        parsers_.clear();
    }

  private:
    Store& store_;
    Parsers& parsers_;
};

void finishMessages(Store& store) {
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            message->finish();
}

// Waits for the messages' threads if the pass ends by an exception, in which case what their end
// has to say matters no more.
class MessageFinisher {
  public:
    explicit MessageFinisher(Store& store) : store_(store) {}
    MessageFinisher(const MessageFinisher&) = delete;
    MessageFinisher& operator=(const MessageFinisher&) = delete;
    ~MessageFinisher() {
        if (done_) return;
        try {
            finishMessages(store_);
        } catch (...) {  // NOLINT(bugprone-empty-catch): the first exception is on its way
        }
    }
    void finish() {
        done_ = true;
        finishMessages(store_);
    }

  private:
    Store& store_;
    bool done_ = false;
};

bool wantBitRates(Store& store) {
    bool wanted = false;
    for (std::size_t number = 0; number < store.bitRates.size(); ++number) {
        if (!store.bitRates[number] || !store.bitRates[number]->needsParse) continue;
        store.wantBitRates = wanted = true;
        store.interfaceMask |= 1U << (number % 32);
    }
    return wanted;
}

bool startMessageWorkers(Store& store, const Parsers& parsers) {
    const std::deque<std::shared_ptr<FrameSource>> sources(parsers.begin(), parsers.end());
    bool wanted = false;
    for (const auto& [number, interface] : store.interfaces) {
        for (const auto& [id, message] : interface->messages) {
            if (message->pendingCount == 0 || !message->startLogWorker(sources)) continue;
            wanted = true;
            if (number <= 32) store.interfaceMask |= 1U << (number % 32);
        }
    }
    return wanted;
}

void startReaders(const Parsers& parsers, std::size_t& started,
                  const std::shared_ptr<LogParser::Shared>& shared) {
    while (started < parsers.size() && parsers[started]->start(shared, false))
        ++started;
}

// Bus load and errors are counted over all messages together, so here, in the order of the file.
void feedOrdered(Store& store, const LogParser& parser) {
    Frame frame;
    for (const OrderedFrame& ordered : parser.orderedFrames()) {
        frame.id = ordered.id;
        frame.dlc = ordered.dlc;
        frame.interface = ordered.interface;
        storeLittleEndian(ordered.data, frame.data.data());
        frame.absoluteTime = parser.baseTime() + ordered.time;
        if ((frame.id & kErrorFrameFlag) == 0) {
            BitRate* rate = bitRateOf(store, frame.interface);
            if (rate != nullptr && rate->needsParse) rate->addFrame(frame.absoluteTime, frame);
        } else if (store.wantErrors) {
            CanIface* statistics = store.findActiveInterface(frame.interface + kStatisticsOffset);
            Message* errors = statistics == nullptr ? nullptr : statistics->findActive(1);
            if (errors != nullptr && errors->pendingCount != 0)
                errors->postFrame(frame, frame.absoluteTime);
        }
    }
}

void setTimeBase(Store& store, std::uint64_t base, std::uint64_t lastTime) {
    const bool changed = store.timeBase.exchange(base) != base;
    if (changed && store.hooks.timeBaseListener) store.hooks.timeBaseListener(lastTime, base);
}

// Writes a file's frames as they are read, following the counter frame by frame.
void dumpFile(Store& store, LogParser& parser) {
    AscWriter& writer = store.ascDump->writer();
    std::uint64_t base = store.timeBase;
    std::uint64_t last = store.parseLastTime;
    bool placed = false;
    while (auto block = parser.nextBlock()) {
        const std::size_t size = block->recordSize;
        const std::uint8_t* record = block->records.data();
        for (std::size_t left = block->length; left >= size; left -= size, record += size) {
            const auto timestamp = loadLittleEndian<std::uint32_t>(record);
            if (!placed) [[unlikely]] {
                if (base == 0) store.parseFirstTime = parser.startTime();
                base = placeFile(parser.startTime(), timestamp, base, last);
                placed = true;
            }
            if (isBefore(base + timestamp, last)) [[unlikely]] {
                report(Level::kWarning,
                       format("can message timestamp has overflowed (%u)\n", timestamp));
                base += kCounterOverflowMs;
            }
            last = base + timestamp;
            writer.write(loadLittleEndian<std::uint32_t>(record + 4), record[8],
                         loadLittleEndian<std::uint64_t>(record + 9),
                         size > 17 ? record[17] : std::uint8_t{0}, last);
        }
        parser.recycleBlock(std::move(block));
        if (!store.dumpToFile) writer.flushIfLate();
    }
    store.parseLastTime = last;
    setTimeBase(store, base, last);
}

// Decodes a file's frames, once it is read.
void decodeFile(Store& store, LogParser& parser) {
    std::uint64_t first = store.parseFirstTime;
    std::uint64_t last = store.parseLastTime;
    const std::uint64_t base = parser.fixTimestamps(store.timeBase, first, last);
    store.parseFirstTime = first;
    store.parseLastTime = last;
    setTimeBase(store, base, last);
    feedOrdered(store, parser);
}

// Gathers what could not be read, to be told once: a logger that loses power leaves a cut block in
// every file.
class Damage {
  public:
    void note(const LogParser& parser) {
        const auto offset = parser.damagedBehind();
        if (!offset) return;
        if (count_++ == 0)
            first_ = format("%s behind byte %llu", parser.path().c_str(),
                            static_cast<unsigned long long>(*offset));
    }
    void tell() const {
        if (count_ == 0) return;
        report(
            Level::kWarning,
            format(
                "%zu damaged or cut off log file%s, all frames before the damage were read: %s%s",
                count_, count_ == 1 ? "" : "s", first_.c_str(), count_ == 1 ? "" : ", ..."));
    }

  private:
    std::size_t count_ = 0;
    std::string first_;
};

// Takes the files in order of start time as they come in.
void followFiles(Store& store, Parsers& parsers, const std::shared_ptr<LogParser::Shared>& shared) {
    std::size_t started = 0;
    startReaders(parsers, started, shared);
    Damage damage;
    const double step = kProgressOfFiles / static_cast<double>(parsers.size());
    for (std::size_t done = 1; !parsers.empty(); ++done) {
        const std::shared_ptr<LogParser> parser = parsers.front();
        if (shared->keepBlocks) dumpFile(store, *parser);
        if (!parser->waitUntilFileDone() || !store.running) break;
        if (!shared->keepBlocks) decodeFile(store, *parser);
        damage.note(*parser);
        parsers.pop_front();
        --started;
        startReaders(parsers, started, shared);
        store.progress = static_cast<std::int32_t>(step * static_cast<double>(done));
        if (!store.dumpToFile) store.emitStatus();
    }
    damage.tell();
}

void takeBounds(Store& store) {
    store.firstTime = std::min(store.firstTime.load(), store.parseFirstTime.load());
    store.lastTime = std::max(store.lastTime.load(), store.parseLastTime.load());
    if (store.intervalSet) return;
    store.intervalStart = store.firstTime.load();
    store.intervalEnd = store.lastTime.load();
}

Parsers makeParsers(const Store& store) {
    Parsers parsers;
    for (const auto& [path, start] : store.logFilesByStart)
        parsers.push_back(LogParser::create(path, static_cast<std::uint64_t>(start)));
    return parsers;
}

void resetParse(Store& store) {
    store.timeBase = 0;
    store.parseFirstTime = Store::kNoTime;
    store.parseLastTime = 0;
}

// Clears the request for a dump whatever happens, so that one that failed does not block the next.
struct DumpRequest {
    Store& store;
    explicit DumpRequest(Store& owner) : store(owner) {}
    DumpRequest(const DumpRequest&) = delete;
    DumpRequest& operator=(const DumpRequest&) = delete;
    ~DumpRequest() {
        store.ascDump.reset();
        store.dumpToFile = false;
    }
};

bool beginDump(Store& store) {
    try {
        store.ascDump = std::make_shared<AscDump>(store);
        return true;
    } catch (const std::system_error& error) {
        report(Level::kWarning, format("Could not open %s, %s", store.dumpPath.c_str(),
                                       error.code().message().c_str()));
        return false;
    }
}

void dumpLogs(Store& store) {
    const DumpRequest request(store);
    const bool toFile = store.dumpToFile;
    if (!beginDump(store)) return;
    LogParser::resetCounters();
    Parsers parsers = makeParsers(store);
    {
        const ParserStopper stopper(store, parsers);
        followFiles(store, parsers, std::make_shared<LogParser::Shared>(store, true));
    }
    const bool begun = store.ascDump->writer().isBegun();
    try {
        store.ascDump->commit();
    } catch (const std::system_error& error) {
        if (!toFile) throw;
        report(Level::kWarning, format("Could not open %s, %s", store.dumpPath.c_str(),
                                       error.code().message().c_str()));
        return;
    }
    takeBounds(store);
    if (!toFile) return;
    report(Level::kInfo, begun ? format("Data written to %s", store.dumpPath.c_str())
                               : std::string("No data in selected interval"));
    store.dumpToFile = false;
    store.recount();
    store.emitData();
}

void decodeLogs(Store& store) {
    if (store.counts.pendingCount == 0) return;
    resetParse(store);
    store.buildActiveMaps();
    bool wanted = wantBitRates(store);
    LogParser::resetCounters();
    Parsers parsers = makeParsers(store);
    MessageFinisher finisher(store);
    {
        const ParserStopper stopper(store, parsers);
        wanted = startMessageWorkers(store, parsers) || wanted;
        if (wanted && !parsers.empty()) {
            followFiles(store, parsers, std::make_shared<LogParser::Shared>(store, false));
            takeBounds(store);
        }
    }
    // A computation that fails must not hide what was read.
    std::exception_ptr failure;
    try {
        finisher.finish();
    } catch (...) {
        failure = std::current_exception();
    }
    for (const auto& rate : store.bitRates)
        if (rate) rate->flushSamples();
    store.progress = -1;
    store.emitStatus();
    store.recount();
    store.emitData();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace

void parseLogs(Store& store) {
    store.wantBitRates = false;
    store.wantErrors = false;
    store.interfaceMask = 0;
    if (store.dumpAsc || store.dumpToFile) {
        resetParse(store);
        dumpLogs(store);
    } else {
        decodeLogs(store);
    }
}

}  // namespace trelis
