#include "input/DefinitionCheck.h"

#include <glibmm/exception.h>

#include <algorithm>
#include <ostream>
#include <set>
#include <tuple>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/DbcReader.h"
#include "input/VsdFile.h"
#include "model/Message.h"
#include "model/builtin/BuiltinMessages.h"

namespace trelis {
namespace {

constexpr std::size_t kShownBytes = 120;  // of the text of a finding

/// The definitions of one call.
struct DefinitionPaths {
    const std::string& dbc;
    const std::string& vsd;

    [[nodiscard]] const std::string& chosen() const { return dbc.empty() ? vsd : dbc; }
};

class Collector {
  public:
    /// Reads the definitions; says whether the load came to its end.
    bool load(Store& store, const DefinitionPaths& paths);

    std::vector<DefinitionFinding> findings;

  private:
    bool loadEnded(const DefinitionPaths& paths, const std::string& cause);
};

void read(Store& store, const DefinitionPaths& paths, const FindingSink& sink) {
    if (paths.dbc.empty()) {
        if (!fileCanBeOpened(paths.vsd))
            sink({DefinitionFault::kUnreadableFile, toValidUtf8(paths.vsd), 0,
                  "the file cannot be opened", false, false});
        loadVsdFile(store, paths.vsd, sink);
        return;
    }
    readDbcFile(store, paths.dbc, 0, "Can",
                DbcReadOptions{.tolerant = store.tolerantDefinitions, .sink = sink});
    addBuiltinMessages(store);
}

bool Collector::load(Store& store, const DefinitionPaths& paths) {
    try {
        read(store, paths,
             [this](const DefinitionFinding& finding) { findings.push_back(finding); });
        return true;
    } catch (const PrintMsgError&) {
        return loadEnded(paths, "the load ends with the error that was told");
    } catch (const Glib::Exception& error) {
        return loadEnded(paths, toValidUtf8(error.what().raw()));
    } catch (const std::exception& error) {
        return loadEnded(paths, toValidUtf8(error.what()));
    }
}

// The reader mostly has named the place already.
bool Collector::loadEnded(const DefinitionPaths& paths, const std::string& cause) {
    if (findings.empty() || !findings.back().endsLoad)
        findings.push_back(
            {DefinitionFault::kUnreadableFile, toValidUtf8(paths.chosen()), 0, cause, true, false});
    return false;
}

/// Adds what the first reading did not get to.
void addUnseen(std::vector<DefinitionFinding>& findings,
               const std::vector<DefinitionFinding>& others) {
    const auto placeOf = [](const DefinitionFinding& finding) {
        return std::tuple(finding.file, finding.line, finding.fault);
    };
    std::set<std::tuple<std::string, std::uint64_t, DefinitionFault>> seen;
    for (const auto& finding : findings)
        seen.insert(placeOf(finding));
    for (DefinitionFinding other : others) {
        if (seen.contains(placeOf(other)) || other.endsLoad) continue;
        other.kept = false;
        findings.push_back(std::move(other));
    }
}

std::string shownText(std::string text) {
    std::size_t end = std::min(text.size(), kShownBytes);
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    const bool cut = end < text.size();
    text.resize(end);
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return cut ? text + "..." : text;
}

void print(const DefinitionFinding& finding, std::ostream& output) {
    output << finding.file;
    if (finding.line != 0) output << ':' << finding.line;
    output << ": " << faultName(finding.fault) << ": " << shownText(finding.text);
    if (finding.endsLoad) output << "; the load ends here";
    switch (tolerantMeans(finding.fault)) {
        case TolerantMeans::kCostsNothing:
            output << " [tolerant: read in full]";
            break;
        case TolerantMeans::kCostsOnlyItself:
            output << " [tolerant: costs only itself]";
            break;
        case TolerantMeans::kNothing:
            break;
    }
    output << '\n';
}

std::size_t countSignals(const Store& store) {
    std::size_t count = 0;
    for (const auto& [number, interface] : store.interfaces) {
        if (number == kLoggerInterface) continue;  // no file defines it
        if (number >= kStatisticsOffset) break;
        for (const auto& [id, message] : interface->messages)
            count += message->signalsByName.size();
    }
    return count;
}

std::string counted(std::size_t count, const char* thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace

int checkDefinitions(Store& store, const std::string& dbcPath, const std::string& vsdPath,
                     std::ostream& output) {
    const DefinitionPaths paths{dbcPath, vsdPath};
    Collector asEver;
    const bool complete = asEver.load(store, paths);
    // What ends a tolerant reading at the same place has nothing more to show.
    if (!complete && tolerantMeans(asEver.findings.back().fault) != TolerantMeans::kNothing) {
        Store scratch;
        scratch.noGui = true;
        scratch.tolerantDefinitions = true;
        Collector tolerant;
        tolerant.load(scratch, paths);
        addUnseen(asEver.findings, tolerant.findings);
    }
    std::erase_if(asEver.findings, [](const auto& finding) { return finding.kept; });
    std::size_t mended = 0;
    for (const auto& finding : asEver.findings) {
        print(finding, output);
        if (tolerantMeans(finding.fault) != TolerantMeans::kNothing) ++mended;
    }
    const std::size_t count = asEver.findings.size();
    output << toValidUtf8(paths.chosen()) << ": " << counted(countSignals(store), "signal") << ", "
           << counted(count, "finding");
    if (mended != 0) output << ", of which tolerant reading mends " << mended;
    output << (complete ? "\n" : ", the load does not come to its end\n");
    return count == 0 ? 0 : 1;
}

}  // namespace trelis
