#include "app/VsdHelpText.h"

#include <algorithm>
#include <string_view>

#include "virtual/MethodHelp.h"

namespace trelis {
namespace {

constexpr std::string_view kHead = "\033[1;37m";
constexpr std::string_view kKey = "\033[1;32m";
constexpr std::string_view kPlaceholder = "\033[33m";
constexpr std::string_view kPlain = "\033[0m";

// Appends a text to the help, piece by piece.
class HelpWriter {
  public:
    HelpWriter& head(std::string_view title) { return coloured("\n", kHead, title) << "\n"; }
    HelpWriter& key(std::string_view name) { return coloured("", kKey, name); }
    HelpWriter& placeholder(std::string_view name) {
        text_.append(kPlaceholder).append("<").append(name).append(">").append(kPlain);
        return *this;
    }
    HelpWriter& operator<<(std::string_view text) {
        text_.append(text);
        return *this;
    }
    std::string take() { return std::move(text_); }

  private:
    HelpWriter& coloured(std::string_view before, std::string_view colour, std::string_view text) {
        text_.append(before).append(colour).append(text).append(kPlain);
        return *this;
    }

    std::string text_;
};

void writeKey(HelpWriter& help, const KeyHelp& key) {
    help << "  ";
    help.key(key.key);
    if (!key.alternative.empty()) {
        help << " or ";
        help.key(key.alternative);
    }
    if (key.kind == KeyKind::kSignalList || key.kind == KeyKind::kNumberList) help << ", _02...";
    help << "=";
    std::string value(key.choices.empty() ? kindWord(key.kind) : key.choices);
    std::replace(value.begin(), value.end(), ' ', '|');
    help.placeholder(value);
    if (!key.unit.empty()) help << " " << key.unit;
    help << "  ";
    if (!key.fallback.empty()) help << "(default " << key.fallback << ") ";
    if (key.fallback.empty() && !key.mandatory) help << "(optional) ";
    help << key.help << "\n";
}

void writeExample(HelpWriter& help, std::string_view example) {
    while (!example.empty()) {
        const std::size_t end = example.find('\n');
        help << "    " << example.substr(0, end) << "\n";
        example.remove_prefix(end + 1);
    }
}

void writeFileForm(HelpWriter& help) {
    help << "A Virtual Signal Definition (VSD) file holds groups of key=value lines. A line\n"
            "that begins with # is a comment. A relative path starts at the file's directory.\n";
    help.head("SETTINGS");
    help << "The group ";
    help.key("[settings]") << " tells the interfaces and their DBC files:\n";
    for (const KeyHelp& key : settingsKeys())
        writeKey(help, key);
    writeExample(help,
                 "# two buses, and signals in a file of their own\n"
                 "[settings]\nifname_0=Can\ndbcfile_0=engine.dbc;body.dbc\n"
                 "ifname_1=Trailer\ndbcfile_1=trailer.dbc\ninclude=fuel.vsd\n");
}

void writeNames(HelpWriter& help) {
    help.head("NAMES");
    help << "Every other group is one virtual signal. Its head is its name: [";
    help.placeholder("msg") << ".";
    help.placeholder("signal") << "], or\n[";
    help.placeholder("signal") << "] in the message \"Virtual\". Names hold no blanks.\n"
                                  "A signal is referred to as ";
    help.placeholder("iface") << ".";
    help.placeholder("msg") << ".";
    help.placeholder("signal") << ", such as Can.Engine.rpm. The\ninterface of virtual signals is "
                                  "Virt: [Fuel.used] is Virt.Fuel.used. A virtual signal\n"
                                  "may use one that is defined further down or in an included "
                                  "file.\n";
}

void writeInputs(HelpWriter& help) {
    help.head("METHOD, INPUTS AND STEP");
    help << "Every group needs the key ";
    help.key("method") << ". All methods but geofence need inputs, and all but\n"
                          "geofence and integrate need a ";
    help.key("step") << ":\n  ";
    help.key("signal") << " or ";
    help.key("signal_01") << "=";
    help.placeholder("signal") << "  the input\n  ";
    help.key("signal_01") << ", ";
    help.key("signal_02") << "...=";
    help.placeholder("signal") << "  the inputs of expression, of sum to fmod, of equals and of\n"
                                  "      lookuptable, at most 99 without a gap\n  ";
    help.key("step") << "=";
    help.placeholder("integer") << " ms  one value at this time interval, 1 or more\n";
}

void writeCommonOptions(HelpWriter& help) {
    help.head("COMMON OPTIONS");
    help << "They apply to all virtual signals, in this order: ";
    help.key("absInput") << ", the method itself,\n";
    help.key("pauseIfZero") << ", ";
    help.key("fact") << " and ";
    help.key("offs") << ", ";
    help.key("absOutput") << ", ";
    help.key("fillEmpty") << ", and last the window of ";
    help.key("avgWindow") << ".\nOf two spellings the first one wins.\n";
    for (const KeyHelp& key : commonKeys())
        writeKey(help, key);
}

void writeOwnKeys(HelpWriter& help, const MethodHelp& method) {
    for (const KeyHelp& key : method.keys) {
        const bool isInput = key.key == "signal" || key.key == "signal_01";
        const bool isStep = key.key == "step" && key.fallback.empty();
        if (!isInput && !isStep) writeKey(help, key);
    }
}

// Keys that stand right above, at the method before, are not told again. What the method does is
// then the comment of its example, if it has no other.
void writeMethod(HelpWriter& help, const MethodHelp& method, bool sameKeys) {
    help.head(method.method);
    const bool commented = method.example.starts_with('#');
    if (!sameKeys || commented) help << method.help << "\n";
    if (!sameKeys) writeOwnKeys(help, method);
    if (!commented) help << "    # " << method.help << "\n";
    writeExample(help, method.example);
}

}  // namespace

std::string vsdHelpText() {
    HelpWriter help;
    writeFileForm(help);
    writeNames(help);
    writeInputs(help);
    writeCommonOptions(help);
    const auto methods = methodKeys();
    for (std::size_t i = 0; i < methods.size(); ++i) {
        const bool sameKeys = i > 0 && methods[i].keys.data() == methods[i - 1].keys.data();
        writeMethod(help, methods[i], sameKeys);
    }
    return help.take();
}

}  // namespace trelis
