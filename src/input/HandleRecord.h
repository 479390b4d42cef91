// Takes the records of running inputs into the system and keeps their time axis rising.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trelis {

class BitRate;
class Message;
class Store;
class StoredFrame;
struct Frame;

/// Makes the record's time absolute and hands it to the dump, or to the bus load and the message
/// that want it. Uses the Store's active maps, which must be up to date. A decoding that fails is
/// told at WRN and costs this record. Store worker only.
///
/// The time is Store::timeBase plus the record's 32-bit clock in ms. A clock that falls back is
/// taken for its overflow, at WRN; Store::nextFileStart announces the start time of the next
/// record, by which the base is set anew unless it fits already.
void handleRecord(Store& store, const Frame& record);

/// handleRecord for many records at a time, in the order of their arrival: frames of one message
/// are decoded together, by flush. Dumps, bus loads and errors are served at once. Store worker
/// only.
class RecordBatch {
  public:
    explicit RecordBatch(Store& store);

    /// Takes the records of a block, each of `recordSize` bytes (see StreamCodec); bytes behind the
    /// last whole one are ignored.
    void add(std::span<const std::uint8_t> records, std::size_t recordSize);
    /// Decodes what was added. A decoding that fails costs the message its frames since the last
    /// flush.
    void flush();

  private:
    struct Record;
    /// Where the frames of one id and interface go.
    struct Route {
        std::uint64_t key = 0;  // of routeKey; 0 for none
        BitRate* busLoad = nullptr;
        Message* receiver = nullptr;
        std::vector<StoredFrame>* held = nullptr;  // of a receiver that decodes them by and by
    };

    void take(const Record& record);
    [[nodiscard]] std::uint64_t routeKey(const Record& record) const;
    const Route& routeOf(const Record& record);

    Store& store_;
    std::vector<Message*> holders_;  // messages with frames to decode, in order of the first one
    // What was looked up since the last flush: who wants a message may change by then.
    std::vector<Route> routes_;
    std::uint64_t lookUps_ = 1;  // number of the flush, which tells old routes
};

/// Forgets where the time axis stands; the next record sets a new base.
void resetTimeAxis(Store& store);

/// Widens the parse's bounds to the times that came, and the shown interval with them unless the
/// user set one. Ends an input that used handleRecord. Emits dataChanged.
void finishTimeAxis(Store& store);

}  // namespace trelis
