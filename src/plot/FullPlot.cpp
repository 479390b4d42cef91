#include "plot/FullPlot.h"

#include <algorithm>
#include <cmath>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/GtkColour.h"
#include "plot/paint/Grid.h"
#include "plot/paint/ShowPicture.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr int kHeight = 200;               ///< requested
constexpr unsigned kLiveRenderMs = 10000;  ///< a live overview renders at most this often
constexpr int kGridStep = 20;
constexpr double kGridWidth = 0.2;
constexpr int kThinnestMark = 3;

}  // namespace

FullPlot::FullPlot(Store& store, TimeBox& timeBox, Settings& settings)
    : store_(store), timeBox_(timeBox), settings_(settings) {
    set_size_request(-1, kHeight);
    add_events(Gdk::SCROLL_MASK | Gdk::SMOOTH_SCROLL_MASK | Gdk::POINTER_MOTION_MASK |
               Gdk::POINTER_MOTION_HINT_MASK | Gdk::BUTTON_PRESS_MASK | Gdk::BUTTON_RELEASE_MASK);
    get_accessible()->set_name("Overview");
    get_accessible()->set_role(Atk::ROLE_CHART);

    picture_.painted.connect(sigc::mem_fun(*this, &FullPlot::onPainted));
    property_scale_factor().signal_changed().connect(sigc::mem_fun(*this, &FullPlot::render));
    connections_ = {
        timeBox_.timeChanged.connect(sigc::mem_fun(*this, &FullPlot::queue_draw)),
        store_.dataChanged.connect(sigc::mem_fun(*this, &FullPlot::onDataChanged)),
    };
}

FullPlot::~FullPlot() {
    for (sigc::connection& connection : connections_)
        connection.disconnect();
    refreshTimer_.disconnect();
}

TimeSpan FullPlot::bounds() const {
    return {store_.intervalStart, store_.intervalEnd};
}

void FullPlot::onDataChanged() {
    if (store_.liveMode) {
        armRefresh();
        return;
    }
    const TimeSpan data = bounds();
    if (!timeBox_.isSet() && data.length() > 0) timeBox_.setInterval(data.start, data.end, false);
    render();
}

void FullPlot::onPainted() {
    queue_draw();
    if (store_.liveMode) armRefresh();
}

void FullPlot::armRefresh() {
    if (refreshTimer_.connected()) return;
    const auto refresh = [this] {
        refreshTimer_.disconnect();
        render();
        return false;
    };
    refreshTimer_ = Glib::signal_timeout().connect(refresh, kLiveRenderMs);
}

bool FullPlot::on_configure_event(GdkEventConfigure* /*event*/) {
    render();
    return true;
}

void FullPlot::render() {
    queue_draw();
    span_ = bounds();
    const auto selected = store_.selection();
    PictureRequest request;
    request.bounds = span_;
    request.width = get_allocated_width();
    request.height = get_allocated_height();
    request.scale = get_scale_factor();
    request.rows = selected.size();
    request.split = settings_.getSplitView();
    request.lineWidth = store_.lineWidth;
    const auto layout = get_realized() ? layoutOverview(request) : std::nullopt;
    if (!layout) {
        if (selected.empty()) stopPainting();
        return;
    }
    std::vector<PaintSignal> signals;
    for (const auto& signal : selected)
        signals.push_back({signal, colourOf(signal->color)});
    picture_.start(*layout, signals);
}

void FullPlot::stopPainting() {
    picture_.stop();
    refreshTimer_.disconnect();
    queue_draw();
}

bool FullPlot::on_draw(const Cairo::RefPtr<Cairo::Context>& cr) {
    const int width = get_allocated_width();
    const int height = get_allocated_height();
    const int scale = get_scale_factor();
    const Colour background = colourOf(settings_.getBgColor());
    cr->set_source_rgba(background.red, background.green, background.blue, 1.0);
    cr->paint();
    drawGrid(cr, width, height, kGridStep, kGridWidth, colourOf(settings_.getGridColor()));
    picture_.visit([&](const PixelCanvas& canvas, const PictureLayout& layout) {
        showPicture(cr, canvas, layout, layout.view, width * scale, height * scale, scale);
    });
    drawMark(cr);
    return true;
}

void FullPlot::drawMark(const Cairo::RefPtr<Cairo::Context>& cr) {
    if (!timeBox_.isSet() || span_.length() == 0) return;
    const int width = get_allocated_width();
    const int start = columnOf(static_cast<std::int64_t>(timeBox_.start), span_, width);
    const int end = columnOf(static_cast<std::int64_t>(timeBox_.end), span_, width);
    cr->set_source_rgba(0.5, 0.5, 0.5, 0.25);
    cr->rectangle(start, 0, std::max(end - start, kThinnestMark), get_allocated_height());
    cr->fill();
}

void FullPlot::centerAt(double x) {
    if (span_.length() == 0) return;
    timeBox_.centerOn(timeOf(x, span_, get_allocated_width()));
}

bool FullPlot::on_button_press_event(GdkEventButton* event) {
    if (event->button != 1) return false;
    dragging_ = true;
    centerAt(event->x);
    return true;
}

bool FullPlot::on_button_release_event(GdkEventButton* event) {
    if (event->button != 1) return false;
    dragging_ = false;
    return true;
}

bool FullPlot::on_motion_notify_event(GdkEventMotion* event) {
    gdk_event_request_motions(event);
    if (!dragging_) return false;
    centerAt(std::max(event->x, 0.0));
    return true;
}

bool FullPlot::on_scroll_event(GdkEventScroll* event) {
    double steps = 0;  // down
    switch (event->direction) {
        case GDK_SCROLL_UP:
            steps = -1;
            break;
        case GDK_SCROLL_DOWN:
            steps = 1;
            break;
        case GDK_SCROLL_SMOOTH:
            steps = event->delta_y;
            break;
        default:
            return false;
    }
    if (!timeBox_.isSet() || span_.length() == 0 || steps == 0) return true;
    const std::uint64_t time = timeOf(event->x, span_, get_allocated_width());
    const double factor = std::pow(steps < 0 ? kZoomIn : kZoomOut, std::abs(steps));
    const TimeSpan view = zoomOnto({timeBox_.start, timeBox_.end}, time, factor, bounds());
    timeBox_.setInterval(view.start, view.end, true);
    return true;
}

}  // namespace trelis
