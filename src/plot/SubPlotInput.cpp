// Mouse, wheel and keys of the signal plot.
#include <gdkmm/cursor.h>
#include <gdkmm/window.h>

#include <cmath>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/PlotHost.h"
#include "plot/SubPlot.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr unsigned kLeft = 1;
constexpr unsigned kMiddle = 2;
constexpr unsigned kRight = 3;

/// Everything but Caps Lock and Num Lock makes a key not plain.
constexpr unsigned kNotPlain = GDK_SHIFT_MASK | GDK_CONTROL_MASK | GDK_MOD1_MASK | GDK_MOD3_MASK |
                               GDK_MOD4_MASK | GDK_MOD5_MASK | GDK_BUTTON1_MASK | GDK_BUTTON2_MASK |
                               GDK_BUTTON3_MASK | GDK_BUTTON4_MASK | GDK_BUTTON5_MASK |
                               GDK_SUPER_MASK | GDK_HYPER_MASK | GDK_META_MASK | GDK_RELEASE_MASK;

}  // namespace

void SubPlot::setKeyHeld(char key, bool held) {
    switch (key) {
        case 'H':
            holdH_ = held;
            break;
        case 'C':
            holdC_ = held;
            break;
        case 'F':
            holdF_ = held;
            break;
        case 'S':
            holdS_ = held;
            break;
        default:
            return;
    }
    if (const auto window = get_window())
        window->set_cursor(Gdk::Cursor::create(get_display(), held ? "crosshair" : "default"));
}

std::shared_ptr<Signal> SubPlot::signalAtRow(double y) const {
    const auto selected = store_.selection();
    const auto row = rowAt(y, get_allocated_height() - timeStrip_, selected.size());
    return row ? selected[*row] : nullptr;
}

bool SubPlot::on_button_press_event(GdkEventButton* event) {
    const bool menu = event->button == kMiddle ||
                      (event->button == kRight && (event->state & GDK_CONTROL_MASK) != 0);
    if (menu) {
        const auto signal = settings_.getSplitView() ? signalAtRow(event->y) : nullptr;
        if (signal) host_.popupPlotMenu(signal);
    } else if (event->button == kRight) {
        rightDrag_ = true;
    } else if (event->button != kLeft) {
        return false;
    } else if (!anyKeyHeld()) {
        leftDrag_ = true;
    } else if (const auto signal = signalAtRow(event->y)) {
        actOnRow(signal);
    }
    moveRuler(event->x);
    return true;
}

void SubPlot::actOnRow(const std::shared_ptr<Signal>& signal) {
    if (holdH_) {
        if (!store_.waitingForWork()) host_.hideSignal(signal);
    } else if (holdC_) {
        host_.changeColor(signal);
    } else if (holdF_) {
        host_.findInList(signal);
    } else {
        host_.showStats(signal);
    }
}

bool SubPlot::on_button_release_event(GdkEventButton* event) {
    if (event->button == kRight)
        rightDrag_ = false;
    else if (event->button == kLeft)
        leftDrag_ = false;
    else
        return false;
    return true;
}

bool SubPlot::on_motion_notify_event(GdkEventMotion* event) {
    gdk_event_request_motions(event);
    // The plot has keys of its own, which work as soon as the pointer is over it.
    if (!has_focus()) grab_focus();
    if (anyKeyHeld())
        highlightRow(signalAtRow(event->y));
    else if (!leftDrag_ && !rightDrag_)
        return false;
    moveRuler(event->x);
    return true;
}

void SubPlot::moveRuler(double x) {
    if (view().end == 0 || (!leftDrag_ && !rightDrag_)) return;
    const auto time = static_cast<std::int64_t>(timeOf(x, view(), get_allocated_width()));
    if (leftDrag_)
        store_.leftRuler = time;
    else
        store_.rightRuler = time;
    publishRulers();
}

void SubPlot::applyView(TimeSpan span) {
    viewStart_ = span.start;
    viewEnd_ = span.end;
    timeBox_.setInterval(viewStart_, viewEnd_, true);
    queue_draw();
}

bool SubPlot::on_scroll_event(GdkEventScroll* event) {
    if (viewEnd_ == 0) return true;
    const TimeSpan now = view();
    const double position = zoomPosition(event->x, get_allocated_width());
    const bool shift = (event->state & GDK_SHIFT_MASK) != 0;
    // A smooth device tells fractions of a step, a step being 1.
    double dx = 0;
    double dy = 0;
    switch (event->direction) {
        case GDK_SCROLL_UP:
            dy = -1;
            break;
        case GDK_SCROLL_DOWN:
            dy = 1;
            break;
        case GDK_SCROLL_LEFT:
            dx = -1;
            break;
        case GDK_SCROLL_RIGHT:
            dx = 1;
            break;
        case GDK_SCROLL_SMOOTH:
            dx = event->delta_x;
            dy = event->delta_y;
            break;
    }
    if (shift && dy != 0)
        applyView(dy < 0 ? panEarlier(now, bounds(), -dy) : panLater(now, bounds(), dy));
    else if (dy != 0)
        applyView(zoomAround(now, position, std::pow(dy < 0 ? kZoomIn : kZoomOut, std::abs(dy)),
                             bounds()));
    else if (dx != 0)
        applyView(dx > 0 ? panEarlier(now, bounds(), dx) : panLater(now, bounds(), -dx));
    return true;
}

bool SubPlot::on_key_press_event(GdkEventKey* event) {
    const unsigned key = gdk_keyval_to_lower(event->keyval);
    const bool control = (event->state & GDK_CONTROL_MASK) != 0;
    const bool alt = (event->state & GDK_MOD1_MASK) != 0;
    if (key == GDK_KEY_Escape)
        deleteRulers();
    else if (control && key == GDK_KEY_a)
        dumpToAsc();
    else if (control && key == GDK_KEY_c)
        copySignals();
    else if (alt && key == GDK_KEY_x)
        store_.clearInterval();
    else if (alt && key == GDK_KEY_z)
        crop();
    else if ((event->state & kNotPlain) != 0 || !handlePlainKey(key))
        return Gtk::DrawingArea::on_key_press_event(event);
    return true;
}

bool SubPlot::handlePlainKey(unsigned key) {
    const TimeSpan now = view();
    constexpr double kMid = 0.5;
    switch (key) {
        case GDK_KEY_d:
            settings_.setShowDelta(!settings_.getShowDelta());
            queue_draw();
            return true;
        case GDK_KEY_t:
            settings_.setPrettyTime(!settings_.getPrettyTime());
            queue_draw();
            return true;
        case GDK_KEY_Left:
        case GDK_KEY_Right:
        case GDK_KEY_Up:
        case GDK_KEY_Down:
            break;
        default:
            return false;
    }
    if (viewEnd_ == 0) return true;
    if (key == GDK_KEY_Left)
        applyView(panEarlier(now, bounds()));
    else if (key == GDK_KEY_Right)
        applyView(panLater(now, bounds()));
    else
        applyView(zoomAround(now, kMid, key == GDK_KEY_Up ? kZoomIn : kZoomOut, bounds()));
    return true;
}

}  // namespace trelis
