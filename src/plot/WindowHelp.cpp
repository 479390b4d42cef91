#include "plot/WindowHelp.h"

#include <gtkmm/stylecontext.h>

#include <string_view>

namespace trelis {
namespace {

constexpr std::string_view kCommands =
    "<span foreground='black' font_family='monospace' >PLOT\n"
    "<b>Left click</b>                show main ruler\n"
    "<b>Right click</b>               show secondary ruler\n"
    "<b>Ctrl + Right click</b>        open dropdown menu\n"
    "<b>Mouse scroll wheel</b>        zoom in/out in plot\n"
    "<b>Shift + scroll wheel</b>      pan left/right in plot\n"
    "<b>Arrow keys</b>                pan and zoom in plot\n\n\n"
    "SIGNAL LIST\n"
    "<b>Right click</b>         open dropdown menu\n\n\n"
    "KEYS\n"
    "<b>F1</b>      show this help\n"
    "<b>F5</b>      update signals\n"
    "<b>F11</b>     full screen\n"
    "<b>F12</b>     hide signal list\n"
    "<b>Ctrl-C</b>  copy signals to clipboard\n"
    "<b>Ctrl-A</b>  dump all data in selected interval to file\n"
    "<b>T</b>       toggle how time is displayed\n"
    "<b>D</b>       toggle show delta/value on secondary ruler\n"
    "<b>Alt-R</b>   re-store selected signals list\n"
    "<b>Alt-S</b>   store selected signals list\n"
    "<b>Alt-Z</b>   crop selected area\n"
    "<b>Alt-X</b>   uncrop to show full plot again\n"
    "<b>Esc</b>     delete rulers\n\n"
    "</span><span foreground='black' font_family='monospace' ><b>Version:</b> 5.04\n\n"
    "</span><span font_family='monospace' weight='bold'><a href=\"file:///";

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

}  // namespace

bool isDarkTheme(const Gtk::Widget& widget) {
    const Gdk::RGBA text = widget.get_style_context()->get_color(Gtk::STATE_FLAG_NORMAL);
    // Weights of the luma of ITU-R BT.601.
    return 0.299 * text.get_red() + 0.587 * text.get_green() + 0.114 * text.get_blue() > 0.5;
}

std::string helpMarkup(bool dark) {
    std::string markup(kCommands);
    markup += kQuickGuidePath;
    markup += "\">Open Quick Guide</a></span>";
    if (dark) replaceAll(markup, " foreground='black'", "");
    return markup;
}

std::string lightenMarkup(std::string markup) {
    replaceAll(markup, "<span color='#ce7e00' weight='bold'>",
               "<span color='#f0a830' weight='bold'>");
    replaceAll(markup, "<span color='#a00000' weight='bold'>",
               "<span color='#ff7b72' weight='bold'>");
    return markup;
}

}  // namespace trelis
