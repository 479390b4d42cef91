// simlogger: a stand-in for the field logger. It writes recordings with their definitions, and
// sends frames to a client.
#include <cstdio>
#include <exception>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Presets.h"
#include "Recording.h"
#include "ScenarioChoice.h"
#include "ServeCommand.h"
#include "Text.h"

namespace trelis::sim {
namespace {

constexpr std::string_view kHelp =
    R"(simlogger: writes recordings as the field logger would, with their DBC and VSD files, and sends
frames to a client as its network port would. The same scenario and seed give the same bytes.

usage: simlogger record --scenario FILE|--preset NAME -o DIRECTORY [OPTIONS]
       simlogger serve LOGFILE...|--scenario FILE|--preset NAME [OPTIONS]
       simlogger scenario --preset NAME
       simlogger presets
       simlogger --help

record    writes log files, DBC files, a VSD file and further texts into the directory
serve     sends the frames to a client that connects, on the loopback address
scenario  prints the text of a preset, to begin a scenario of one's own with
presets   lists the presets

OPTIONS of record
  -o, --output DIRECTORY   where to write; made if it is missing

OPTIONS of record and serve
  --scenario FILE          read the scenario from a file
  --preset NAME            take one that the program brings along
  --set KEY=VALUE          set a key of the [recording] section; may be repeated
  --seed N                 short for --set seed=N
  --files N                short for --set files=N
  --frames N               short for --set frames=N
  --messages N             messages of the preset bench, 120 unless given
  --interfaces N           interfaces of the preset bench, 1 unless given

OPTIONS of serve
  --port N                 777 unless given; 0 takes a free one and prints it
  --key TEXT               encrypt the stream; the client needs the same text
  --speed N|max            times real time, 1 unless given; max: as fast as the client asks
  --once                   end after one connection
  --piece N                cut the stream of blocks into pieces of at most N bytes
  --fault KIND             misbehave on purpose: wrong-tag, wrong-key, too-long, overflow,
                           odd-length, empty, garbage, bad-block, half, silence, reset, close
  --after N                good answers before the fault, 0 unless given

A SCENARIO is a text of key=value lines under [section] heads; # begins a comment line.

[recording]
  name=NAME             of the log files and the VSD file
  device=NAME           in the log's first line; quadwire for a log of several interfaces
  start=2024-05-14 06:30:00.000   UTC
  seed=N                of all that is random
  format=18|17          bytes a record; 17 is the older format without an interface
  compression=fast|high
  duration=SECONDS      of all files together, or
  frames=N              frames a file
  files=N
  filegap=SECONDS       between two files; below 0 they overlap
  clock=N               the counter of milliseconds at the start, 32 bits
  clockmode=restart|continue      whether each file starts the counter anew
  silence=FROM TO       seconds without frames; may be repeated
  errors=N              error frames a minute
  damage=KIND           of the last file: torn, flipped, magic, zero, length, oversize, header
[interface N]
  name=NAME  dbc=FILE
[message NAME]
  interface=N  id=N  extended=yes  length=0-15  period=MS  jitter=MS  fill=BYTE  comment=TEXT
  signal=NAME [M|mN] : START|BITS@ORDER (FACTOR,OFFSET) [MIN|MAX] "UNIT" MODEL
      as in a DBC file; ORDER is 1 little-endian or 0 big-endian with + unsigned, - signed or
      f 32-bit float; M is a multiplexor, mN belongs to its value N
  label=RAW TEXT  note=TEXT       of the signal above
  MODEL is one of: constant VALUE; walk STEP CHANCE [VALUE]; drift CHANCE [VALUE];
      state CHANCE [COUNT]; counter; checksum; wave LOW HIGH SECONDS; ramp LOW HIGH SECONDS;
      vehicle QUANTITY [NOISE]
[gps]
  period=MS             adds the logger's messages of its GPS receiver on interface 255
[vehicle]
  home=LATITUDE LONGITUDE
  leg=SECONDS KMH [coast]         the drive, leg by leg
  way=EAST NORTH                  the corners of its round, in any scale
text NAME <<<           the lines up to >>> become a file of this name
)";

struct RecordOptions {
    std::string output;
    ScenarioChoice scenario;
};

RecordOptions recordOptions(std::span<const std::string_view> arguments) {
    RecordOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view name = arguments[i];
        if (i + 1 == arguments.size()) throw UsageError(std::string(name) + " needs a value");
        const std::string_view value = arguments[++i];
        if (name == "-o" || name == "--output")
            options.output = value;
        else if (!options.scenario.take(name, value))
            throw UsageError("there is no option " + std::string(name));
    }
    if (options.output.empty()) throw UsageError("-o DIRECTORY is missing");
    return options;
}

int record(std::span<const std::string_view> arguments) {
    const RecordOptions options = recordOptions(arguments);
    const Scenario scenario = options.scenario.scenario();
    const RecordingSummary summary = writeRecording(scenario, options.output);
    std::size_t signals = 0;
    for (const MessageSpec& message : scenario.messages)
        signals += message.signals.size();
    std::fprintf(stderr, "%zu files, %llu frames, %zu messages, %zu signals, %.1f s, %.2f MB\n",
                 summary.files.size(), static_cast<unsigned long long>(summary.frames),
                 scenario.messages.size(), signals, static_cast<double>(summary.lengthMs) / 1e3,
                 static_cast<double>(summary.bytes) / 1e6);
    return 0;
}

int printPresets() {
    for (const Preset& preset : textPresets())
        std::printf("%-10.*s %.*s\n", static_cast<int>(preset.name.size()), preset.name.data(),
                    static_cast<int>(preset.purpose.size()), preset.purpose.data());
    std::printf("%-10s %s\n", "bench", "a large recording to measure with, built from its options");
    return 0;
}

int run(std::span<const std::string_view> arguments) {
    if (arguments.empty()) throw UsageError("no command given");
    const std::string_view command = arguments[0];
    const std::string_view last = arguments.back();  // also behind a command
    if (last == "--help" || last == "-h" || command == "help") {
        std::printf("%.*s", static_cast<int>(kHelp.size()), kHelp.data());
        return 0;
    }
    if (command == "record") return record(arguments.subspan(1));
    if (command == "serve") return serve(arguments.subspan(1));
    if (command == "presets" && arguments.size() == 1) return printPresets();
    if (command == "scenario" && arguments.size() == 3 && arguments[1] == "--preset") {
        std::printf("%s", textOfPreset(arguments[2]).c_str());
        return 0;
    }
    throw UsageError("there is no command like this");
}

}  // namespace
}  // namespace trelis::sim

int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    try {
        const int status = trelis::sim::run(arguments);
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
        throw std::runtime_error("standard output could not be written");
    } catch (const trelis::sim::UsageError& error) {
        std::fprintf(stderr, "simlogger: %s\nTry simlogger --help\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "simlogger: %s\n", error.what());
        return 1;
    }
}
