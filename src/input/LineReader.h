// Reads a text file line by line with bounded memory.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trelis {

class LineReader {
  public:
    struct Line {
        std::string_view text;  ///< without the newline; valid until the next call
        bool complete = true;   ///< false: longer than the limit, and only its start
    };

    /// Opens the file; see isOpen. A directory counts as a file that cannot be opened.
    LineReader(const std::string& path, std::size_t longestLine);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader();

    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    /// The next line, empty at the end of the file. A last line without a newline counts. A read
    /// that fails is told at WRN and ends the file.
    std::optional<Line> next();

  private:
    bool fill();
    void skipRestOfLine();

    std::string path_;
    const std::size_t longest_;
    int descriptor_ = -1;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // of what was read and not given out yet
    std::size_t end_ = 0;
    bool atEnd_ = false;
    bool inLongLine_ = false;
};

}  // namespace trelis
