#pragma once
#include <fcntl.h>
#include <lz4.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

/// Reading a recording the shortest way: the file is mapped whole, with its pages present, and each
/// block is unpacked to the stack. The files are the benchmark's own, so damage ends the program.
namespace trelis::floors {

template <typename Number>
Number load(const char* bytes) {
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

[[noreturn]] inline void die(const char* what, const std::string& name) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), what);
    std::exit(1);
}

/// A record as it lies in an unpacked block of 18-byte records.
struct RecordView {
    const char* bytes;
    std::uint32_t timestamp() const { return load<std::uint32_t>(bytes); }
    std::uint32_t id() const { return load<std::uint32_t>(bytes + 4); }
    unsigned length() const { return static_cast<std::uint8_t>(bytes[8]); }
    std::uint64_t data() const { return load<std::uint64_t>(bytes + 9); }
    std::uint8_t interface() const { return static_cast<std::uint8_t>(bytes[17]); }
};
inline constexpr std::size_t kRecordSize = 18;

class MappedFile {
  public:
    explicit MappedFile(const std::string& path) {
        const int file = open(path.c_str(), O_RDONLY);
        struct stat info {};
        if (file < 0 || fstat(file, &info) != 0) die("cannot be opened", path);
        size_ = static_cast<std::size_t>(info.st_size);
        void* data = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
        if (data == MAP_FAILED) die("cannot be mapped", path);
        data_ = static_cast<const char*>(data);
        close(file);
    }
    ~MappedFile() { munmap(const_cast<char*>(data_), size_); }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    const char* begin() const { return data_; }
    const char* end() const { return data_ + size_; }

  private:
    const char* data_;
    std::size_t size_;
};

/// Calls `onStart` with the time of the file's first line, milliseconds since the epoch, and then
/// `onBlock` with the records of each block and their number.
template <typename OnStart, typename OnBlock>
void readLog(const std::string& path, OnStart onStart, OnBlock onBlock) {
    const MappedFile file(path);
    tm date{};
    int milliseconds = 0;
    if (std::sscanf(file.begin(), "Log started at %*3s %4d-%2d-%2d %2d:%2d:%2d.%3d", &date.tm_year,
                    &date.tm_mon, &date.tm_mday, &date.tm_hour, &date.tm_min, &date.tm_sec,
                    &milliseconds) != 7)
        die("is no recording", path);
    date.tm_year -= 1900;
    date.tm_mon -= 1;
    onStart(static_cast<std::uint64_t>(timegm(&date)) * 1000 +
            static_cast<std::uint64_t>(milliseconds));

    constexpr std::uint32_t kMagic = 0x2018124C;
    alignas(64) std::array<char, 18000 + 64> raw;
    const char* at = file.begin();
    for (int line = 0; line < 2; ++line)
        at = static_cast<const char*>(
                 std::memchr(at, '\n', static_cast<std::size_t>(file.end() - at))) +
             1;
    while (file.end() - at >= 8) {
        const auto packed = load<std::uint32_t>(at + 4);
        if (load<std::uint32_t>(at) != kMagic || packed > file.end() - at - 8)
            die("bad block", path);
        const int size = LZ4_decompress_safe(at + 8, raw.data(), static_cast<int>(packed), 18000);
        if (size < 0) die("bad block", path);
        at += 8 + packed;
        onBlock(raw.data(), static_cast<std::size_t>(size) / kRecordSize);
    }
}

}  // namespace trelis::floors
