// The ground of the drawings, which has the colour of the plots, and what is readable on it.
#pragma once

#include <cairomm/context.h>
#include <gdkmm/rgba.h>
#include <gtkmm/widget.h>

#include <string>

namespace trelis {

class Settings;

/// Main thread only, as all of these.
[[nodiscard]] Gdk::RGBA backgroundOf(const Settings& settings);

/// Grey on a light ground: as dark as `strength` says, which is 1 for black. Its opposite on a dark
/// one.
[[nodiscard]] Gdk::RGBA inkOn(const Gdk::RGBA& background, double strength);

void paintBackground(const Cairo::RefPtr<Cairo::Context>& cr, const Settings& settings);

/// The line in the middle of a drawing that has nothing to show.
void drawEmptyText(Gtk::Widget& widget, const Cairo::RefPtr<Cairo::Context>& cr,
                   const Settings& settings, const std::string& text);

}  // namespace trelis
