// Tools of the widget tests: a loop that waits for conditions, real events, pictures of widgets.
#pragma once

#include <gdk/gdk.h>
#include <gtest/gtest.h>
#include <gtkmm/widget.h>
#include <gtkmm/window.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/Files.h"

namespace trelis::test {

/// Runs the main loop until the condition holds; false if it does not within the deadline.
bool pump(const std::function<bool()>& condition, int deadlineMs = 40000);
/// Runs the main loop until nothing waits.
void pumpPending();
/// Shows the window and waits until it is on the screen, has the focus and was drawn.
void present(Gtk::Window& window);

// Events go through GTK's own dispatch, as if a device had made them, and are handled on return.
// Positions are pixels in the widget, which must be realized.
void pressButton(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state = 0);
void releaseButton(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state = 0);
void click(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state = 0);
/// Of a widget that has several windows.
void click(const Glib::RefPtr<Gdk::Window>& window, unsigned button, double x, double y,
           unsigned state = 0);
void movePointer(Gtk::Widget& widget, double x, double y, unsigned state = 0);
void scroll(Gtk::Widget& widget, GdkScrollDirection direction, double x, double y,
            unsigned state = 0);
void scrollSmooth(Gtk::Widget& widget, double dx, double dy, double x, double y,
                  unsigned state = 0);
/// To the window, which passes the key on to the widget with the focus.
void pressKey(Gtk::Widget& widget, unsigned keyval, unsigned state = 0);
void releaseKey(Gtk::Widget& widget, unsigned keyval, unsigned state = 0);

/// What a widget draws, as 0xRRGGBB pixels.
class Picture {
  public:
    explicit Picture(Gtk::Widget& widget);
    explicit Picture(const Cairo::RefPtr<Cairo::ImageSurface>& surface);

    [[nodiscard]] std::uint32_t at(int x, int y) const;
    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    /// Pixels of this colour in a column or a row.
    [[nodiscard]] int countInColumn(int x, std::uint32_t colour) const;
    [[nodiscard]] int countInRow(int y, std::uint32_t colour) const;
    [[nodiscard]] int count(std::uint32_t colour) const;

  private:
    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint32_t> pixels_;
};

/// Writes the widget's picture to a file in the folder of the environment variable SIGMIRA_SHOTS,
/// for somebody to look at. Does nothing without it.
void keepShot(Gtk::Widget& widget, const std::string& name);

/// GTK and GLib messages at warning level and above since the last call. Each test fails that
/// leaves some behind; a test that provokes one takes it away by this call.
std::vector<std::string> takeWarnings();

}  // namespace trelis::test
