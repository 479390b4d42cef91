#include "input/DbcFaults.h"

#include <cinttypes>
#include <utility>

#include "app/diagnostics/Report.h"
#include "input/DbcReader.h"

namespace trelis {

DbcFaults::DbcFaults(std::string shownPath, const DbcReadOptions& options)
    : shownPath_(std::move(shownPath)), options_(options) {}

void DbcFaults::note(DefinitionFault fault, std::uint64_t line, const std::string& text,
                     bool endsLoad) {
    Tally& tally = tallies_[fault];
    if (tally.count++ == 0) tally.firstLine = line;
    if (!options_.sink) return;
    const bool kept = options_.tolerant && tolerantMeans(fault) == TolerantMeans::kCostsNothing;
    options_.sink({fault, shownPath_, line, text, endsLoad, kept});
}

void DbcFaults::failUnlessTolerant(DefinitionFault fault, std::uint64_t line,
                                   const std::string& text) {
    note(fault, line, text, !options_.tolerant);
    if (!options_.tolerant) reportFatal(text);
}

void DbcFaults::tell() const {
    if (!options_.tolerant || options_.sink) return;
    for (const auto& [fault, tally] : tallies_) {
        if (fault == DefinitionFault::kOpenComment) continue;  // told already
        const std::string where =
            tally.count == 1
                ? format("once, in line %" PRIu64, tally.firstLine)
                : format("%" PRIu64 " times, first in line %" PRIu64, tally.count, tally.firstLine);
        const bool costsNothing = tolerantMeans(fault) == TolerantMeans::kCostsNothing;
        report(costsNothing ? Level::kInfo : Level::kWarning,
               format("DBC file %s: %s, %s", shownPath_.c_str(),
                      std::string(faultName(fault)).c_str(), where.c_str()));
    }
}

}  // namespace trelis
