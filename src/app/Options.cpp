#include <getopt.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "app/HelpText.h"
#include "app/ResultPrinter.h"
#include "app/StartUp.h"
#include "app/Utf8Path.h"
#include "app/VsdHelpText.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/CanSocket.h"

namespace trelis {
namespace {

constexpr const char* kVersionText = "sigmira version 5.04\n";

enum LongOption : int { kHelp = 256, kCsv, kAsc, kCan, kCheck, kTolerant, kProgress };

constexpr std::array<option, 8> kLongOptions = {{
    {"help", no_argument, nullptr, kHelp},
    {"csv", no_argument, nullptr, kCsv},
    {"asc", no_argument, nullptr, kAsc},
    {"can", required_argument, nullptr, kCan},
    {"check", no_argument, nullptr, kCheck},
    {"tolerant", no_argument, nullptr, kTolerant},
    {"progress", no_argument, nullptr, kProgress},
    {nullptr, 0, nullptr, 0},
}};

// Prints a text that ends the process; gives the exit status.
int print(std::string_view text) {
    std::cout << text;
    return outputIsWhole() ? 0 : 1;
}

// The options that only set something; false for the others.
bool applySetting(Store& store, StartUp& startUp, int letter, const char* argument) {
    switch (letter) {
        case 'd':
            startUp.dbcArgument = utf8Path(argument);
            return true;
        case 'f':
            startUp.vsdArgument = utf8Path(argument);
            return true;
        case 's':
            startUp.signalArguments.emplace_back(toValidUtf8(argument));
            return true;
        case 'n':
            store.hostName = argument;
            store.networkInput = true;
            store.liveMode = true;
            return true;
        case 'p':
            store.port = static_cast<std::int32_t>(std::strtol(argument, nullptr, 10));
            return true;
        case 't':
            store.title = toValidUtf8(argument);
            return true;
        case 'g':
            startUp.link = true;
            return true;
        case 'i':
            startUp.printHeaders = false;
            return true;
        case 'l':
            store.noGui = true;
            startUp.listOnly = true;
            return true;
        case 'm':
            store.dumpAscDates = true;
            [[fallthrough]];
        case 'o':
            store.dumpAsc = true;
            [[fallthrough]];
        case 'q':
            store.noGui = true;
            return true;
        case kCsv:
            store.csvMode = true;
            return true;
        case kAsc:
            store.ascMode = true;
            return true;
        case kCheck:
            store.noGui = true;
            startUp.checkOnly = true;
            return true;
        case kTolerant:
            startUp.tolerant = true;
            return true;
        case kProgress:
            startUp.showProgress = true;
            return true;
        default:
            return false;
    }
}

bool applyCanInterface(Store& store, std::string_view name) {
    const auto channel = canChannelOf(name);
    if (!channel) return false;
    store.dongleMode = true;
    store.dongleChannel = *channel;
    store.liveMode = true;
    return true;
}

}  // namespace

std::optional<int> readOptions(Store& store, StartUp& startUp, int argc, char** argv) {
    optind = 0;  // getopt starts anew
    for (;;) {
        const int letter =
            getopt_long(argc, argv, "d:n:y:p:k:f:vls:het:car:gqomi", kLongOptions.data(), nullptr);
        if (letter == -1) break;
        if (applySetting(store, startUp, letter, optarg)) continue;
        switch (letter) {
            case 'y':
                if (*optarg == '\0') {
                    report(Level::kWarning, "Decryption key is invalid");
                    return 1;
                }
                store.decryptionKey = optarg;
                break;
            case 'e':
                return print(vsdHelpText());
            case 'h':
                return print(usageText(argv[0]));
            case kHelp:
                return print(usageText(argv[0]) + longOptionsText());
            case 'v':
                return print(kVersionText);
            case kCan:
                if (applyCanInterface(store, optarg)) break;
                [[fallthrough]];
            default:
                print(usageText(argv[0]));
                return 1;
        }
    }
    startUp.firstPositional = optind;
    return std::nullopt;
}

}  // namespace trelis
