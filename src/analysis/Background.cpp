#include "analysis/Background.h"

#include <gdkmm/general.h>

#include "config/settings/Settings.h"

namespace trelis {

Gdk::RGBA backgroundOf(const Settings& settings) {
    return Gdk::RGBA(settings.getBgColor());
}

Gdk::RGBA inkOn(const Gdk::RGBA& background, double strength) {
    // How bright the primary colours seem to the eye.
    const double light =
        0.30 * background.get_red() + 0.59 * background.get_green() + 0.11 * background.get_blue();
    const double grey = light < 0.5 ? strength : 1 - strength;
    Gdk::RGBA ink;
    ink.set_rgba(grey, grey, grey);
    return ink;
}

void paintBackground(const Cairo::RefPtr<Cairo::Context>& cr, const Settings& settings) {
    Gdk::Cairo::set_source_rgba(cr, backgroundOf(settings));
    cr->paint();
}

void drawEmptyText(Gtk::Widget& widget, const Cairo::RefPtr<Cairo::Context>& cr,
                   const Settings& settings, const std::string& text) {
    constexpr double kStrength = 0.6;
    const auto layout = widget.create_pango_layout(text);
    int width = 0;
    int height = 0;
    layout->get_pixel_size(width, height);
    Gdk::Cairo::set_source_rgba(cr, inkOn(backgroundOf(settings), kStrength));
    cr->move_to((widget.get_allocated_width() - width) / 2.0,
                (widget.get_allocated_height() - height) / 2.0);
    layout->show_in_cairo_context(cr);
}

}  // namespace trelis
