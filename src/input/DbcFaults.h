// What one reading of one DBC file passes over.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "input/DefinitionFinding.h"

namespace trelis {

struct DbcReadOptions;

/// Hands every fault to the one who asks for findings, and counts them for those who read
/// tolerantly. Lines count from 1.
class DbcFaults {
  public:
    /// `options` must outlive it; `shownPath` is valid UTF-8.
    DbcFaults(std::string shownPath, const DbcReadOptions& options);

    void note(DefinitionFault fault, std::uint64_t line, const std::string& text, bool endsLoad);
    /// Notes the fault; then the load ends with the text at ERR and PrintMsgError, or, read
    /// tolerantly, goes on.
    void failUnlessTolerant(DefinitionFault fault, std::uint64_t line, const std::string& text);
    /// Tells each kind that was met in a tolerant reading, once, unless findings were asked for.
    void tell() const;

  private:
    struct Tally {
        std::uint64_t count = 0;
        std::uint64_t firstLine = 0;
    };

    const std::string shownPath_;
    const DbcReadOptions& options_;
    std::map<DefinitionFault, Tally> tallies_;
};

}  // namespace trelis
