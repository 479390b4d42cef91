#include "BlockWriter.h"

#include <lz4.h>
#include <lz4hc.h>

#include <stdexcept>
#include <utility>

namespace trelis::sim {

namespace {

constexpr std::size_t kHeadSize = 8;

template <typename Number>
void putLittleEndian(std::uint8_t* to, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}  // namespace

BlockWriter::BlockWriter(RecordFormat format, bool highCompression, Sink sink)
    : format_(format),
      highCompression_(highCompression),
      recordSize_(static_cast<std::size_t>(format)),
      sink_(std::move(sink)) {
    raw_.reserve(recordSize_ * kRecordsPerBlock);
    const int bound = LZ4_compressBound(static_cast<int>(recordSize_ * kRecordsPerBlock));
    packed_.resize(kHeadSize + static_cast<std::size_t>(bound));
}

void BlockWriter::add(std::uint32_t timestamp, const SimFrame& frame) {
    const std::size_t at = raw_.size();
    raw_.resize(at + recordSize_);
    std::uint8_t* record = raw_.data() + at;
    putLittleEndian(record, timestamp);
    putLittleEndian(record + 4, frame.id);
    record[8] = frame.length;
    putLittleEndian(record + 9, frame.data);
    if (format_ == RecordFormat::kNew18) record[17] = frame.interface;
    if (raw_.size() == recordSize_ * kRecordsPerBlock) flush();
}

void BlockWriter::flush() {
    if (raw_.empty()) return;
    const auto* source = reinterpret_cast<const char*>(raw_.data());
    auto* target = reinterpret_cast<char*>(packed_.data() + kHeadSize);
    const int length = static_cast<int>(raw_.size());
    const int room = static_cast<int>(packed_.size() - kHeadSize);
    const int packed = highCompression_
                           ? LZ4_compress_HC(source, target, length, room, LZ4HC_CLEVEL_MAX)
                           : LZ4_compress_default(source, target, length, room);
    if (packed <= 0) throw std::runtime_error("a block could not be compressed");
    putLittleEndian(packed_.data(), format_ == RecordFormat::kNew18 ? kMagicNew : kMagicOld);
    putLittleEndian(packed_.data() + 4, static_cast<std::uint32_t>(packed));
    raw_.clear();
    sink_(std::span(packed_.data(), kHeadSize + static_cast<std::size_t>(packed)));
}

}  // namespace trelis::sim
