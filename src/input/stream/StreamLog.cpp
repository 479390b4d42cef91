#include "input/stream/StreamLog.h"

#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace trelis {
namespace {

struct LevelForm {
    const char* colour;
    const char* word;
};

LevelForm formOf(StreamLevel level) {
    switch (level) {
        case StreamLevel::kError:
            return {"\033[31m", "ERR"};
        case StreamLevel::kWarning:
            return {"\033[33m", "WRN"};
        case StreamLevel::kInfo:
            break;
    }
    return {"\033[34m", "INF"};
}

}  // namespace

void streamLog(StreamLevel level, const char* pattern, ...) {
    std::array<char, 512> text{};
    std::va_list arguments;
    va_start(arguments, pattern);
    std::vsnprintf(text.data(), text.size(), pattern, arguments);
    va_end(arguments);

    timeval now{};
    gettimeofday(&now, nullptr);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 32> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y%m%d %H:%M:%S", &local);

    const LevelForm form = formOf(level);
    // One call, so that lines of different threads interleave as whole lines.
    std::fprintf(stderr, "%s%s.%06ld %s %s\033[0m\n", form.colour, stamp.data(),
                 static_cast<long>(now.tv_usec), form.word, text.data());
    if (level == StreamLevel::kError) {
        std::fflush(stderr);
        sync();
    }
}

}  // namespace trelis
