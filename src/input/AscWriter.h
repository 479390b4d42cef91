// Writes frames as ASC text lines, to standard output or to a file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "model/Frame.h"

namespace trelis {

class Store;

/// One dump. It belongs to the thread of the input that feeds it. Lines gather in a buffer of
/// 256 KiB; the unchanging parts of a line are kept from the last line that had them.
class AscWriter {
  public:
    /// Writes to a descriptor that stays the caller's.
    AscWriter(const Store& store, int descriptor);
    AscWriter(const AscWriter&) = delete;
    AscWriter& operator=(const AscWriter&) = delete;
    ~AscWriter() = default;

    /// Writes one frame unless it is none that a trace shows. `time`: absolute, ms.
    void write(std::uint32_t id, std::uint8_t dlc, std::uint64_t data, std::uint8_t interface,
               std::uint64_t time);
    /// Hands over what is buffered. std::system_error if it cannot be written.
    void flush();
    /// The same if the last time was more than a second ago.
    void flushIfLate();
    /// Whether any frame came, so that the heading is written.
    [[nodiscard]] bool isBegun() const { return begun_; }

  private:
    struct Head {  // " 1 123x Rx d 8" of one id, length and interface
        std::uint64_t key = ~std::uint64_t{0};
        std::uint32_t length = 0;
        std::array<char, 32> text{};
    };
    static constexpr std::size_t kHeads = 4096;
    static constexpr std::size_t kBufferBytes = 256 * 1024;
    static constexpr std::size_t kLongestLine = 256;

    void writeHeading(std::uint64_t time);
    void beginSecond(std::uint64_t time);
    static void fillHead(Head& head, std::uint64_t key, std::uint32_t id, unsigned length,
                         std::uint8_t interface);

    const Store& store_;
    const int descriptor_;
    const bool toFile_;
    const bool dates_;
    bool begun_ = false;
    std::uint64_t startTime_ = 0;  // whole second of the first frame, ms
    // The text of a time up to its milliseconds, and the absolute time in ms that it stands for.
    std::uint64_t second_ = ~std::uint64_t{0} - 1000;
    std::size_t secondLength_ = 0;
    std::array<char, 48> secondText_{};
    std::vector<char> buffer_;
    char* next_;
    std::int64_t flushedAt_;  // s
    std::unique_ptr<std::array<Head, kHeads>> heads_;
};

/// The dump that runs: its writer and, for a dump to a file, the file that is written beside the
/// one wanted and takes its place when it is whole. Dropped earlier it leaves nothing behind.
class AscDump {
  public:
    /// std::system_error if the file cannot be made.
    explicit AscDump(const Store& store);
    AscDump(const AscDump&) = delete;
    AscDump& operator=(const AscDump&) = delete;
    ~AscDump();

    AscWriter& writer() { return *writer_; }
    /// Writes the rest and puts the file under its name. std::system_error if that fails.
    void commit();

  private:
    std::string path_;
    std::string beside_;  // empty on standard output
    int descriptor_ = 1;
    std::unique_ptr<AscWriter> writer_;
};

/// Hands a record of any input to the dump that runs, begun with the first record. `time`:
/// absolute, ms. std::system_error if nothing can be written.
void writeAscRecord(Store& store, const Frame& record, std::uint64_t time);

}  // namespace trelis
