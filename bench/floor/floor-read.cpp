// floor-read FILES...: unpacks every block and counts its records. No reader of this format that
// uses the same compression library can be faster.
#include <cstdint>
#include <cstdio>

#include "LogBlocks.h"

namespace floors = trelis::floors;

int main(int argc, char** argv) {
    std::uint64_t frames = 0;
    std::uint64_t extended = 0;
    for (int i = 1; i < argc; ++i) {
        floors::readLog(
            argv[i], [](std::uint64_t) {},
            [&](const char* records, std::size_t count) {
                frames += count;
                for (std::size_t k = 0; k < count; ++k)
                    extended += floors::RecordView{records + k * floors::kRecordSize}.id() >> 31;
            });
    }
    std::fprintf(stderr, "frames %llu extended %llu\n", static_cast<unsigned long long>(frames),
                 static_cast<unsigned long long>(extended));
    return 0;
}
