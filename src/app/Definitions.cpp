#include <glibmm/pattern.h>

#include "app/StartUp.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/DbcReader.h"
#include "input/VsdFile.h"
#include "model/Message.h"
#include "model/builtin/BuiltinMessages.h"

namespace trelis {
namespace {

// The three glob patterns of a -s argument.
struct SignalPattern {
    std::string interface;
    std::string message;
    std::string signal;
};

std::optional<SignalPattern> splitPattern(const std::string& text) {
    const auto first = text.find('.');
    if (first == std::string::npos) {
        report(Level::kWarning, "No message name given in " + text);
        return std::nullopt;
    }
    const auto second = text.find('.', first + 1);
    if (second == std::string::npos || second + 1 == text.size()) {
        report(Level::kWarning, "No signal name given in " + text);
        return std::nullopt;
    }
    return SignalPattern{text.substr(0, first), text.substr(first + 1, second - first - 1),
                         text.substr(second + 1)};
}

}  // namespace

void loadDefinitions(Store& store, const StartUp& startUp) {
    Settings& settings = Settings::instance();
    if (!startUp.dbcArgument.empty()) {
        settings.setDbFile(startUp.dbcArgument);
        settings.setVsdFile(kNoFile);
    } else if (!startUp.vsdArgument.empty()) {
        settings.setVsdFile(startUp.vsdArgument);
        settings.setDbFile(kNoFile);
    }
    const std::string vsd = settings.getVsdFile();
    const std::string dbc = settings.getDbFile();
    if (vsd != kNoFile) {
        loadVsdFile(store, vsd);
    } else if (dbc != kNoFile) {
        readDbcFile(store, dbc, 0, "Can");
        addBuiltinMessages(store);
    }
}

void selectSignals(Store& store, const std::vector<std::string>& patterns) {
    const RecountBatch batch(store);
    for (const std::string& text : patterns) {
        const auto pattern = splitPattern(text);
        if (!pattern) return;
        const Glib::PatternSpec interfaces{Glib::ustring(pattern->interface)};
        const Glib::PatternSpec messages{Glib::ustring(pattern->message)};
        for (const auto& [number, interface] : store.interfaces) {
            if (!interfaces.match(interface->name)) continue;
            for (const auto& [id, message] : interface->messages)
                if (messages.match(message->name)) message->selectPattern(pattern->signal);
        }
    }
}

}  // namespace trelis
