#include "plot/GuiTest.h"

#include <glibmm/main.h>
#include <gtkmm/main.h>

#include <chrono>
#include <cstdlib>
#include <mutex>

namespace trelis::test {
namespace {

std::mutex warningsMutex;  // guards warnings
std::vector<std::string> warnings;

GLogWriterOutput keepWarning(GLogLevelFlags level, const GLogField* fields, gsize count,
                             gpointer /*data*/) {
    if ((level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) != 0) {
        gchar* text = g_log_writer_format_fields(level, fields, count, FALSE);
        const std::lock_guard lock(warningsMutex);
        warnings.emplace_back(text);
        g_free(text);
    }
    return g_log_writer_default(level, fields, count, nullptr);
}

/// Fails the test during which GTK or GLib warned.
class WarningListener : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo& /*info*/) override {
        for (const std::string& warning : takeWarnings())
            ADD_FAILURE() << warning;
    }
};

GdkEvent* newEvent(GdkEventType type, const Glib::RefPtr<Gdk::Window>& window) {
    GdkEvent* event = gdk_event_new(type);
    event->any.window = GDK_WINDOW(g_object_ref(window->gobj()));
    const bool keyboard = type == GDK_KEY_PRESS || type == GDK_KEY_RELEASE;
    GdkSeat* seat = gdk_display_get_default_seat(gdk_display_get_default());
    gdk_event_set_device(event,
                         keyboard ? gdk_seat_get_keyboard(seat) : gdk_seat_get_pointer(seat));
    return event;
}

void dispatch(GdkEvent* event) {
    gtk_main_do_event(event);
    gdk_event_free(event);
}

void sendButton(GdkEventType type, const Glib::RefPtr<Gdk::Window>& window, unsigned button,
                double x, double y, unsigned state) {
    GdkEvent* event = newEvent(type, window);
    event->button.x = x;
    event->button.y = y;
    event->button.button = button;
    event->button.state = state;
    dispatch(event);
}

void sendScroll(Gtk::Widget& widget, GdkScrollDirection direction, double dx, double dy, double x,
                double y, unsigned state) {
    GdkEvent* event = newEvent(GDK_SCROLL, widget.get_window());
    event->scroll.direction = direction;
    event->scroll.delta_x = dx;
    event->scroll.delta_y = dy;
    event->scroll.x = x;
    event->scroll.y = y;
    event->scroll.state = state;
    dispatch(event);
}

void sendKey(GdkEventType type, Gtk::Widget& widget, unsigned keyval, unsigned state) {
    GdkEvent* event = newEvent(type, widget.get_toplevel()->get_window());
    event->key.keyval = keyval;
    event->key.state = state;
    GdkKeymapKey* keys = nullptr;
    gint count = 0;
    GdkKeymap* keymap = gdk_keymap_get_for_display(gdk_display_get_default());
    if (gdk_keymap_get_entries_for_keyval(keymap, keyval, &keys, &count) && count > 0) {
        event->key.hardware_keycode = static_cast<guint16>(keys[0].keycode);
        event->key.group = static_cast<guint8>(keys[0].group);
    }
    g_free(keys);
    dispatch(event);
}

Cairo::RefPtr<Cairo::ImageSurface> drawingOf(Gtk::Widget& widget, int scale) {
    const auto surface =
        Cairo::ImageSurface::create(Cairo::FORMAT_RGB24, widget.get_allocated_width() * scale,
                                    widget.get_allocated_height() * scale);
    cairo_surface_set_device_scale(surface->cobj(), scale, scale);
    gtk_widget_draw(widget.gobj(), Cairo::Context::create(surface)->cobj());
    return surface;
}

}  // namespace

bool pump(const std::function<bool()>& condition, int deadlineMs) {
    const auto context = Glib::MainContext::get_default();
    auto tick = Glib::signal_timeout().connect([] { return true; }, 5);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < end) {
        context->iteration(true);
        holds = condition();
    }
    tick.disconnect();
    return holds;
}

void pumpPending() {
    const auto context = Glib::MainContext::get_default();
    while (context->pending())
        context->iteration(false);
}

void present(Gtk::Window& window) {
    bool drawn = false;
    auto connection = window.signal_draw().connect(
        [&drawn](const Cairo::RefPtr<Cairo::Context>& /*cr*/) {
            drawn = true;
            return false;
        },
        false);
    window.show_all();
    const auto isUp = [&] { return window.get_mapped() && window.is_active() && drawn; };
    // A window manager that has only just started may let the first request for the focus go by.
    constexpr int kAttempts = 20;
    bool up = false;
    for (int attempt = 0; attempt < kAttempts && !up; ++attempt) {
        window.present();
        window.queue_draw();
        up = pump(isUp, 2000);
    }
    EXPECT_TRUE(up) << "the window did not come up";
    connection.disconnect();
}

void pressButton(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state) {
    sendButton(GDK_BUTTON_PRESS, widget.get_window(), button, x, y, state);
}

void releaseButton(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state) {
    sendButton(GDK_BUTTON_RELEASE, widget.get_window(), button, x, y, state);
}

void click(Gtk::Widget& widget, unsigned button, double x, double y, unsigned state) {
    click(widget.get_window(), button, x, y, state);
}

void click(const Glib::RefPtr<Gdk::Window>& window, unsigned button, double x, double y,
           unsigned state) {
    sendButton(GDK_BUTTON_PRESS, window, button, x, y, state);
    sendButton(GDK_BUTTON_RELEASE, window, button, x, y, state);
}

void movePointer(Gtk::Widget& widget, double x, double y, unsigned state) {
    GdkEvent* event = newEvent(GDK_MOTION_NOTIFY, widget.get_window());
    event->motion.x = x;
    event->motion.y = y;
    event->motion.state = state;
    dispatch(event);
}

void scroll(Gtk::Widget& widget, GdkScrollDirection direction, double x, double y, unsigned state) {
    sendScroll(widget, direction, 0, 0, x, y, state);
}

void scrollSmooth(Gtk::Widget& widget, double dx, double dy, double x, double y, unsigned state) {
    sendScroll(widget, GDK_SCROLL_SMOOTH, dx, dy, x, y, state);
}

void pressKey(Gtk::Widget& widget, unsigned keyval, unsigned state) {
    sendKey(GDK_KEY_PRESS, widget, keyval, state);
}

void releaseKey(Gtk::Widget& widget, unsigned keyval, unsigned state) {
    sendKey(GDK_KEY_RELEASE, widget, keyval, state);
}

Picture::Picture(Gtk::Widget& widget) : Picture(drawingOf(widget, 1)) {}

Picture::Picture(const Cairo::RefPtr<Cairo::ImageSurface>& surface)
    : width_(surface->get_width()), height_(surface->get_height()) {
    surface->flush();
    for (int y = 0; y < height_; ++y) {
        const auto* row =
            reinterpret_cast<const std::uint32_t*>(surface->get_data() + y * surface->get_stride());
        for (int x = 0; x < width_; ++x)
            pixels_.push_back(row[x] & 0xFFFFFFU);
    }
}

std::uint32_t Picture::at(int x, int y) const {
    return pixels_.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                      static_cast<std::size_t>(x));
}

int Picture::countInColumn(int x, std::uint32_t colour) const {
    int found = 0;
    for (int y = 0; y < height_; ++y)
        found += at(x, y) == colour ? 1 : 0;
    return found;
}

int Picture::countInRow(int y, std::uint32_t colour) const {
    const auto row = pixels_.begin() + y * width_;
    return static_cast<int>(std::count(row, row + width_, colour));
}

int Picture::count(std::uint32_t colour) const {
    return static_cast<int>(std::count(pixels_.begin(), pixels_.end(), colour));
}

void keepShot(Gtk::Widget& widget, const std::string& name) {
    const char* folder = std::getenv("SIGMIRA_SHOTS");
    if (folder == nullptr) return;
    drawingOf(widget, widget.get_scale_factor())
        ->write_to_png(std::string(folder) + "/" + name + ".png");
}

std::vector<std::string> takeWarnings() {
    const std::lock_guard lock(warningsMutex);
    return std::exchange(warnings, {});
}

}  // namespace trelis::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    // No bridge to a bus that is not there, and no animation that delays a state.
    g_setenv("NO_AT_BRIDGE", "1", TRUE);
    if (!gtk_init_check(&argc, &argv)) {
        std::fprintf(stderr, "no display: skipped\n");
        return 77;
    }
    Gtk::Main::init_gtkmm_internals();
    g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
    g_log_set_writer_func(trelis::test::keepWarning, nullptr, nullptr);
    testing::UnitTest::GetInstance()->listeners().Append(new trelis::test::WarningListener);
    return RUN_ALL_TESTS();
}
