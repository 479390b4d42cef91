// Texts of the dialogs, and how they suit the theme.
#pragma once

#include <gtkmm/widget.h>

#include <string>

namespace trelis {

/// Where the quick guide is installed.
inline constexpr const char* kQuickGuidePath =
    "/usr/share/doc/sigmira/help/sigmira_quick_guide/index.html";

/// Whether the theme writes in a light colour.
bool isDarkTheme(const Gtk::Widget& widget);

/// Markup of the help dialog. On a dark theme (`dark`) the text takes the theme's own colour.
std::string helpMarkup(bool dark);

/// The markup of MessageLog::showAll with its warning and error colours lightened for a dark theme.
std::string lightenMarkup(std::string markup);

}  // namespace trelis
