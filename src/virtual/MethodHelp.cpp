#include "virtual/MethodHelp.h"

#include <array>

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

constexpr KeyHelp paired(std::string_view key, std::string_view alternative, KeyKind kind,
                         std::string_view fallback, std::string_view help,
                         std::string_view unit = {}) {
    return {key, alternative, kind, unit, false, fallback, help, {}};
}

constexpr KeyHelp kInput = {"signal", "signal_01", kSignal, {}, true, {}, "input signal", {}};
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

constexpr std::array kExpressionKeys = {
    kInputs, kStep,
    KeyHelp{"expr",
            "expression",
            kText,
            {},
            true,
            {},
            "formula of $1, $2, ..., which are written with two digits: $01, $02",
            {}},
    kRadians};
constexpr std::array kAverageKeys = {
    kInput, kStep, mandatory("window", kInteger, "width of the sliding window", "ms"), kOnlyPos,
    kOnlyNeg};
constexpr std::array kIntegrateKeys = {
    kInput,
    kOnlyPos,
    kOnlyNeg,
    optional("minSum", kNumber, {}, "sum is truncated to this as lowest level", "units"),
    optional("maxSum", kNumber, {}, "sum is truncated to this as highest level", "units"),
    resetKey("set sum to 0 when this signal is larger than 0")};
constexpr std::array kSlopeKeys = {
    kInput,
    kStep,
    mandatory("posSlopeIncr", kNumber, "limit for rising above 0", "units/s"),
    mandatory("posSlopeDecr", kNumber, "limit for falling back to 0", "units/s"),
    mandatory("negSlopeIncr", kNumber, "limit for falling below 0", "units/s"),
    mandatory("negSlopeDecr", kNumber, "limit for rising back to 0", "units/s")};
constexpr std::array kCountKeys = {kInput, kStep, kAbove, kBelow,
                                   resetKey("set count to 0 when this signal is larger than 0")};
constexpr std::array kTimeKeys = {
    kInput,
    kStep,
    kAbove,
    kBelow,
    optional("countAbove", kFlag, "true", "count the time above (true) or below (false)"),
    resetKey("set time to 0 when this signal is larger than 0")};
constexpr std::array kAccumulateKeys = {kInput, kStep,
                                        resetKey("set sum to 0 when this signal is larger than 0")};
constexpr std::array kFrequencyKeys = {
    kInput,
    kStep,
    optional("samples", kInteger, "1", "number of cycles to average over", "cycles"),
    optional("filter", kNumber, "0", "filter out spikes greater than this; 0 is off", "units"),
    optional("peaks", kInteger, "1", "number of peaks per cycle"),
    optional("amplitude", kFlag, "false", "measure amplitude, in whole units")};
constexpr std::array kEstimateKeys = {
    kInput, kStep,
    mandatory("highLimit", kNumber, "high level begins when this is passed", "units"),
    mandatory("lowLimit", kNumber, "back at low level when this is passed", "units"),
    optional("offValue", kNumber, "0", "static low level", "units")};
constexpr std::array kIirKeys = {
    kInput, kStep, optional("K", kNumber, "1000", "damp factor, Y(n)=(1/K)*x(n)+Y(n-1)*(1-(1/K))")};
constexpr std::array kStatisticsKeys = {
    kInput, kStep, mandatory("type", kChoice, "what the result shows", {}, "min max average avg")};
constexpr std::array kLookupKeys = {
    kInputs, kStep,
    mandatory("file", kPath, "table: a column an input, the output last, blanks between")};
constexpr std::array kAboveBelowKeys = {kInput, kStep, kAbove, kBelow};
constexpr std::array kMultiplexKeys = {
    kInput, kStep, mandatory("trigSign_01", kSignalList, "signals that trigger taking the value"),
    mandatory("trigVal_01", kNumberList, "value that each of them must have")};
constexpr std::array kEqualsKeys = {
    kInputs, kStep, mandatory("value_01", kNumberList, "value to compare each input with"),
    optional("allOf", kFlag, "false", "all inputs must match, not just one")};
constexpr std::array kGeofenceKeys = {
    KeyHelp{"step", {}, kInteger, "ms", true, "1000", kStep.help, {}},
    mandatory("type", kChoice, "shape of the fence", {}, "square circle"),
    mandatory("topleft", kPoint, "square: north-western corner", "degrees"),
    mandatory("bottomright", kPoint, "square: south-eastern corner", "degrees"),
    mandatory("center", kPoint, "circle: centre", "degrees"),
    mandatory("radius", kInteger, "circle: radius", "m")};
constexpr std::array kMathKeys = {kInputs, kStep};
constexpr std::array kAngleKeys = {kInputs, kStep, kRadians};
constexpr std::array kModuloKeys = {kInputs, kStep,
                                    mandatory("denom", kNumber, "divisor", "units")};

constexpr std::array kMethods = {
    MethodHelp{"expression", "value of a formula", kExpressionKeys,
               "# operators by rank: || && | < <= > >= == != | + - | * / % | ^\n"
               "# functions: sin cos tan asin acos atan atan2 sqrt exp log (base 10)\n"
               "#   min max abs floor ceil; constant: pi\n"
               "# arguments with an operator need parentheses: max(($01 + 1), $02)\n"
               "[Power.slip]\nmethod=expression\nsignal_01=Can.Engine.rpm\n"
               "signal_02=Can.Gearbox.shaftRpm\nstep=100\nexpr=($01 - $02) / max($01, 1) * 100\n"
               "unit=%\n"},
    MethodHelp{"average", "time-weighted mean over a sliding window", kAverageKeys,
               "# each value stands at the centre of its window\n"
               "[Engine.smoothRpm]\nmethod=average\nsignal=Can.Engine.rpm\nstep=100\n"
               "window=2000\n"},
    MethodHelp{"integrate", "sum of value times seconds", kIntegrateKeys,
               "# litres from litres an hour; needs no step\n"
               "[Fuel.used]\nmethod=integrate\nsignal=Can.Engine.fuelRate\nonlyPos=true\n"
               "fact=0.000277778\nunit=l\n"},
    MethodHelp{"slope", "follows the input at a limited speed", kSlopeKeys,
               "# at most 5 units a second, in all directions\n"
               "[Brake.calm]\nmethod=slope\nsignal=Can.Brake.pressure\nstep=50\n"
               "posSlopeIncr=5\nposSlopeDecr=5\nnegSlopeIncr=5\nnegSlopeDecr=5\n"},
    MethodHelp{"count", "how often the input rose above a level", kCountKeys,
               "# counts again only after the input was below 10\n"
               "[Trip.starts]\nmethod=count\nsignal=Can.Vehicle.speed\nabove=30\nbelow=10\n"
               "step=100\n"},
    MethodHelp{"time", "seconds above or below a level", kTimeKeys,
               "# time at standstill\n"
               "[Trip.stopped]\nmethod=time\nsignal=Can.Vehicle.speed\nabove=1\nbelow=0.5\n"
               "countAbove=false\nstep=100\nunit=s\n"},
    MethodHelp{"accumulate", "sum of every new value", kAccumulateKeys,
               "# values 1, 1, 2, 2, 5 give 8\n"
               "[Trip.doses]\nmethod=accumulate\nsignal=Can.Pump.dose\nstep=100\n"},
    MethodHelp{"frequency", "frequency (Hz) or amplitude of a swinging input", kFrequencyKeys,
               "# mean of the last three cycles\n"
               "[Wheel.shake]\nmethod=frequency\nsignal=Can.Wheel.acceleration\nstep=10\n"
               "samples=3\nfilter=15\nunit=Hz\n"},
    MethodHelp{"estimate", "mean level of each excursion", kEstimateKeys,
               "# one level for each time that the pump runs\n"
               "[Pump.level]\nmethod=estimate\nsignal=Can.Pump.current\nhighLimit=2\n"
               "lowLimit=1\nstep=100\n"},
    MethodHelp{"IIR", "first-order low-pass filter", kIirKeys,
               "# at 10 ms a K of 20 smooths over about 200 ms\n"
               "[Engine.filtered]\nmethod=IIR\nsignal=Can.Engine.rpm\nK=20\nstep=10\n"},
    MethodHelp{"statistics", "least, greatest or mean value, as a result of -q", kStatisticsKeys,
               "# has no plot; type=max starts just above 0\n"
               "[Trip.topSpeed]\nmethod=statistics\nsignal=Can.Vehicle.speed\ntype=max\n"
               "step=100\n"},
    MethodHelp{"lookuptable", "value from a table, linear between its rows", kLookupKeys,
               "# a row of map.txt: \"<rpm> <load> <torque>\", sorted by each column\n"
               "[Engine.torque]\nmethod=lookuptable\nsignal_01=Can.Engine.rpm\n"
               "signal_02=Can.Engine.load\nfile=map.txt\nstep=100\nunit=Nm\n"},
    MethodHelp{"above", "1 above a level, else 0", kAboveBelowKeys,
               "# 1 from above 100 until below 90\n"
               "[Alarm.hot]\nmethod=above\nsignal=Can.Engine.coolant\nabove=100\nbelow=90\n"
               "step=1000\n"},
    MethodHelp{"below", "0 above a level, else 1", kAboveBelowKeys,
               "# 0 from above 14 until below 12; starts at 1\n"
               "[Alarm.lowVoltage]\nmethod=below\nsignal=Can.Power.battery\nabove=14\nbelow=12\n"
               "step=1000\n"},
    MethodHelp{"multiplex", "value while other signals have certain values", kMultiplexKeys,
               "# cell voltage 3 of a message that sends one cell after the other\n"
               "[Battery.cell3]\nmethod=multiplex\nsignal=Can.Cells.voltage\n"
               "trigSign_01=Can.Cells.index\ntrigVal_01=3\nstep=20\n"},
    MethodHelp{"equals", "1 if inputs have certain values, else 0", kEqualsKeys,
               "# in first gear with the clutch closed\n"
               "[Gearbox.firstGear]\nmethod=equals\nsignal_01=Can.Gearbox.gear\nvalue_01=1\n"
               "signal_02=Can.Gearbox.clutch\nvalue_02=0\nallOf=true\nstep=100\n"},
    MethodHelp{"geofence", "1 within a fence, else 0; reads the logger's GPS", kGeofenceKeys,
               "# within 250 m of the depot\n"
               "[Place.depot]\nmethod=geofence\nstep=1000\ntype=circle\n"
               "center=57.7072;11.9668\nradius=250\n"
               "# a square; a negative latitude is south, a negative longitude west\n"
               "[Place.harbour]\nmethod=geofence\ntype=square\ntopleft=57.7010;11.9200\n"
               "bottomright=57.6900;11.9600\n"},
    MethodHelp{"sum", "signal_01 + signal_02 + ...", kMathKeys,
               "# both wheels of an axle\n"
               "[Axle.load]\nmethod=sum\nsignal_01=Can.Axle.left\nsignal_02=Can.Axle.right\n"
               "step=100\n"},
    MethodHelp{"sub", "signal_01 - signal_02 - ...", kMathKeys,
               "# how much faster the driven wheel turns\n"
               "[Wheel.slip]\nmethod=sub\nsignal_01=Can.Wheel.rear\nsignal_02=Can.Wheel.front\n"
               "step=20\n"},
    MethodHelp{"mult", "signal_01 x signal_02 x ...", kMathKeys,
               "# watts from volts and amperes\n"
               "[Power.electric]\nmethod=mult\nsignal_01=Can.Power.voltage\n"
               "signal_02=Can.Power.current\nstep=100\nunit=W\n"},
    MethodHelp{"div", "signal_01 / signal_02 / ...", kMathKeys,
               "# how the gearbox is geared now\n"
               "[Gearbox.ratio]\nmethod=div\nsignal_01=Can.Engine.rpm\n"
               "signal_02=Can.Gearbox.shaftRpm\nstep=100\n"},
    MethodHelp{"avg", "mean of all inputs at a time", kMathKeys,
               "[Wheel.mean]\nmethod=avg\nsignal_01=Can.Wheel.left\nsignal_02=Can.Wheel.right\n"
               "step=20\n"},
    MethodHelp{"max", "greatest of all inputs", kMathKeys,
               "[Engine.hottest]\nmethod=max\nsignal_01=Can.Engine.coolant\n"
               "signal_02=Can.Engine.oil\nstep=1000\n"},
    MethodHelp{"min", "smallest of all inputs", kMathKeys,
               "[Tyre.lowest]\nmethod=min\nsignal_01=Can.Tyre.left\nsignal_02=Can.Tyre.right\n"
               "step=1000\n"},
    MethodHelp{"inv", "1 / signal_01", kMathKeys,
               "# seconds a turn\n"
               "[Wheel.period]\nmethod=inv\nsignal_01=Can.Wheel.frequency\nstep=100\nunit=s\n"},
    MethodHelp{"sqrt", "square root", kMathKeys,
               "[Flow.rate]\nmethod=sqrt\nsignal_01=Can.Flow.pressure\nstep=100\n"},
    MethodHelp{"sqr", "signal_01 x signal_01", kMathKeys,
               "[Air.drag]\nmethod=sqr\nsignal_01=Can.Vehicle.speed\nstep=100\n"},
    MethodHelp{"der", "change per second", kMathKeys,
               "[Vehicle.acceleration]\nmethod=der\nsignal_01=Can.Vehicle.speed\nstep=100\n"},
    MethodHelp{"derive", "the same as der", kMathKeys,
               "# the step smooths: a longer one gives a calmer result\n"
               "[Engine.spinUp]\nmethod=derive\nsignal_01=Can.Engine.rpm\nstep=500\n"},
    MethodHelp{"sin", "sine", kAngleKeys,
               "# height gained by length of road\n"
               "[Road.grade]\nmethod=sin\nsignal_01=Can.Body.pitch\nstep=100\n"},
    MethodHelp{"cos", "cosine", kAngleKeys,
               "[Road.level]\nmethod=cos\nsignal_01=Can.Body.pitch\nstep=100\n"},
    MethodHelp{"tan", "tangent", kAngleKeys,
               "# per cent from an angle\n"
               "[Road.slope]\nmethod=tan\nsignal_01=Can.Body.pitch\nstep=100\nfact=100\nunit=%\n"},
    MethodHelp{"asin", "arc sine", kAngleKeys,
               "[Body.pitch]\nmethod=asin\nsignal_01=Can.Body.gForce\nstep=100\nunit=deg\n"},
    MethodHelp{"acos", "arc cosine", kAngleKeys,
               "[Body.tilt]\nmethod=acos\nsignal_01=Can.Body.gVertical\nstep=100\nunit=deg\n"},
    MethodHelp{"atan", "arc tangent", kAngleKeys,
               "[Road.angle]\nmethod=atan\nsignal_01=Virt.Road.slope\nstep=100\nfact=0.01\n"},
    MethodHelp{"fmod", "remainder of a division, with the input's sign", kModuloKeys,
               "# 370 degrees read 10, -370 read -10\n"
               "[Steering.angle]\nmethod=fmod\nsignal_01=Can.Steering.turned\ndenom=360\n"
               "step=20\n"},
};

constexpr std::array kCommon = {
    paired("fact", "factor", kNumber, "1", "multiply the output by this, not 0"),
    paired("offs", "offset", kNumber, "0", "add this to the output", "units"),
    paired("minLim", "minLimit", kNumber, {}, "ignore values below this when scaling the plot",
           "units"),
    paired("maxLim", "maxLimit", kNumber, {}, "ignore values above this when scaling the plot",
           "units"),
    optional("absInput", kFlag, "false", "use the absolute value of the inputs"),
    optional("absOutput", kFlag, "false", "output the absolute value"),
    paired("avg", "avgWindow", kInteger, {}, "average the output over this window; needs step",
           "ms"),
    optional("comment", kText, {}, "description of the signal"),
    optional("unit", kText, {}, "unit of the signal; \"hex\" shows hexadecimal numbers"),
    optional("hidden", kFlag, "false", "only use as input to other signals"),
    optional("fillEmpty", kFlag, "false", "fill gaps above 10 s with the last value"),
    optional("valWhenEmpty", kNumber, {}, "fill gaps with this value instead", "units"),
    optional("pauseIfZero", kFlag, "false", "no output while it would be 0; not with fillEmpty"),
};

constexpr std::array kSettings = {
    optional("ifname_N", kText, {}, "name of interface N, 0 to 31: letters, digits, _ : -"),
    optional("dbcfile_N", kPath, {}, "its DBC files, with ; between them"),
    optional("dbcfile", kPath, {}, "old form: the only DBC file, of interface 0 named Can"),
    optional("legacygps", kFlag, "false", "positions come from interface 0, not from the logger"),
    optional("include", kPath, {}, "VSD files to read before this one's signals"),
    optional("postinclude", kPath, {}, "VSD files to read after this one's signals"),
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
