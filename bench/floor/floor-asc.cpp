// floor-asc FILES...: unpacks every block and prints each frame as a line of an ASC trace, byte for
// byte what sigmira -o prints for files that follow each other in time and count from 0.
#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>

#include "LogBlocks.h"

namespace floors = trelis::floors;

namespace {

/// " 1 123 Rx d 8": the part of a line that one message has in common.
struct Middle {
    std::uint32_t id = 0;
    std::uint32_t tag = ~0U;  ///< interface and length
    std::uint8_t size = 0;
    std::array<char, 31> text{};
};

class AscPrinter {
  public:
    AscPrinter() {
        for (unsigned i = 0; i < 256; ++i)
            std::snprintf(bytes_[i].data(), 4, " %02X", i);
        for (unsigned i = 0; i < 1000; ++i)
            std::snprintf(milliseconds_[i].data(), 5, "%03u0", i);
    }

    void print(std::uint64_t timeMs, floors::RecordView record) {
        constexpr std::uint32_t kNoData = 0x60000000;  // error frames and remote frames
        if ((record.id() & kNoData) != 0 || record.interface() == 255) return;
        if (start_ == 0) begin(timeMs);
        if (static_cast<std::size_t>(at_ - out_->data()) > kChunk) flush();
        const std::uint64_t time = timeMs - start_;
        if (time / 1000 != second_) newSecond(time / 1000);
        std::memcpy(at_, secondText_.data(), secondText_.size());
        at_ += secondSize_;
        std::memcpy(at_, milliseconds_[time - second_ * 1000].data(), 4);
        at_ += 4;
        const unsigned length = record.length() > 8 ? 8 : record.length();
        const Middle& middle = middleOf(record.id(), record.interface(), length);
        std::memcpy(at_, middle.text.data(), 24);
        at_ += middle.size;
        std::uint64_t data = record.data();
        for (unsigned i = 0; i < 8; ++i, data >>= 8)
            std::memcpy(at_ + 3 * i, bytes_[data & 0xFF].data(), 4);
        at_ += 3 * length;
        *at_++ = '\n';
    }

    void flush() {
        for (const char* from = out_->data(); from < at_;) {
            const ssize_t written =
                write(STDOUT_FILENO, from, static_cast<std::size_t>(at_ - from));
            if (written < 0) floors::die("cannot be written", "standard output");
            from += written;
        }
        at_ = out_->data();
    }

  private:
    static constexpr std::size_t kChunk = 256 * 1024;
    static constexpr std::size_t kLongestLine = 256;

    void begin(std::uint64_t timeMs) {
        const auto seconds = static_cast<std::time_t>(timeMs / 1000);
        tm date{};
        gmtime_r(&seconds, &date);
        at_ += std::strftime(at_, kLongestLine, "date %a %b %d %H:%M:%S.000 ", &date);
        at_ += std::snprintf(at_, kLongestLine, "%s ", date.tm_hour < 12 ? "am" : "pm");
        at_ += std::strftime(at_, kLongestLine, "%Y\n", &date);
        at_ += std::snprintf(at_, kLongestLine, "base hex  timestamps absolute\n");
        start_ = timeMs / 1000 * 1000;
    }

    void newSecond(std::uint64_t second) {
        second_ = second;
        secondSize_ = std::snprintf(secondText_.data(), secondText_.size(), "%llu.",
                                    static_cast<unsigned long long>(second));
    }

    const Middle& middleOf(std::uint32_t id, unsigned interface, unsigned length) {
        const std::uint32_t tag = interface << 8 | length;
        Middle& middle = middles_[((id ^ (tag << 20)) * 2654435769U) >> 20];
        if (middle.id == id && middle.tag == tag) return middle;
        middle.id = id;
        middle.tag = tag;
        middle.size = static_cast<std::uint8_t>(
            std::snprintf(middle.text.data(), middle.text.size(), " %u %X%s Rx d %u", interface + 1,
                          id & 0x1FFFFFFF, id >> 31 ? "x" : "", length));
        return middle;
    }

    std::unique_ptr<std::array<char, kChunk + 2 * kLongestLine>> out_ =
        std::make_unique<std::array<char, kChunk + 2 * kLongestLine>>();
    char* at_ = out_->data();
    std::uint64_t start_ = 0;
    std::uint64_t second_ = ~std::uint64_t{0};
    int secondSize_ = 0;
    std::array<char, 16> secondText_{};
    std::array<std::array<char, 4>, 256> bytes_{};
    std::array<std::array<char, 5>, 1000> milliseconds_{};
    std::array<Middle, 4096> middles_{};
};

}  // namespace

int main(int argc, char** argv) {
    const auto printer = std::make_unique<AscPrinter>();
    for (int i = 1; i < argc; ++i) {
        std::uint64_t start = 0;
        floors::readLog(
            argv[i], [&start](std::uint64_t time) { start = time; },
            [&](const char* records, std::size_t count) {
                for (std::size_t k = 0; k < count; ++k) {
                    const floors::RecordView record{records + k * floors::kRecordSize};
                    printer->print(start + record.timestamp(), record);
                }
            });
    }
    printer->flush();
    return 0;
}
