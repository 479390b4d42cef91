#include "Recording.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "BlockWriter.h"
#include "Damage.h"
#include "Definitions.h"

namespace trelis::sim {

namespace {

/// An output file that tells of every failure.
class OutputFile {
  public:
    explicit OutputFile(const std::filesystem::path& path)
        : path_(path), stream_(path, std::ios::binary | std::ios::trunc) {
        check();
    }

    void write(std::span<const std::uint8_t> bytes) {
        stream_.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
        size_ += bytes.size();
        check();
    }

    void write(const std::string& text) {
        write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    }

    /// Returns the size in bytes.
    std::uint64_t close() {
        stream_.close();
        check();
        return size_;
    }

  private:
    void check() {
        if (!stream_) throw std::runtime_error("cannot write " + path_.string());
    }

    std::filesystem::path path_;
    std::ofstream stream_;
    std::uint64_t size_ = 0;
};

/// Cuts the endless traffic into files.
class Recorder {
  public:
    Recorder(const Scenario& scenario, const std::filesystem::path& directory)
        : spec_(scenario.recording), directory_(directory), traffic_(scenario) {}

    RecordingSummary run() {
        for (unsigned i = 0; i < spec_.files; ++i)
            writeFile(i);
        return std::move(summary_);
    }

  private:
    void writeFile(unsigned index) {
        std::array<char, 16> number{};
        std::snprintf(number.data(), number.size(), "_%04u.bin", index + 1);
        const std::string name = spec_.name + (spec_.files > 1 ? number.data() : ".bin");
        const std::filesystem::path path = directory_ / name;
        OutputFile file(path);
        if (!pending_) pending_ = nextHeard(traffic_, spec_);
        const std::uint64_t begins =
            spec_.framesPerFile > 0 ? pending_->timeMs : spec_.durationMs * index / spec_.files;
        // Unsigned arithmetic wraps, so that a negative shift comes out right.
        const std::uint64_t shift = static_cast<std::uint64_t>(spec_.fileGapMs) * index;
        file.write(logHeader(spec_.startMs + begins + shift, spec_.device) + "LOGSTART\n");
        const std::uint64_t origin = spec_.clockContinues ? std::uint64_t{0} - shift : begins;
        writeFrames(index, spec_.clock - origin, file);
        summary_.bytes += file.close();
        summary_.files.push_back(name);
        if (index + 1 == spec_.files) damageFile(path, spec_.damage);
    }

    /// `clock`: what the counter shows at the start of the traffic.
    void writeFrames(unsigned index, std::uint64_t clock, OutputFile& file) {
        BlockWriter writer(spec_.format, spec_.highCompression,
                           [&file](std::span<const std::uint8_t> block) { file.write(block); });
        const std::uint64_t ends = spec_.durationMs * (index + 1) / spec_.files;
        for (std::uint64_t count = 0;; ++count) {
            if (!pending_) pending_ = nextHeard(traffic_, spec_);
            const bool full =
                spec_.framesPerFile > 0 ? count == spec_.framesPerFile : pending_->timeMs >= ends;
            if (full) break;
            writer.add(static_cast<std::uint32_t>(clock + pending_->timeMs), *pending_);
            summary_.lengthMs = pending_->timeMs;
            ++summary_.frames;
            pending_.reset();
        }
        writer.flush();
    }

    const RecordingSpec& spec_;
    std::filesystem::path directory_;
    Traffic traffic_;
    std::optional<SimFrame> pending_;
    RecordingSummary summary_;
};

void writeText(const std::filesystem::path& path, const std::string& text) {
    OutputFile file(path);
    file.write(text);
    file.close();
}

}  // namespace

std::string logHeader(std::uint64_t startMs, const std::string& device) {
    using namespace std::chrono;
    static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed",
                                                         "Thu", "Fri", "Sat"};
    const sys_time<milliseconds> time{milliseconds(startMs)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    std::array<char, 96> line{};
    std::snprintf(
        line.data(), line.size(), "Log started at %3s %04d-%02u-%02u %02d:%02d:%02d.%03d on %s\n",
        kDays[weekday(day).c_encoding()], static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()),
        device.c_str());
    return line.data();
}

RecordingSummary writeRecording(const Scenario& scenario, const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (!std::filesystem::is_directory(directory))
        throw std::runtime_error("cannot make the directory " + directory.string());
    for (const auto& [number, interface] : scenario.interfaces)
        writeText(directory / interface.dbcFile, dbcText(scenario, number));
    const std::string vsd = scenario.recording.name + ".vsd";
    if (!scenario.texts.contains(vsd)) writeText(directory / vsd, vsdSettingsText(scenario));
    for (const auto& [name, text] : scenario.texts)
        writeText(directory / name, text);
    return Recorder(scenario, directory).run();
}

}  // namespace trelis::sim
