// Builds recordings in memory for tests: any header, any block, any damage.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "input/stream/BlockMaker.h"
#include "model/Frame.h"
#include "support/Files.h"

namespace trelis::test {

inline Frame frameAt(std::uint32_t timestamp, std::uint32_t id, std::uint64_t data = 0,
                     std::uint8_t interface = 0, std::uint8_t dlc = 8) {
    Frame frame;
    frame.timestamp = timestamp;
    frame.id = id;
    frame.dlc = dlc;
    frame.interface = interface;
    std::memcpy(frame.data.data(), &data, sizeof data);
    return frame;
}

class Recording {
  public:
    /// `start`: what stands behind "Log started at " in the first line.
    explicit Recording(const std::string& start = "Mon 2024-03-04 08:00:00.000 on TESTLOG",
                       std::size_t recordSize = 18)
        : bytes("Log started at " + start + "\nLOGSTART\n"), recordSize_(recordSize) {}

    Recording& frames(const std::vector<Frame>& list) {
        std::string records;
        for (const Frame& frame : list)
            records.append(reinterpret_cast<const char*>(&frame), recordSize_);
        return block(records);
    }
    /// One block of any content.
    Recording& block(const std::string& content) {
        const Bytes packed =
            compress({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
        return raw(recordSize_ == kRecordSize ? kBlockMagic : kOldBlockMagic,
                   static_cast<std::uint32_t>(packed.size()),
                   std::string(packed.begin(), packed.end()));
    }
    Recording& raw(std::uint32_t magic, std::uint32_t length, const std::string& packed) {
        bytes.append(reinterpret_cast<const char*>(&magic), 4);
        bytes.append(reinterpret_cast<const char*>(&length), 4);
        bytes += packed;
        return *this;
    }

    std::string bytes;

  private:
    std::size_t recordSize_;
};

}  // namespace trelis::test
