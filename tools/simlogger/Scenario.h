#pragma once
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What a recording is to hold: read from a text (see ScenarioText.cpp for the keys) or built by a
/// preset. A scenario is a plain value; nothing here is random.
namespace trelis::sim {

/// A scenario that cannot be used; the text tells the user why, with the line if there is one.
class ScenarioError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The pseudo interface of the logger's own records.
inline constexpr std::uint8_t kLoggerInterface = 255;
inline constexpr std::uint32_t kExtendedId = 0x80000000U;
inline constexpr std::uint32_t kErrorFrame = 0x20000000U;

/// How a signal's value moves from one frame of its message to the next.
enum class ModelKind {
    kConstant,
    kWalk,         ///< a random step of up to `step` raw units, with probability `chance`
    kDrift,        ///< one raw unit up or down, with probability `chance`
    kState,        ///< another one of `states` raw values, with probability `chance`
    kCounter,      ///< one raw unit more in each frame, from 0 again after the last
    kChecksum,     ///< CRC-8 over the message's other bytes
    kWave,         ///< a sine from `low` to `high`, physical, in `periodS` seconds
    kRamp,         ///< a rise from `low` to `high`, physical, in `periodS` seconds, then anew
    kVehicle,      ///< a quantity of the simulated vehicle
    kMultiplexor,  ///< each multiplex value of the message in turn
};

struct ModelSpec {
    ModelKind kind = ModelKind::kConstant;
    double value = 0.0;     ///< physical start value
    double chance = 0.0;    ///< 0 to 1
    std::int64_t step = 1;  ///< raw units
    std::int64_t states = 2;
    double low = 0.0;
    double high = 0.0;
    double periodS = 1.0;
    int quantity = 0;    ///< a Vehicle::Quantity
    double noise = 0.0;  ///< greatest deviation of a vehicle quantity, physical
};

struct SignalSpec {
    static constexpr int kPlain = -1;
    static constexpr int kMultiplexor = -2;

    std::string name;
    int mux = kPlain;    ///< kPlain, kMultiplexor, or the multiplex value it belongs to
    unsigned start = 0;  ///< as a DBC file counts: the least significant bit of a
                         ///< little-endian signal, the most significant one of a big-endian
    unsigned bits = 1;   ///< 1 to 64
    bool bigEndian = false;
    bool isSigned = false;
    bool isFloat = false;  ///< 32-bit IEEE 754
    double factor = 1.0;
    double offset = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    std::string unit;
    std::string comment;
    std::map<std::int64_t, std::string> labels;
    ModelSpec model;
};

struct MessageSpec {
    std::string name;
    std::uint8_t interface = 0;
    std::uint32_t id = 0;     ///< with kExtendedId for an extended identifier
    std::uint8_t length = 8;  ///< data length code, 0 to 15
    std::uint32_t periodMs = 100;
    std::uint32_t jitterMs = 0;
    std::uint8_t fill = 0;  ///< what unused bytes hold
    std::string comment;
    std::vector<SignalSpec> signals;
};

struct InterfaceSpec {
    std::string name;
    std::string dbcFile;
};

/// One stretch of the drive: the speed the driver wants to hold, for a time.
struct LegSpec {
    double seconds = 0.0;
    double speedKmh = 0.0;
    bool coast = false;  ///< foot off the pedals until the speed is reached
};

struct VehicleSpec {
    double latitude = 59.9;   ///< where the round begins, decimal degrees, north positive
    double longitude = 17.5;  ///< east positive
    std::vector<LegSpec> legs;
    std::vector<std::pair<double, double>> way;  ///< corners of the round: east, north; any scale
};

/// What the logger does on purpose wrong, for those who test a reader.
enum class Damage {
    kNone,
    kTorn,      ///< the last block ends early
    kFlipped,   ///< a byte inside a block in the middle is changed
    kMagic,     ///< a block in the middle has a wrong magic
    kZero,      ///< a block in the middle says that it is 0 bytes long
    kLength,    ///< a block in the middle says that it is longer than any buffer
    kOversize,  ///< a block in the middle unpacks to more than a reader has to take
    kHeader,    ///< the file's second line is not there
};

enum class RecordFormat { kOld17 = 17, kNew18 = 18 };

struct RecordingSpec {
    std::string name = "recording";
    std::string device = "simulate";        ///< at most 8 characters
    std::uint64_t startMs = 1715668200000;  ///< since the epoch, UTC
    std::uint64_t seed = 1;
    RecordFormat format = RecordFormat::kNew18;
    bool highCompression = false;
    unsigned files = 1;
    std::uint64_t durationMs = 60000;  ///< of all files together; used when framesPerFile is 0
    std::uint64_t framesPerFile = 0;
    std::int64_t fileGapMs = 0;   ///< between two files; negative: they overlap
    std::uint32_t clock = 0;      ///< the counter's value at the start, ms
    bool clockContinues = false;  ///< false: every file starts the counter anew
    std::vector<std::pair<std::uint64_t, std::uint64_t>> silences;  ///< ms from, to: no frames
    double errorsPerMinute = 0.0;
    Damage damage = Damage::kNone;
};

struct Scenario {
    RecordingSpec recording;
    std::map<std::uint8_t, InterfaceSpec> interfaces;
    std::vector<MessageSpec> messages;
    VehicleSpec vehicle;
    std::map<std::string, std::string> texts;  ///< further files: name, content
};

/// Reads the text of a scenario. Throws ScenarioError.
Scenario parseScenario(std::string_view text);

/// Sets one key of the recording, as its line in the text would. Throws ScenarioError.
void setRecordingKey(RecordingSpec& recording, std::string_view key, std::string_view value);

/// Adds the logger's three messages of its GPS receiver, sent every `periodMs`.
void addGpsMessages(Scenario& scenario, std::uint32_t periodMs);

/// Checks what the text alone does not show: ids and names used twice, signals that do not fit,
/// names without an interface. Fills in missing DBC names. Throws ScenarioError.
void completeScenario(Scenario& scenario);

}  // namespace trelis::sim
