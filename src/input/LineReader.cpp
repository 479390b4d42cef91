#include "input/LineReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

constexpr std::size_t kReadAhead = 64 * 1024;

}  // namespace

LineReader::LineReader(const std::string& path, std::size_t longestLine)
    : path_(path), longest_(longestLine), descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) return;
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0 || S_ISDIR(status.st_mode)) {
        ::close(descriptor_);
        descriptor_ = -1;
        return;
    }
    buffer_.resize(kReadAhead);
}

LineReader::~LineReader() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

// Moves what is left to the front and reads behind it; false at the end of the file.
bool LineReader::fill() {
    if (atEnd_ || !isOpen()) return false;
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    // A line that fills the buffer makes it grow; next() asks for no more than the longest line.
    if (end_ == buffer_.size()) buffer_.resize(std::min(buffer_.size() * 2, longest_ + kReadAhead));
    ssize_t count = -1;
    do {
        count = ::read(descriptor_, buffer_.data() + end_, buffer_.size() - end_);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        atEnd_ = true;
        if (count < 0)
            report(Level::kWarning,
                   format("Couldn't read file %s: %s", path_.c_str(), std::strerror(errno)));
        return false;
    }
    end_ += static_cast<std::size_t>(count);
    return true;
}

void LineReader::skipRestOfLine() {
    inLongLine_ = false;
    do {
        const void* newline = std::memchr(buffer_.data() + begin_, '\n', end_ - begin_);
        if (newline != nullptr) {
            begin_ =
                static_cast<std::size_t>(static_cast<const char*>(newline) - buffer_.data()) + 1;
            return;
        }
        begin_ = end_;
    } while (fill());
}

std::optional<LineReader::Line> LineReader::next() {
    if (inLongLine_) skipRestOfLine();
    std::size_t searched = 0;
    for (;;) {
        const char* start = buffer_.data() + begin_;
        const std::size_t held = end_ - begin_;
        const void* newline =
            held > searched ? std::memchr(start + searched, '\n', held - searched) : nullptr;
        if (newline != nullptr) {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - start);
            begin_ += length + 1;
            if (length > longest_) return Line{{start, longest_}, false};
            return Line{{start, length}, true};
        }
        if (held > longest_) {
            inLongLine_ = true;
            begin_ += longest_;
            return Line{{start, longest_}, false};
        }
        searched = held;
        if (fill()) continue;
        if (held == 0) return std::nullopt;
        const char* last = buffer_.data() + begin_;
        begin_ = end_;
        return Line{{last, held}, true};
    }
}

}  // namespace trelis
