#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <utility>

#include "Definitions.h"
#include "Presets.h"
#include "Random.h"

namespace trelis::sim {

namespace {

/// One of the signals that a VSD file may want.
struct Candidate {
    const MessageSpec* message;
    const SignalSpec* signal;
};

class BenchBuilder {
  public:
    explicit BenchBuilder(const BenchOptions& options) : options_(options), random_(options.seed) {}

    Scenario build() {
        Scenario scenario;
        RecordingSpec& recording = scenario.recording;
        recording.name = "bench";
        recording.startMs = 1709539200000;
        recording.seed = options_.seed;
        recording.files = options_.files;
        recording.framesPerFile = options_.framesPerFile;
        for (std::uint32_t i = 0; i < options_.interfaces; ++i) {
            InterfaceSpec& interface = scenario.interfaces[static_cast<std::uint8_t>(i)];
            interface.name = "Can" + std::to_string(i);
            interface.dbcFile = "bench_can" + std::to_string(i) + ".dbc";
        }
        for (std::uint32_t i = 0; i < options_.messages; ++i)
            scenario.messages.push_back(makeMessage(i));
        scenario.texts["bench_10.vsd"] = vsdOf(scenario, pickAnywhere(scenario, 10));
        scenario.texts["bench_100.vsd"] = vsdOf(scenario, pickAnywhere(scenario, 100));
        scenario.texts["bench_few.vsd"] = vsdOf(scenario, pickCalmest(scenario, 10, 3));
        scenario.texts["bench_many.vsd"] = vsdOf(scenario, pickCalmest(scenario, 100, 30));
        return scenario;
    }

  private:
    MessageSpec makeMessage(std::uint32_t index) {
        MessageSpec message;
        const std::string number = std::to_string(1000 + index).substr(1);
        message.name = "Msg_" + number;
        message.interface = static_cast<std::uint8_t>(index % options_.interfaces);
        message.id = freeId(random_.below(4) == 0);
        message.periodMs = pickPeriod();
        message.jitterMs = 1;
        message.length =
            random_.below(100) < 85 ? 8 : static_cast<std::uint8_t>(4 + 2 * random_.below(2));
        message.fill = random_.below(4) == 0 ? 0xFF : 0;
        unsigned byte = 0;
        if (message.periodMs <= 50 && random_.below(100) < 45) byte = addProtection(message);
        const bool bigEndian = random_.below(100) < 45;
        fillBytes(message, byte, bigEndian);
        return message;
    }

    std::uint32_t freeId(bool extended) {
        for (;;) {
            const std::uint32_t id = extended ? kExtendedId | 0x0C000000U | random_.below(1U << 24)
                                              : 0x80U + random_.below(0x700);
            if (ids_.insert(id).second) return id;
        }
    }

    std::uint32_t pickPeriod() {
        struct Share {
            std::uint32_t upTo, periodMs;
        };
        constexpr std::array<Share, 7> kShares = {
            {{15, 10}, {35, 20}, {50, 50}, {80, 100}, {85, 200}, {90, 500}, {100, 1000}}};
        const std::uint32_t dice = random_.below(100);
        for (const Share& share : kShares)
            if (dice < share.upTo) return share.periodMs;
        return kShares.back().periodMs;
    }

    /// Checksum, counter and a small state in the first two bytes. Returns the bytes used.
    unsigned addProtection(MessageSpec& message) {
        addSignal(message, "Checksum", 0, 8, false).model.kind = ModelKind::kChecksum;
        addSignal(message, "Counter", 8, 4, false).model.kind = ModelKind::kCounter;
        addOrdinary(message, 12, 4, false);
        return 2;
    }

    void fillBytes(MessageSpec& message, unsigned byte, bool mostlyBigEndian) {
        while (byte < message.length) {
            const std::uint32_t dice = random_.below(100);
            const bool big = random_.below(10) != 0 ? mostlyBigEndian : !mostlyBigEndian;
            const unsigned first = byte * 8 + (big ? 7 : 0);
            if (dice < 40 && byte + 2 <= message.length) {
                addOrdinary(message, first, 16, big);
                byte += 2;
            } else if (dice < 62 && byte + 3 <= message.length) {
                addOrdinary(message, first, 12, big);
                addOrdinary(message, big ? (byte + 1) * 8 + 3 : first + 12, 12, big);
                byte += 3;
            } else if (dice < 80) {
                addOrdinary(message, first, 8, big);
                byte += 1;
            } else {
                byte += 1;  // unused
            }
        }
    }

    SignalSpec& addSignal(MessageSpec& message, std::string name, unsigned start, unsigned bits,
                          bool bigEndian) {
        SignalSpec& signal = message.signals.emplace_back();
        signal.name = std::move(name);
        signal.start = start;
        signal.bits = bits;
        signal.bigEndian = bigEndian;
        signal.maximum = static_cast<double>((std::uint64_t{1} << bits) - 1);
        return signal;
    }

    void addOrdinary(MessageSpec& message, unsigned start, unsigned bits, bool bigEndian) {
        constexpr std::array<double, 7> kFactors = {1, 0.5, 0.25, 0.1, 0.0625, 0.01, 0.001};
        constexpr std::array<double, 6> kOffsets = {0, 0, 0, -40, -100, -800};
        constexpr std::array<const char*, 9> kUnits = {"",   "km/h", "degC", "V",  "A",
                                                       "Nm", "rpm",  "%",    "bar"};
        SignalSpec& signal = addSignal(message, "Sig_" + std::to_string(message.signals.size()),
                                       start, bits, bigEndian);
        signal.isSigned = bits >= 12 && random_.below(3) == 0;
        signal.factor = kFactors[random_.below(kFactors.size())];
        signal.offset = kOffsets[random_.below(kOffsets.size())];
        signal.unit = kUnits[random_.below(kUnits.size())];
        const std::int64_t half = std::int64_t{1} << (bits - 1);
        const std::int64_t low = signal.isSigned ? -half : 0;
        const std::int64_t high = signal.isSigned ? half - 1 : 2 * half - 1;
        signal.minimum = static_cast<double>(low) * signal.factor + signal.offset;
        signal.maximum = static_cast<double>(high) * signal.factor + signal.offset;
        setModel(signal, low, high);
    }

    void setModel(SignalSpec& signal, std::int64_t low, std::int64_t high) {
        ModelSpec& model = signal.model;
        const std::uint32_t dice = random_.below(100);
        const bool fine = signal.bits > 4;
        std::int64_t raw = random_.between(low, high);
        if (dice < 20 && fine) {
            model.kind = ModelKind::kWalk;
            model.step = signal.bits >= 16 ? 12 : signal.bits >= 12 ? 4 : 2;
            model.chance = 0.12 + 0.76 * random_.real();
        } else if (dice < 48 && fine) {
            model.kind = ModelKind::kDrift;
            model.chance = 0.005 + 0.09 * random_.real();
        } else if (dice < 78) {
            model.kind = ModelKind::kState;
            model.chance = 0.0002 + 0.003 * random_.real();
            model.states = 8;
            raw = random_.below(8);
        } else if (random_.below(3) != 0) {
            raw = random_.below(2) != 0 ? 0 : high;
        }
        model.value = static_cast<double>(raw) * signal.factor + signal.offset;
    }

    static bool moves(const SignalSpec& signal) {
        return signal.model.kind == ModelKind::kWalk || signal.model.kind == ModelKind::kDrift ||
               signal.model.kind == ModelKind::kState;
    }

    /// Moving signals from all messages alike.
    std::vector<Candidate> pickAnywhere(const Scenario& scenario, std::size_t count) {
        std::vector<Candidate> all;
        for (const MessageSpec& message : scenario.messages)
            for (const SignalSpec& signal : message.signals)
                if (moves(signal)) all.push_back({&message, &signal});
        for (std::size_t i = all.size(); i > 1; --i)
            std::swap(all[i - 1], all[random_.below(static_cast<std::uint32_t>(i))]);
        all.resize(std::min(count, all.size()));
        return all;
    }

    /// From messages of one period the signal that changes least, so that reading and sorting
    /// frames is nearly all there is to do.
    static std::vector<Candidate> pickCalmest(const Scenario& scenario, std::uint32_t periodMs,
                                              std::size_t count) {
        std::vector<Candidate> picked;
        for (const MessageSpec& message : scenario.messages) {
            if (message.periodMs != periodMs || picked.size() == count) continue;
            const SignalSpec* calmest = nullptr;
            for (const SignalSpec& signal : message.signals)
                if (moves(signal) && (!calmest || signal.model.chance < calmest->model.chance))
                    calmest = &signal;
            if (calmest) picked.push_back({&message, calmest});
        }
        return picked;
    }

    static std::string vsdOf(const Scenario& scenario, const std::vector<Candidate>& wanted) {
        std::string text = vsdSettingsText(scenario);
        std::size_t number = 0;
        for (const Candidate& candidate : wanted) {
            const std::string& interface =
                scenario.interfaces.at(candidate.message->interface).name;
            text += "\n[Bench.Result" + std::to_string(++number) +
                    "]\nmethod=integrate\nsignal_01=" + interface + "." + candidate.message->name +
                    "." + candidate.signal->name + "\n";
        }
        return text;
    }

    BenchOptions options_;
    Random random_;
    std::set<std::uint32_t> ids_;
};

}  // namespace

Scenario benchScenario(const BenchOptions& options) {
    if (options.messages == 0 || options.messages > 1000)
        throw ScenarioError("the measuring recording has 1 to 1000 messages");
    if (options.interfaces == 0 || options.interfaces > 32)
        throw ScenarioError("the measuring recording has 1 to 32 interfaces");
    Scenario scenario = BenchBuilder(options).build();
    completeScenario(scenario);
    return scenario;
}

}  // namespace trelis::sim
