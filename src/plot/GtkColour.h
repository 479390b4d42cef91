// Colour texts of the settings, and clocks, for the widgets that paint themselves.
#pragma once

#include <gdkmm/rgba.h>
#include <glib.h>

#include <cstdint>
#include <string>

#include "plot/paint/Colour.h"

namespace trelis {

/// Any text that Gdk::RGBA knows; black if it knows none.
inline Colour colourOf(const std::string& text) {
    Gdk::RGBA colour;
    if (!colour.set(text)) return {};
    return {colour.get_red(), colour.get_green(), colour.get_blue()};
}

inline std::int64_t monotonicMs() {
    return g_get_monotonic_time() / 1000;
}

}  // namespace trelis
