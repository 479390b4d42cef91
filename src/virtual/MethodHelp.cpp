#include "virtual/MethodHelp.h"

#include <array>
#include <stdexcept>

namespace trelis {
namespace {

using enum KeyKind;

// Most fields of most keys are empty, so these name what is there.
constexpr KeyHelp mandatory(std::string_view key, KeyKind kind, std::string_view help,
                            std::string_view unit = {}, std::string_view choices = {}) {
    return {key, {}, kind, unit, true, {}, help, choices};
}

constexpr KeyHelp optional(std::string_view key, KeyKind kind, std::string_view fallback,
                           std::string_view help, std::string_view unit = {}) {
    return {key, {}, kind, unit, false, fallback, help, {}};
}

constexpr KeyHelp spelledAlso(std::string_view alternative, KeyHelp help) {
    help.alternative = alternative;
    return help;
}

// ---- keys of more than one method

constexpr KeyHelp kInput = spelledAlso("signal_01", mandatory("signal", kSignal, "input signal"));
constexpr KeyHelp kInputs = mandatory("signal_01", kSignalList, "input signals, at most 99");
constexpr KeyHelp kStep = mandatory("step", kInteger, "one value at this time interval", "ms");
constexpr KeyHelp kRadians =
    optional("radians", kFlag, "false", "angles in radians instead of degrees");
constexpr KeyHelp kOnlyPos = optional("onlyPos", kFlag, "false", "only use positive values");
constexpr KeyHelp kOnlyNeg = optional("onlyNeg", kFlag, "false", "only use negative values");
constexpr KeyHelp kAbove =
    mandatory("above", kNumber, "high when signal above this level", "units");
constexpr KeyHelp kBelow = mandatory("below", kNumber, "low when signal below this level", "units");

constexpr KeyHelp resetKey(std::string_view help) {
    return optional("resetSig", kSignal, {}, help);
}

// ---- the keys of each method

template <typename... Keys>
constexpr auto ofOneInput(const Keys&... own) {
    return std::array{kInput, kStep, own...};
}

template <typename... Keys>
constexpr auto ofInputs(const Keys&... own) {
    return std::array{kInputs, kStep, own...};
}

constexpr auto kExpressionKeys =
    ofInputs(spelledAlso("expression",
                         mandatory("expr", kText,
                                   "formula of $1, $2, ..., which are written with two digits: "
                                   "$01, $02")),
             kRadians);
constexpr std::array kIntegrateKeys = {
    kInput,
    kOnlyPos,
    kOnlyNeg,
    resetKey("set sum to 0 when this signal is larger than 0"),
    optional("maxSum", kNumber, {}, "sum is truncated to this as highest level", "units"),
    optional("minSum", kNumber, {}, "sum is truncated to this as lowest level", "units")};
constexpr auto kCountKeys =
    ofOneInput(kAbove, kBelow, resetKey("set count to 0 when this signal is larger than 0"));
constexpr auto kTimeKeys = ofOneInput(
    kAbove, kBelow,
    optional("countAbove", kFlag, "true", "count the time above (true) or below (false)"),
    resetKey("set time to 0 when this signal is larger than 0"));
constexpr auto kAccumulateKeys =
    ofOneInput(resetKey("set sum to 0 when this signal is larger than 0"));
constexpr auto kAverageKeys = ofOneInput(
    mandatory("window", kInteger, "width of the sliding window", "ms"), kOnlyPos, kOnlyNeg);
constexpr auto kSlopeKeys =
    ofOneInput(mandatory("posSlopeIncr", kNumber, "limit for rising above 0", "units/s"),
               mandatory("posSlopeDecr", kNumber, "limit for falling back to 0", "units/s"),
               mandatory("negSlopeIncr", kNumber, "limit for falling below 0", "units/s"),
               mandatory("negSlopeDecr", kNumber, "limit for rising back to 0", "units/s"));
constexpr auto kEstimateKeys =
    ofOneInput(mandatory("highLimit", kNumber, "high level begins when this is passed", "units"),
               mandatory("lowLimit", kNumber, "back at low level when this is passed", "units"),
               optional("offValue", kNumber, "0", "static low level", "units"));
constexpr auto kFrequencyKeys = ofOneInput(
    optional("samples", kInteger, "1", "number of cycles to average over", "cycles"),
    optional("filter", kNumber, "0", "filter out spikes greater than this; 0 is off", "units"),
    optional("peaks", kInteger, "1", "number of peaks per cycle"),
    optional("amplitude", kFlag, "false", "measure amplitude, in whole units"));
constexpr auto kIirKeys =
    ofOneInput(optional("K", kNumber, "1000", "damp factor, Y(n)=(1/K)*x(n)+Y(n-1)*(1-(1/K))"));
constexpr auto kAboveBelowKeys = ofOneInput(kAbove, kBelow);
constexpr auto kMathKeys = ofInputs();
constexpr auto kAngleKeys = ofInputs(kRadians);
constexpr auto kModuloKeys = ofInputs(mandatory("denom", kNumber, "divisor", "units"));
constexpr auto kMultiplexKeys =
    ofOneInput(mandatory("trigSign_01", kSignalList, "signals that trigger taking the value"),
               mandatory("trigVal_01", kNumberList, "value that each of them must have"));
constexpr auto kStatisticsKeys =
    ofOneInput(mandatory("type", kChoice, "what the result shows", {}, "min max average avg"));
constexpr auto kEqualsKeys =
    ofInputs(mandatory("value_01", kNumberList, "value to compare each input with"),
             optional("allOf", kFlag, "false", "all inputs must match, not just one"));
constexpr auto kLookupKeys =
    ofInputs(mandatory("file", kPath, "table: a column an input, the output last, blanks between"));
constexpr std::array kGeofenceKeys = {
    KeyHelp{"step", {}, kInteger, "ms", true, "1000", kStep.help, {}},
    mandatory("type", kChoice, "shape of the fence", {}, "square circle"),
    mandatory("topleft", kPoint, "square: north-western corner", "degrees"),
    mandatory("bottomright", kPoint, "square: south-eastern corner", "degrees"),
    mandatory("center", kPoint, "circle: centre", "degrees"),
    mandatory("radius", kInteger, "circle: radius", "m")};

// A definition file with an example a method: groups with their comments, up to an empty line.
constexpr std::string_view kExamples =
#include "virtual/MethodExamples.inc"
    ;

// A method without an example does not compile.
consteval std::string_view exampleOf(std::string_view name) {
    constexpr std::string_view kLine = "\nmethod=";
    for (std::size_t at = kExamples.find(kLine); at != std::string_view::npos;
         at = kExamples.find(kLine, at + 1)) {
        const auto value = kExamples.substr(at + kLine.size());
        if (!value.starts_with(name) || value[name.size()] != '\n') continue;
        const std::size_t before = kExamples.rfind("\n\n", at);
        const std::size_t begin = before == std::string_view::npos ? 1 : before + 2;
        const std::size_t end = kExamples.find("\n\n", at);
        return kExamples.substr(begin, end == std::string_view::npos ? end : end + 1 - begin);
    }
    throw std::logic_error("no example");
}

consteval MethodHelp method(std::string_view name, std::string_view help,
                            std::span<const KeyHelp> keys) {
    return {name, help, keys, exampleOf(name)};
}

// Those with the same keys stand together.
constexpr std::array kMethods = {
    method("expression", "value of a formula", kExpressionKeys),
    method("integrate", "sum of value times seconds", kIntegrateKeys),
    method("count", "how often the input rose above a level", kCountKeys),
    method("time", "seconds above or below a level", kTimeKeys),
    method("accumulate", "sum of every new value", kAccumulateKeys),
    method("average", "time-weighted mean over a sliding window", kAverageKeys),
    method("slope", "follows the input at a limited speed", kSlopeKeys),
    method("estimate", "mean level of each excursion", kEstimateKeys),
    method("frequency", "frequency (Hz) or amplitude of a swinging input", kFrequencyKeys),
    method("IIR", "first-order low-pass filter", kIirKeys),
    method("above", "1 above a level, else 0", kAboveBelowKeys),
    method("below", "0 above a level, else 1", kAboveBelowKeys),
    method("sum", "signal_01 + signal_02 + ...", kMathKeys),
    method("sub", "signal_01 - signal_02 - ...", kMathKeys),
    method("mult", "signal_01 x signal_02 x ...", kMathKeys),
    method("div", "signal_01 / signal_02 / ...", kMathKeys),
    method("avg", "mean of all inputs at a time", kMathKeys),
    method("max", "greatest of all inputs", kMathKeys),
    method("min", "smallest of all inputs", kMathKeys),
    method("inv", "1 / signal_01", kMathKeys),
    method("sqrt", "square root", kMathKeys),
    method("sqr", "signal_01 x signal_01", kMathKeys),
    method("der", "change per second", kMathKeys),
    method("derive", "the same as der", kMathKeys),
    method("sin", "sine", kAngleKeys),
    method("cos", "cosine", kAngleKeys),
    method("tan", "tangent", kAngleKeys),
    method("asin", "arc sine", kAngleKeys),
    method("acos", "arc cosine", kAngleKeys),
    method("atan", "arc tangent", kAngleKeys),
    method("fmod", "remainder of a division, with the input's sign", kModuloKeys),
    method("multiplex", "value while other signals have certain values", kMultiplexKeys),
    method("statistics", "least, greatest or mean value, as a result of -q", kStatisticsKeys),
    method("equals", "1 if inputs have certain values, else 0", kEqualsKeys),
    method("lookuptable", "value from a table, linear between its rows", kLookupKeys),
    method("geofence", "1 within a fence, else 0; reads the logger's GPS", kGeofenceKeys),
};

constexpr std::array kCommon = {
    spelledAlso("factor", optional("fact", kNumber, "1", "multiply the output by this, not 0")),
    spelledAlso("offset", optional("offs", kNumber, "0", "add this to the output", "units")),
    spelledAlso("minLimit", optional("minLim", kNumber, {},
                                     "ignore values below this when scaling the plot", "units")),
    spelledAlso("maxLimit", optional("maxLim", kNumber, {},
                                     "ignore values above this when scaling the plot", "units")),
    optional("hidden", kFlag, "false", "only use as input to other signals"),
    optional("fillEmpty", kFlag, "false", "fill gaps above 10 s with the last value"),
    optional("valWhenEmpty", kNumber, {}, "fill gaps with this value instead", "units"),
    optional("pauseIfZero", kFlag, "false", "no output while it would be 0; not with fillEmpty"),
    optional("absInput", kFlag, "false", "use the absolute value of the inputs"),
    optional("absOutput", kFlag, "false", "output the absolute value"),
    optional("unit", kText, {}, "unit of the signal; \"hex\" shows hexadecimal numbers"),
    optional("comment", kText, {}, "description of the signal"),
    spelledAlso("avgWindow", optional("avg", kInteger, {},
                                      "average the output over this window; needs step", "ms")),
};

constexpr std::array kSettings = {
    optional("ifname_N", kText, {}, "name of interface N, 0 to 31: letters, digits, _ : -"),
    optional("dbcfile_N", kPath, {}, "its DBC files, with ; between them"),
    optional("dbcfile", kPath, {}, "old form: the only DBC file, of interface 0 named Can"),
    optional("legacygps", kFlag, "false", "positions come from interface 0, not from the logger"),
    optional("include", kPath, {}, "VSD files to read before this one's signals"),
    optional("postinclude", kPath, {}, "VSD files to read after this one's signals"),
    optional("tolerant", kFlag, "false", "keep what DBC files hold beyond the strict rules"),
};

}  // namespace

std::span<const MethodHelp> methodKeys() {
    return kMethods;
}
std::span<const KeyHelp> commonKeys() {
    return kCommon;
}
std::span<const KeyHelp> settingsKeys() {
    return kSettings;
}

std::string_view kindWord(KeyKind kind) {
    switch (kind) {
        case kSignal:
        case kSignalList:
            return "signal";
        case kNumber:
        case kNumberList:
            return "number";
        case kInteger:
            return "integer";
        case kFlag:
            return "true|false";
        case kChoice:
            return "word";
        case kPoint:
            return "lat;long";
        case kPath:
            return "file";
        case kText:
            break;
    }
    return "text";
}

}  // namespace trelis
