#include "input/AscWriter.h"

#include <fcntl.h>
#include <glibmm/datetime.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <string_view>
#include <system_error>

#include "app/store/FormatTime.h"
#include "app/store/Store.h"
#include "input/stream/LittleEndian.h"

namespace trelis {
namespace {

constexpr std::array<char, 16> kHex = {'0', '1', '2', '3', '4', '5', '6', '7',
                                       '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

// " 00" to " FF", four characters apart so that one load takes a byte's text.
constexpr auto kByteTexts = [] {
    std::array<char, 256 * 4> texts{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        texts[byte * 4] = ' ';
        texts[byte * 4 + 1] = kHex[byte >> 4];
        texts[byte * 4 + 2] = kHex[byte & 15];
        texts[byte * 4 + 3] = ' ';
    }
    return texts;
}();

// "000" to "999", four characters apart.
constexpr auto kMillisecondTexts = [] {
    std::array<char, 1000 * 4> texts{};
    for (std::size_t ms = 0; ms < 1000; ++ms) {
        texts[ms * 4] = static_cast<char>('0' + ms / 100);
        texts[ms * 4 + 1] = static_cast<char>('0' + ms / 10 % 10);
        texts[ms * 4 + 2] = static_cast<char>('0' + ms % 10);
        texts[ms * 4 + 3] = '0';
    }
    return texts;
}();

std::int64_t coarseSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec;
}

[[noreturn]] void throwErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

AscWriter::AscWriter(const Store& store, int descriptor)
    : store_(store),
      descriptor_(descriptor),
      toFile_(store.dumpToFile),
      dates_(store.dumpAscDates && !store.dumpToFile),
      buffer_(kBufferBytes + kLongestLine),
      next_(buffer_.data()),
      flushedAt_(coarseSeconds()),
      heads_(std::make_unique<std::array<Head, kHeads>>()) {}

void AscWriter::flush() {
    const char* from = buffer_.data();
    while (from != next_) {
        const ssize_t written = ::write(descriptor_, from, static_cast<std::size_t>(next_ - from));
        if (written < 0) {
            if (errno == EINTR) continue;
            next_ = buffer_.data();
            throwErrno("Could not write ASC data");
        }
        from += written;
    }
    next_ = buffer_.data();
    flushedAt_ = coarseSeconds();
}

void AscWriter::flushIfLate() {
    if (next_ != buffer_.data() && coarseSeconds() - flushedAt_ > 1) flush();
}

void AscWriter::writeHeading(std::uint64_t time) {
    const std::uint64_t seconds = time / 1000;
    const auto date = Glib::DateTime::create_now_utc(static_cast<gint64>(seconds));
    std::string heading;
    if (date) heading = date.format("date %a %b %d %H:%M:%S.000 %P %Y\n").raw();
    heading += "base hex  timestamps absolute\n";
    next_ = std::copy_n(heading.data(), std::min(heading.size(), kLongestLine), next_);
    startTime_ = seconds * 1000;
    begun_ = true;
}

void AscWriter::beginSecond(std::uint64_t time) {
    const std::uint64_t seconds = time / 1000;
    second_ = seconds * 1000;
    if (!dates_) {
        char* const end = std::to_chars(secondText_.data(), secondText_.data() + secondText_.size(),
                                        seconds - startTime_ / 1000)
                              .ptr;
        *end = '.';
        secondLength_ = static_cast<std::size_t>(end - secondText_.data()) + 1;
        return;
    }
    formatTime(store_, static_cast<std::int64_t>(second_), secondText_.data(), secondText_.size(),
               true, true);
    // npos + 1 is 0: a time that is no date has no text.
    secondLength_ = std::string_view(secondText_.data()).rfind('.') + 1;
}

void AscWriter::fillHead(Head& head, std::uint64_t key, std::uint32_t id, unsigned length,
                         std::uint8_t interface) {
    char* out = head.text.data();
    char* const end = out + head.text.size();
    *out++ = ' ';
    out = std::to_chars(out, end, interface + 1).ptr;
    *out++ = ' ';
    char* const digits = out;
    out = std::to_chars(out, end, id & kIdMask, 16).ptr;
    for (char* digit = digits; digit != out; ++digit)
        if (*digit >= 'a') *digit = static_cast<char>(*digit - 'a' + 'A');
    if ((id & kExtendedIdFlag) != 0) *out++ = 'x';
    out = std::copy_n(" Rx d ", 6, out);
    out = std::to_chars(out, end, length).ptr;
    head.length = static_cast<std::uint32_t>(out - head.text.data());
    head.key = key;
}

// A line is put together from pieces of fixed size, each written in full and then overlapped by the
// next: no piece depends on a loop over its length.
void AscWriter::write(std::uint32_t id, std::uint8_t dlc, std::uint64_t data,
                      std::uint8_t interface, std::uint64_t time) {
    if ((id & kErrorFrameFlag) != 0 || interface == kLoggerInterface) return;
    if (toFile_ && (time < store_.dumpFrom || time > store_.dumpTo)) return;
    if (!begun_) [[unlikely]]
        writeHeading(time);
    if ((id & kRemoteFrameFlag) != 0) return;
    if (time - second_ >= 1000) beginSecond(time);
    char* out = next_;
    std::memcpy(out, secondText_.data(), secondText_.size());
    out += secondLength_;
    std::memcpy(out, kMillisecondTexts.data() + (time - second_) * 4, 4);
    out += dates_ ? 3 : 4;

    const unsigned length = dataLength(dlc);
    const std::uint64_t key = std::uint64_t{id} << 16 | std::uint64_t{interface} << 8 | length;
    Head& head = (*heads_)[(key * 0x9E3779B97F4A7C15U) >> 52];
    if (head.key != key) fillHead(head, key, id, length, interface);
    std::memcpy(out, head.text.data(), head.text.size());
    out += head.length;
    for (unsigned i = 0; i < 8; ++i)
        std::memcpy(out + std::size_t{i} * 3, kByteTexts.data() + (data >> (8 * i) & 0xFF) * 4, 4);
    out += std::size_t{length} * 3;
    *out++ = '\n';
    next_ = out;
    if (next_ - buffer_.data() >= static_cast<std::ptrdiff_t>(kBufferBytes)) flush();
}

AscDump::AscDump(const Store& store) {
    if (store.dumpToFile) {
        path_ = store.dumpPath;
        beside_ = path_ + ".part";
        descriptor_ = ::open(beside_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (descriptor_ < 0) throwErrno(path_);
    }
    writer_ = std::make_unique<AscWriter>(store, descriptor_);
}

AscDump::~AscDump() {
    if (beside_.empty()) return;
    ::close(descriptor_);
    ::unlink(beside_.c_str());
}

void AscDump::commit() {
    writer_->flush();
    if (beside_.empty()) return;
    if (::fsync(descriptor_) != 0 && errno != EINVAL) throwErrno(path_);
    if (::rename(beside_.c_str(), path_.c_str()) != 0) throwErrno(path_);
    ::close(descriptor_);
    beside_.clear();
}

void writeAscRecord(Store& store, const Frame& record, std::uint64_t time) {
    if (!store.ascDump) store.ascDump = std::make_shared<AscDump>(store);
    const auto data = loadLittleEndian<std::uint64_t>(record.data.data());
    AscWriter& writer = store.ascDump->writer();
    writer.write(record.id, record.dlc, data, record.interface, time);
    if (!store.dumpToFile) writer.flushIfLate();
}

}  // namespace trelis
