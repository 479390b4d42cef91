#include "Definitions.h"

#include <algorithm>

#include "Text.h"

namespace trelis::sim {

namespace {

constexpr std::size_t kLongestLine = 99;

std::string signalLine(const SignalSpec& signal) {
    std::string line = " SG_ " + signal.name;
    if (signal.mux == SignalSpec::kMultiplexor) line += " M";
    if (signal.mux >= 0) line += " m" + std::to_string(signal.mux);
    line += " : " + std::to_string(signal.start) + "|" + std::to_string(signal.bits) + "@";
    line += signal.bigEndian ? '0' : '1';
    line += signal.isSigned ? '-' : '+';
    line += " (" + numberText(signal.factor) + "," + numberText(signal.offset) + ") [" +
            numberText(signal.minimum) + "|" + numberText(signal.maximum) + "] \"" + signal.unit +
            "\"";
    const std::string receiver = " Vector__XXX";  // the DBC word for nobody in particular
    if (line.size() + receiver.size() <= kLongestLine) line += receiver;
    if (line.size() > kLongestLine)
        throw ScenarioError("the DBC line of signal " + signal.name + " is too long");
    return line + "\n";
}

std::string withoutQuotes(std::string text) {
    std::replace(text.begin(), text.end(), '"', '\'');
    return text;
}

}  // namespace

std::string dbcText(const Scenario& scenario, std::uint8_t interface) {
    std::string text = "VERSION \"\"\n\nNS_ :\n\nBS_:\n\nBU_:\n\n";
    std::string comments;
    std::string floats;
    std::string labels;
    for (const MessageSpec& message : scenario.messages) {
        if (message.interface != interface) continue;
        const std::string id = std::to_string(message.id);
        const std::string head = "BO_ " + id + " " + message.name + ": " +
                                 std::to_string(message.length) + " Vector__XXX";
        if (head.size() > kLongestLine)
            throw ScenarioError("the DBC line of message " + message.name + " is too long");
        text += head + "\n";
        if (!message.comment.empty())
            comments += "CM_ BO_ " + id + " \"" + withoutQuotes(message.comment) + "\";\n";
        for (const SignalSpec& signal : message.signals) {
            text += signalLine(signal);
            const std::string name = id + " " + signal.name;
            if (!signal.comment.empty())
                comments += "CM_ SG_ " + name + " \"" + withoutQuotes(signal.comment) + "\";\n";
            if (signal.isFloat) floats += "SIG_VALTYPE_ " + name + " : 1;\n";
            if (signal.labels.empty()) continue;
            labels += "VAL_ " + name;
            for (const auto& [value, label] : signal.labels)
                labels += " " + std::to_string(value) + " \"" + withoutQuotes(label) + "\"";
            labels += " ;\n";
        }
        text += "\n";
    }
    for (const std::string* part : {&comments, &labels, &floats})
        if (!part->empty()) text += *part + "\n";
    text.pop_back();
    return text;
}

std::string vsdSettingsText(const Scenario& scenario) {
    std::string text = "[settings]\n";
    for (const auto& [number, interface] : scenario.interfaces) {
        const std::string key = "_" + std::to_string(number) + "=";
        text += "ifname" + key + interface.name + "\ndbcfile" + key + interface.dbcFile + "\n";
    }
    return text;
}

}  // namespace trelis::sim
