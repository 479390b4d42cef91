#include "plot/FullPlot.h"

#include <algorithm>
#include <cmath>

#include "app/store/Store.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr unsigned kLiveRenderMs = 10000;  ///< a live overview renders at most this often
constexpr int kGridStep = 20;
constexpr double kGridWidth = 0.2;
constexpr int kThinnestMark = 3;

}  // namespace

FullPlot::FullPlot(Store& store, TimeBox& timeBox, Settings& settings)
    : PlotArea(store, timeBox, settings, "Overview", kLiveRenderMs) {
    set_size_request(-1, kHeight);
    connections_ = {
        timeBox_.timeChanged.connect(sigc::mem_fun(*this, &FullPlot::queue_draw)),
        store_.dataChanged.connect(sigc::mem_fun(*this, &FullPlot::onDataChanged)),
    };
}

void FullPlot::onDataChanged() {
    if (store_.liveMode) {
        scheduleRender();
        return;
    }
    const TimeSpan data = bounds();
    if (!timeBox_.isSet() && data.length() > 0) timeBox_.setInterval(data.start, data.end, false);
    render();
}

std::optional<PictureLayout> FullPlot::layoutPicture(PictureRequest request) {
    span_ = request.bounds;
    return layoutOverview(request);
}

bool FullPlot::on_draw(const Cairo::RefPtr<Cairo::Context>& cr) {
    drawBackground(cr, kGridStep, kGridWidth);
    drawPicture(cr, std::nullopt);
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
