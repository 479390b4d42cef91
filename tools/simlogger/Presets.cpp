#include "Presets.h"

#include <array>

namespace trelis::sim {

namespace {

constexpr std::array<Preset, 12> kPresets = {{
    {"drive", "the bundled sample: a drive of a car on two buses with GPS", &kDriveText, ""},
    {"small", "a minute of light traffic: every kind of signal", &kSmallText, ""},
    {"old", "the same with records of 17 bytes, which know no interface", &kSmallText,
     "format=17\n"},
    {"errors", "the same with error frames and lost frames", &kSmallText, "errors=60\n"},
    {"gaps", "the same with two silences, of 9 and of 15 seconds", &kSmallText,
     "silence=10 19\nsilence=30 45\n"},
    {"overflow", "the same; the 32-bit counter overflows after 20 seconds", &kSmallText,
     "clock=4294947296\nclockmode=continue\n"},
    {"overlap", "three files of which each begins before the last one ends", &kSmallText,
     "files=3\nfilegap=-5\n"},
    {"apart", "three files with an hour between them", &kSmallText, "files=3\nfilegap=3600\n"},
    {"torn", "the same; the last block ends early", &kSmallText, "damage=torn\n"},
    {"flipped", "the same; a byte in the middle is changed", &kSmallText, "damage=flipped\n"},
    {"length", "the same; a block says that it is longer than any buffer", &kSmallText,
     "damage=length\n"},
    {"oversize", "the same; a block unpacks to more than a reader has to take", &kSmallText,
     "damage=oversize\n"},
}};

}  // namespace

std::span<const Preset> textPresets() {
    return kPresets;
}

std::optional<std::string> presetText(std::string_view name) {
    for (const Preset& preset : kPresets) {
        if (preset.name != name) continue;
        std::string text = *preset.base;
        if (!preset.changes.empty()) text += "\n[recording]\n" + std::string(preset.changes);
        return text;
    }
    return std::nullopt;
}

}  // namespace trelis::sim
