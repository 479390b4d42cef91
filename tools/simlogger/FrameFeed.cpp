#include "FrameFeed.h"

#include <lz4.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "BlockWriter.h"

namespace trelis::sim {

namespace {

class ScenarioFeed : public FrameFeed {
  public:
    explicit ScenarioFeed(const Scenario& scenario)
        : spec_(scenario.recording),
          traffic_(scenario),
          limit_(spec_.framesPerFile * std::max(spec_.files, 1U)) {}

    std::optional<FedFrame> next() override {
        const SimFrame frame = nextHeard(traffic_, spec_);
        const bool over = limit_ > 0 ? count_ == limit_ : frame.timeMs >= spec_.durationMs;
        if (over) return std::nullopt;
        ++count_;
        return FedFrame{static_cast<std::uint32_t>(spec_.clock + frame.timeMs), frame};
    }

  private:
    const RecordingSpec& spec_;
    Traffic traffic_;
    const std::uint64_t limit_;  // frames; 0: the duration limits
    std::uint64_t count_ = 0;
};

template <typename Number>
Number numberAt(const std::uint8_t* bytes) {
    Number value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        value |= static_cast<Number>(Number{bytes[i]} << (8 * i));
    return value;
}

class RecordingFeed : public FrameFeed {
  public:
    explicit RecordingFeed(std::vector<std::filesystem::path> files) : files_(std::move(files)) {}

    std::optional<FedFrame> next() override {
        while (at_ + recordSize_ > raw_.size())
            if (!readBlock() && !openNext()) return std::nullopt;
        const std::uint8_t* record = raw_.data() + at_;
        at_ += recordSize_;

        FedFrame fed;
        fed.timestamp = numberAt<std::uint32_t>(record);
        if (newFile_ && !goesOn(fed.timestamp)) shift_ = clockOfFile() - fed.timestamp;
        newFile_ = false;
        fed.timestamp += shift_;
        // Counters overflow, so it is the difference that tells how time went on.
        const auto step = static_cast<std::int32_t>(fed.timestamp - lastClock_);
        if (begun_ && step > 0) dueMs_ += static_cast<std::uint32_t>(step);
        lastClock_ = fed.timestamp;
        if (!begun_) firstClock_ = fed.timestamp;
        begun_ = true;
        fed.frame.timeMs = dueMs_;
        fed.frame.id = numberAt<std::uint32_t>(record + 4);
        fed.frame.length = record[8];
        fed.frame.data = numberAt<std::uint64_t>(record + 9);
        fed.frame.interface = recordSize_ == 18 ? record[17] : std::uint8_t{0};
        return fed;
    }

  private:
    /// What the counter would show at the start of the current file.
    std::uint32_t clockOfFile() const {
        if (!begun_) return numberAt<std::uint32_t>(raw_.data());
        return firstClock_ + static_cast<std::uint32_t>(startMs_ - firstStartMs_);
    }

    /// Whether the counter of the file before just runs on here, as readers take it: not back, and
    /// not 20 s behind what the start of the file says.
    bool goesOn(std::uint32_t timestamp) const {
        constexpr std::int32_t kBreakMs = 20'000;
        const std::uint32_t clock = timestamp + shift_;
        return begun_ && static_cast<std::int32_t>(clock - lastClock_) >= 0 &&
               static_cast<std::int32_t>(clockOfFile() - clock) < kBreakMs;
    }

    bool openNext() {
        if (nextFile_ == files_.size()) return false;
        const std::filesystem::path& path = files_[nextFile_++];
        stream_ = std::ifstream(path, std::ios::binary);
        std::string head;
        std::string mark;
        if (!std::getline(stream_, head) || !std::getline(stream_, mark) || mark != "LOGSTART")
            throw std::runtime_error(path.string() + " is no recording");
        startMs_ = startTimeOf(head, path);
        if (nextFile_ == 1) firstStartMs_ = startMs_;
        newFile_ = true;
        raw_.clear();
        at_ = 0;
        return true;
    }

    static std::uint64_t startTimeOf(const std::string& head, const std::filesystem::path& path) {
        int year = 0, hour = 0, minute = 0, second = 0, fraction = 0;
        unsigned month = 0, day = 0;
        const int found =
            std::sscanf(head.c_str(), "Log started at %*3s %4d-%2u-%2u %2d:%2d:%2d.%3d", &year,
                        &month, &day, &hour, &minute, &second, &fraction);
        if (found < 6) throw std::runtime_error(path.string() + " is no recording");
        using namespace std::chrono;
        const sys_days date = year_month_day(std::chrono::year(year), std::chrono::month(month),
                                             std::chrono::day(day));
        const auto time = date.time_since_epoch() + hours(hour) + minutes(minute) +
                          seconds(second) + milliseconds(fraction);
        return static_cast<std::uint64_t>(milliseconds(time).count());
    }

    /// The next block of the current file; false at its end and at damage.
    bool readBlock() {
        constexpr std::size_t kMostRaw = 18000;
        constexpr std::size_t kMostPacked = 18086;
        std::array<std::uint8_t, 8> head{};
        if (!stream_.is_open() || !read(head.data(), head.size())) return false;
        const auto magic = numberAt<std::uint32_t>(head.data());
        const auto packed = numberAt<std::uint32_t>(head.data() + 4);
        const bool sound = (magic == BlockWriter::kMagicNew || magic == BlockWriter::kMagicOld) &&
                           packed <= kMostPacked;
        if (!sound) return false;
        recordSize_ = magic == BlockWriter::kMagicNew ? 18 : 17;
        packed_.resize(packed);
        if (!read(packed_.data(), packed)) return false;
        raw_.resize(kMostRaw);
        const int length = LZ4_decompress_safe(
            reinterpret_cast<const char*>(packed_.data()), reinterpret_cast<char*>(raw_.data()),
            static_cast<int>(packed), static_cast<int>(raw_.size()));
        raw_.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        at_ = 0;
        return length > 0;
    }

    bool read(std::uint8_t* to, std::size_t count) {
        return static_cast<bool>(
            stream_.read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(count)));
    }

    const std::vector<std::filesystem::path> files_;
    std::size_t nextFile_ = 0;
    std::ifstream stream_;
    std::vector<std::uint8_t> packed_;
    std::vector<std::uint8_t> raw_;  // the current block
    std::size_t at_ = 0;             // the next record in it
    std::size_t recordSize_ = 18;
    bool newFile_ = false;  // the next record is the first of its file
    bool begun_ = false;    // a record was given
    std::uint64_t startMs_ = 0;
    std::uint64_t firstStartMs_ = 0;
    std::uint32_t shift_ = 0;  // from the file's counter to the one that is served
    std::uint32_t firstClock_ = 0;
    std::uint32_t lastClock_ = 0;
    std::uint64_t dueMs_ = 0;
};

}  // namespace

std::unique_ptr<FrameFeed> scenarioFeed(const Scenario& scenario) {
    return std::make_unique<ScenarioFeed>(scenario);
}

std::unique_ptr<FrameFeed> recordingFeed(std::vector<std::filesystem::path> files) {
    return std::make_unique<RecordingFeed>(std::move(files));
}

}  // namespace trelis::sim
