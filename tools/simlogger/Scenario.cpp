#include "Scenario.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

#include "SignalLayout.h"
#include "Vehicle.h"

namespace trelis::sim {

namespace {

SignalSpec gpsSignal(const char* name, unsigned start, unsigned bits, double factor, int quantity) {
    SignalSpec signal;
    signal.name = name;
    signal.start = start;
    signal.bits = bits;
    signal.factor = factor;
    signal.model.kind = ModelKind::kVehicle;
    signal.model.quantity = quantity;
    return signal;
}

void checkSignal(const MessageSpec& message, const SignalSpec& signal) {
    const std::string where = message.name + "." + signal.name + ": ";
    if (signal.name.empty() || signal.name.find_first_of(" .") != std::string::npos)
        throw ScenarioError(where + "the name is empty or holds a blank or a point");
    if (!SignalLayout::fits(signal))
        throw ScenarioError(where + "the bits do not lie within the eight data bytes");
    if (signal.factor == 0.0) throw ScenarioError(where + "the factor is 0");
    const bool wholeBytes = (signal.start + (signal.bigEndian ? 1 : 0)) % 8 == 0;
    if (signal.isFloat && (signal.bits != 32 || !wholeBytes))
        throw ScenarioError(where + "a float takes four whole bytes");
    if (signal.model.kind == ModelKind::kChecksum &&
        (signal.bits != 8 || signal.isSigned || !wholeBytes))
        throw ScenarioError(where + "a checksum takes one whole byte and is unsigned");
}

void checkMessage(const Scenario& scenario, const MessageSpec& message) {
    if (message.name.find_first_of(" .:") != std::string::npos)
        throw ScenarioError("the name of message " + message.name +
                            " holds a blank, point or colon");
    if (message.periodMs == 0) throw ScenarioError(message.name + ": the period is 0");
    if (message.length > 15) throw ScenarioError(message.name + ": the length is above 15");
    if (message.interface != kLoggerInterface && !scenario.interfaces.contains(message.interface))
        throw ScenarioError(message.name + ": interface " + std::to_string(message.interface) +
                            " is not defined");
    const std::uint32_t highest = (message.id & kExtendedId) ? 0x9FFFFFFFU : 0x7FFU;
    if (message.id > highest) throw ScenarioError(message.name + ": the id is too large");
    std::set<std::string> names;
    bool multiplexed = false;
    bool multiplexor = false;
    for (const SignalSpec& signal : message.signals) {
        checkSignal(message, signal);
        if (!names.insert(signal.name).second)
            throw ScenarioError(message.name + ": signal " + signal.name + " is defined twice");
        multiplexed |= signal.mux >= 0;
        multiplexor |= signal.mux == SignalSpec::kMultiplexor;
    }
    if (multiplexed != multiplexor)
        throw ScenarioError(message.name + ": multiplexed signals go with a multiplexor");
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return text;
}

}  // namespace

void addGpsMessages(Scenario& scenario, std::uint32_t periodMs) {
    MessageSpec position{"GPS_POS", kLoggerInterface, 10, 8, periodMs, 0, 0, "", {}};
    position.signals = {gpsSignal("lat", 0, 32, 1, Vehicle::kGpsLatitude),
                        gpsSignal("long", 32, 32, 1, Vehicle::kGpsLongitude)};
    MessageSpec motion{"GPS_MOT", kLoggerInterface, 11, 8, periodMs, 0, 0, "", {}};
    motion.signals = {gpsSignal("alt", 0, 32, 0.1, Vehicle::kGpsAltitude),
                      gpsSignal("speed", 32, 16, 0.01, Vehicle::kSpeed),
                      gpsSignal("bearing", 48, 16, 0.1, Vehicle::kGpsBearing)};
    MessageSpec status{"GPS_STAT", kLoggerInterface, 12, 6, periodMs, 0, 0, "", {}};
    status.signals = {gpsSignal("hacc", 0, 16, 1, Vehicle::kGpsHorizontal),
                      gpsSignal("vacc", 16, 16, 1, Vehicle::kGpsVertical),
                      gpsSignal("sats", 32, 8, 1, Vehicle::kGpsSatellites),
                      gpsSignal("fix", 40, 1, 1, Vehicle::kGpsFix)};
    status.periodMs = std::max<std::uint32_t>(periodMs, 1000);
    for (MessageSpec* message : {&position, &motion, &status})
        scenario.messages.push_back(std::move(*message));
}

void completeScenario(Scenario& scenario) {
    const RecordingSpec& recording = scenario.recording;
    if (recording.name.empty() || recording.name.find('/') != std::string::npos)
        throw ScenarioError("the recording's name is empty or holds a slash");
    if (recording.device.size() > 8 || recording.device.find(' ') != std::string::npos)
        throw ScenarioError("a device name has at most 8 characters and no blank");
    if (recording.files == 0) throw ScenarioError("the recording has no files");
    if (scenario.messages.empty()) throw ScenarioError("the scenario has no messages");
    for (auto& [number, interface] : scenario.interfaces) {
        if (interface.name.empty()) interface.name = "Can" + std::to_string(number);
        if (interface.dbcFile.empty())
            interface.dbcFile = recording.name + "_" + lowerCase(interface.name) + ".dbc";
        if (interface.dbcFile.find('/') != std::string::npos)
            throw ScenarioError("the name of a DBC file must not hold a slash");
    }
    std::set<std::pair<std::uint8_t, std::uint32_t>> ids;
    for (const MessageSpec& message : scenario.messages) {
        checkMessage(scenario, message);
        if (!ids.emplace(message.interface, message.id).second)
            throw ScenarioError(message.name + ": the id is used twice on this interface");
    }
}

}  // namespace trelis::sim
