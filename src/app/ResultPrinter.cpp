#include "app/ResultPrinter.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "virtual/PrintableSignal.h"

namespace trelis {
namespace {

struct Result {
    std::string head;
    double value = 0;
};

std::vector<Result> collectResults(const CanIface& interface) {
    std::vector<Result> results;
    for (const auto& [id, message] : interface.messages) {
        for (const auto& [name, signal] : message->signalsByName) {
            if (!signal->selected) continue;
            auto* printable = dynamic_cast<PrintableSignal*>(signal.get());
            double value = 0;
            if (printable == nullptr || !printable->summaryValue(value)) continue;
            const std::string unit = signal->unit.empty() ? "" : " (" + signal->unit + ")";
            results.push_back({message->name + "." + signal->name + unit, value});
        }
    }
    return results;
}

}  // namespace

void printResults(const Store& store, bool withHeads, std::ostream& out) {
    const auto interface = store.findInterfaceByNumber(kVirtualInterface);
    if (!interface) return;
    std::vector<Result> results = collectResults(*interface);
    if (results.empty()) return;
    std::stable_sort(results.begin(), results.end(), [](const Result& a, const Result& b) {
        return strcasecmp(a.head.c_str(), b.head.c_str()) < 0;
    });
    std::string heads;
    std::string values;
    for (const Result& result : results) {
        heads += (heads.empty() ? "" : "\t") + result.head;
        values += (values.empty() ? "" : "\t") + format("%.2f", result.value);
    }
    if (withHeads) out << heads << '\n';
    out << values << '\n' << std::flush;
}

void printListing(const Store& store, std::ostream& out) {
    for (const auto& [number, interface] : store.interfaces) {
        out << interface->name << std::endl;
        for (const auto& [id, message] : interface->messages) {
            out << '\t' << message->name << std::endl;
            for (const auto& signal : message->signals)
                if (!signal->hidden) out << "\t\t" << signal->name << std::endl;
        }
    }
}

bool outputIsWhole() {
    if (std::cout.flush()) return true;
    report(Level::kError, format("Could not write results: %s", std::strerror(errno)));
    return false;
}

}  // namespace trelis
