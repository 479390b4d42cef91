// The text form of a scenario. Lines are `key=value` under `[section]` heads; `#` begins a comment.
// docs/simlogger.md tells the keys to a user.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>

#include "Scenario.h"
#include "Text.h"
#include "Vehicle.h"

namespace trelis::sim {

namespace {

[[noreturn]] void fail(const std::string& text) {
    throw ScenarioError(text);
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

template <typename Number>
Number numberOf(std::string_view text) {
    const auto value = numberIn<Number>(text);
    if (!value) fail(quoted(text) + " is not a number that fits here");
    return *value;
}

/// A finite number from `low` to `high`.
double realOf(std::string_view text, double low, double high) {
    const double value = numberOf<double>(text);
    if (!(value >= low && value <= high))
        fail(quoted(text) + " is not between " + numberText(low) + " and " + numberText(high));
    return value;
}

bool flagOf(std::string_view text) {
    if (text == "yes" || text == "true") return true;
    if (text == "no" || text == "false") return false;
    fail(quoted(text) + " is neither yes nor no");
}

std::uint64_t millisecondsOf(std::string_view seconds) {
    constexpr double kTenYears = 3.2e8;
    return static_cast<std::uint64_t>(std::floor(realOf(seconds, 0.0, kTenYears) * 1000.0 + 0.5));
}

/// "2024-05-14 06:30:00.000", UTC; the milliseconds may be missing.
std::uint64_t startTimeOf(std::string_view text) {
    const std::string whole(text);
    std::string_view rest = text;
    const auto year = numberIn<int>(takeUntil(rest, "-"));
    const auto month = numberIn<unsigned>(takeUntil(rest, "-"));
    const auto day = numberIn<unsigned>(takeUntil(rest, " T"));
    const auto hour = numberIn<unsigned>(takeUntil(rest, ":"));
    const auto minute = numberIn<unsigned>(takeUntil(rest, ":"));
    const auto second = numberIn<double>(rest);
    using namespace std::chrono;
    if (year && month && day && hour && minute && second && *hour < 24 && *minute < 60 &&
        *second >= 0.0 && *second < 60.0) {
        const year_month_day date{std::chrono::year(*year), std::chrono::month(*month),
                                  std::chrono::day(*day)};
        const auto days = sys_days(date).time_since_epoch();
        if (date.ok() && days.count() >= 0) {
            const auto minutes = duration_cast<std::chrono::minutes>(days).count() +
                                 static_cast<std::int64_t>(*hour * 60 + *minute);
            return static_cast<std::uint64_t>(minutes) * 60000 +
                   static_cast<std::uint64_t>(std::floor(*second * 1000.0 + 0.5));
        }
    }
    fail(quoted(whole) + " is not a date and time like 2024-05-14 06:30:00.000");
}

Damage damageOf(std::string_view text) {
    constexpr std::pair<std::string_view, Damage> kKinds[] = {
        {"none", Damage::kNone},         {"torn", Damage::kTorn},    {"flipped", Damage::kFlipped},
        {"magic", Damage::kMagic},       {"zero", Damage::kZero},    {"length", Damage::kLength},
        {"oversize", Damage::kOversize}, {"header", Damage::kHeader}};
    for (const auto& [name, kind] : kKinds)
        if (text == name) return kind;
    fail("there is no damage " + quoted(text));
}

ModelSpec modelOf(std::string_view text) {
    const auto words = wordsOf(text);
    const std::string_view name = words.empty() ? std::string_view("constant") : words[0];
    const auto word = [&](std::size_t i) {
        if (i >= words.size()) fail("the model " + quoted(name) + " needs more figures");
        return words[i];
    };
    ModelSpec model;
    if (name == "constant") {
        model.value = words.size() > 1 ? numberOf<double>(words[1]) : 0.0;
    } else if (name == "walk") {
        model.kind = ModelKind::kWalk;
        model.step = numberOf<std::uint16_t>(word(1));
        model.chance = realOf(word(2), 0.0, 1.0);
        model.value = words.size() > 3 ? numberOf<double>(words[3]) : 0.0;
    } else if (name == "drift") {
        model.kind = ModelKind::kDrift;
        model.chance = realOf(word(1), 0.0, 1.0);
        model.value = words.size() > 2 ? numberOf<double>(words[2]) : 0.0;
    } else if (name == "state") {
        model.kind = ModelKind::kState;
        model.chance = realOf(word(1), 0.0, 1.0);
        model.states = words.size() > 2 ? numberOf<std::uint16_t>(words[2]) : 2;
    } else if (name == "counter") {
        model.kind = ModelKind::kCounter;
    } else if (name == "checksum") {
        model.kind = ModelKind::kChecksum;
    } else if (name == "wave" || name == "ramp") {
        model.kind = name == "wave" ? ModelKind::kWave : ModelKind::kRamp;
        model.low = numberOf<double>(word(1));
        model.high = numberOf<double>(word(2));
        model.periodS = realOf(word(3), 0.001, 1e6);
    } else if (name == "vehicle") {
        model.kind = ModelKind::kVehicle;
        const auto quantity = Vehicle::quantityNamed(word(1));
        if (!quantity) fail("the vehicle has no " + quoted(word(1)));
        model.quantity = *quantity;
        model.noise = words.size() > 2 ? realOf(words[2], 0.0, 1e9) : 0.0;
    } else {
        fail("there is no model " + quoted(name));
    }
    return model;
}

int muxOf(std::string_view text) {
    if (text.empty()) return SignalSpec::kPlain;
    if (text == "M") return SignalSpec::kMultiplexor;
    if (text.starts_with('m')) return numberOf<std::uint16_t>(text.substr(1));
    fail(quoted(text) + " is neither M nor m with a number");
}

/// NAME [M|mN] : START|BITS@ORDER SIGN (FACTOR,OFFSET) [MIN|MAX] "UNIT" MODEL...
SignalSpec signalOf(std::string_view text) {
    SignalSpec signal;
    std::string_view head = takeUntil(text, ":");
    signal.name = takeWord(head);
    signal.mux = muxOf(trimmed(head));
    signal.start = numberOf<unsigned>(takeUntil(text, "|"));
    signal.bits = numberOf<unsigned>(takeUntil(text, "@"));
    const std::string_view form = trimmed(takeUntil(text, "("));
    if (form.size() != 2 || (form[0] != '0' && form[0] != '1') ||
        std::string_view("+-f").find(form[1]) == std::string_view::npos)
        fail(quoted(form) + " is not a byte order 0 or 1 and one of + - f");
    signal.bigEndian = form[0] == '0';
    signal.isSigned = form[1] != '+';
    signal.isFloat = form[1] == 'f';
    signal.factor = numberOf<double>(takeUntil(text, ","));
    signal.offset = numberOf<double>(takeUntil(text, ")"));
    takeUntil(text, "[");
    signal.minimum = numberOf<double>(takeUntil(text, "|"));
    signal.maximum = numberOf<double>(takeUntil(text, "]"));
    takeUntil(text, "\"");
    signal.unit = takeUntil(text, "\"");
    signal.model = modelOf(text);
    if (signal.mux == SignalSpec::kMultiplexor) signal.model.kind = ModelKind::kMultiplexor;
    return signal;
}

/// Reads the lines of a scenario one after another.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    Scenario read() {
        while (!rest_.empty()) {
            ++line_;
            std::string_view line = trimmed(takeUntil(rest_, "\n"));
            if (line.empty() || line.starts_with('#')) continue;
            try {
                readLine(line);
            } catch (const ScenarioError& error) {
                fail("line " + std::to_string(line_) + ": " + error.what());
            }
        }
        return std::move(scenario_);
    }

  private:
    void readLine(std::string_view line) {
        if (line.starts_with("text ")) return readText(line.substr(5));
        if (line.starts_with('[')) return beginSection(line);
        std::string_view value = line;
        const std::string_view key = trimmed(takeUntil(value, "="));
        value = trimmed(value);
        if (section_ == "recording")
            setRecordingKey(scenario_.recording, key, value);
        else if (section_ == "interface")
            setInterfaceKey(key, value);
        else if (section_ == "message")
            setMessageKey(key, value);
        else if (section_ == "vehicle")
            setVehicleKey(key, value);
        else if (section_ == "gps" && key == "period")
            gpsPeriod(value);
        else
            fail("no section takes the key " + quoted(key) + " here");
    }

    void beginSection(std::string_view line) {
        if (!line.ends_with(']')) fail("']' is missing");
        std::string_view head = line.substr(1, line.size() - 2);
        section_ = takeWord(head);
        const std::string_view name = trimmed(head);
        if (section_ == "interface") {
            number_ = numberOf<std::uint8_t>(name);
            if (number_ == kLoggerInterface) fail("interface 255 is the logger's own");
            scenario_.interfaces[number_];
        } else if (section_ == "message") {
            if (name.empty()) fail("the message has no name");
            scenario_.messages.emplace_back().name = name;
        } else if (section_ != "recording" && section_ != "gps" && section_ != "vehicle") {
            fail("there is no section " + quoted(section_));
        }
    }

    /// `text NAME <<<`, then lines as they stand, up to a line `>>>`.
    void readText(std::string_view head) {
        const std::string name(takeWord(head));
        if (trimmed(head) != "<<<") fail("expected <<< behind the file's name");
        if (name.find('/') != std::string::npos) fail("the file's name must not hold a slash");
        std::string& content = scenario_.texts[name];
        while (!rest_.empty()) {
            ++line_;
            const std::string_view line = takeUntil(rest_, "\n");
            if (line == ">>>") return;
            content.append(line).push_back('\n');
        }
        fail("the text of " + quoted(name) + " has no end");
    }

    void setInterfaceKey(std::string_view key, std::string_view value) {
        InterfaceSpec& interface = scenario_.interfaces[number_];
        if (key == "name")
            interface.name = value;
        else if (key == "dbc")
            interface.dbcFile = value;
        else
            fail("an interface has no key " + quoted(key));
    }

    void setMessageKey(std::string_view key, std::string_view value) {
        MessageSpec& message = scenario_.messages.back();
        if (key == "interface")
            message.interface = numberOf<std::uint8_t>(value);
        else if (key == "id")
            message.id = numberOf<std::uint32_t>(value) | (message.id & kExtendedId);
        else if (key == "extended")
            message.id |= flagOf(value) ? kExtendedId : 0;
        else if (key == "length")
            message.length = numberOf<std::uint8_t>(value);
        else if (key == "period")
            message.periodMs = numberOf<std::uint32_t>(value);
        else if (key == "jitter")
            message.jitterMs = numberOf<std::uint16_t>(value);
        else if (key == "fill")
            message.fill = numberOf<std::uint8_t>(value);
        else if (key == "comment")
            message.comment = value;
        else if (key == "signal")
            message.signals.push_back(signalOf(value));
        else if (message.signals.empty())
            fail("a message has no key " + quoted(key));
        else if (key == "note")
            message.signals.back().comment = value;
        else if (key == "label")
            setLabel(message.signals.back(), value);
        else
            fail("a message has no key " + quoted(key));
    }

    static void setLabel(SignalSpec& signal, std::string_view value) {
        const auto raw = numberOf<std::int32_t>(takeWord(value));
        signal.labels[raw] = trimmed(value);
    }

    void setVehicleKey(std::string_view key, std::string_view value) {
        VehicleSpec& vehicle = scenario_.vehicle;
        const auto words = wordsOf(value);
        const auto word = [&](std::size_t i) { return i < words.size() ? words[i] : ""; };
        if (key == "home") {
            vehicle.latitude = realOf(word(0), -85.0, 85.0);
            vehicle.longitude = realOf(word(1), -179.0, 179.0);
        } else if (key == "leg") {
            const bool coast = word(2) == "coast";
            vehicle.legs.push_back(
                {realOf(word(0), 0.01, 1e6), realOf(word(1), 0.0, 200.0), coast});
        } else if (key == "way") {
            vehicle.way.emplace_back(realOf(word(0), -1e6, 1e6), realOf(word(1), -1e6, 1e6));
        } else {
            fail("the vehicle has no key " + quoted(key));
        }
    }

    void gpsPeriod(std::string_view value) {
        addGpsMessages(scenario_, numberOf<std::uint32_t>(value));
    }

    std::string_view rest_;
    std::size_t line_ = 0;
    std::string section_;
    std::uint8_t number_ = 0;  ///< of the interface whose section this is
    Scenario scenario_;
};

}  // namespace

void setRecordingKey(RecordingSpec& recording, std::string_view key, std::string_view value) {
    if (key == "name")
        recording.name = value;
    else if (key == "device")
        recording.device = value;
    else if (key == "start")
        recording.startMs = startTimeOf(value);
    else if (key == "seed")
        recording.seed = numberOf<std::uint64_t>(value);
    else if (key == "duration")
        recording.durationMs = millisecondsOf(value);
    else if (key == "files")
        recording.files = numberOf<std::uint16_t>(value);
    else if (key == "frames")
        recording.framesPerFile = numberOf<std::uint64_t>(value);
    else if (key == "clock")
        recording.clock = numberOf<std::uint32_t>(value);
    else if (key == "errors")
        recording.errorsPerMinute = realOf(value, 0.0, 60000.0);
    else if (key == "damage")
        recording.damage = damageOf(value);
    else if (key == "filegap") {
        const double seconds = realOf(value, -1e8, 1e8);
        recording.fileGapMs = static_cast<std::int64_t>(std::floor(seconds * 1000.0 + 0.5));
    } else if (key == "format") {
        if (value != "17" && value != "18") fail("a record has 17 or 18 bytes");
        recording.format = value == "17" ? RecordFormat::kOld17 : RecordFormat::kNew18;
    } else if (key == "compression") {
        if (value != "fast" && value != "high") fail("compression is fast or high");
        recording.highCompression = value == "high";
    } else if (key == "clockmode") {
        if (value != "restart" && value != "continue") fail("clockmode is restart or continue");
        recording.clockContinues = value == "continue";
    } else if (key == "silence") {
        std::string_view rest = value;
        const std::uint64_t from = millisecondsOf(takeWord(rest));
        recording.silences.emplace_back(from, millisecondsOf(rest));
    } else {
        fail("a recording has no key " + quoted(key));
    }
}

Scenario parseScenario(std::string_view text) {
    Scenario scenario = Reader(text).read();
    completeScenario(scenario);
    return scenario;
}

}  // namespace trelis::sim
