#include "plot/PlotArea.h"

#include <atkmm/object.h>
#include <glibmm/main.h>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/GtkColour.h"
#include "plot/paint/Grid.h"
#include "plot/paint/ShowPicture.h"

namespace trelis {

PlotArea::PlotArea(Store& store, TimeBox& timeBox, Settings& settings, const char* accessibleName,
                   unsigned liveRenderMs)
    : store_(store), timeBox_(timeBox), settings_(settings), liveRenderMs_(liveRenderMs) {
    add_events(Gdk::SCROLL_MASK | Gdk::SMOOTH_SCROLL_MASK | Gdk::POINTER_MOTION_MASK |
               Gdk::POINTER_MOTION_HINT_MASK | Gdk::BUTTON_PRESS_MASK | Gdk::BUTTON_RELEASE_MASK);
    get_accessible()->set_name(accessibleName);
    get_accessible()->set_role(Atk::ROLE_CHART);
    picture_.painted.connect(sigc::mem_fun(*this, &PlotArea::onPainted));
    property_scale_factor().signal_changed().connect(sigc::mem_fun(*this, &PlotArea::render));
}

PlotArea::~PlotArea() {
    for (sigc::connection& connection : connections_)
        connection.disconnect();
    renderTimer_.disconnect();
}

TimeSpan PlotArea::bounds() const {
    return {store_.intervalStart, store_.intervalEnd};
}

void PlotArea::onPainted() {
    queue_draw();
    if (store_.liveMode) scheduleRender();
}

void PlotArea::scheduleRender() {
    if (renderTimer_.connected()) return;
    const auto renderNow = [this] {
        renderTimer_.disconnect();
        render();
        return false;
    };
    renderTimer_ = Glib::signal_timeout().connect(renderNow, liveRenderMs_);
}

bool PlotArea::on_configure_event(GdkEventConfigure* /*event*/) {
    render();
    return true;
}

void PlotArea::render() {
    queue_draw();
    const auto selected = store_.selection();
    PictureRequest request;
    request.bounds = bounds();
    request.width = get_allocated_width();
    request.height = get_allocated_height();
    request.scale = get_scale_factor();
    request.rows = selected.size();
    request.split = settings_.getSplitView();
    request.lineWidth = store_.lineWidth;
    const auto layout = get_realized() ? layoutPicture(request) : std::nullopt;
    if (!layout) {
        if (selected.empty()) stopPainting();
        return;
    }
    std::vector<PaintSignal> signals;
    for (const auto& signal : selected)
        signals.push_back({signal, colourOf(signal->color)});
    picture_.start(*layout, signals);
    onStarted();
}

void PlotArea::stopPainting() {
    picture_.stop();
    renderTimer_.disconnect();
    queue_draw();
}

void PlotArea::drawBackground(const Cairo::RefPtr<Cairo::Context>& cr, int gridStep,
                              double gridWidth) {
    const Colour background = colourOf(settings_.getBgColor());
    cr->set_source_rgba(background.red, background.green, background.blue, 1.0);
    cr->paint();
    drawGrid(cr, get_allocated_width(), get_allocated_height(), gridStep, gridWidth,
             colourOf(settings_.getGridColor()));
}

bool PlotArea::drawPicture(const Cairo::RefPtr<Cairo::Context>& cr, std::optional<TimeSpan> view) {
    const int scale = get_scale_factor();
    const int width = get_allocated_width() * scale;
    const int height = view ? 0 : get_allocated_height() * scale;
    return picture_.visit([&](const PixelCanvas& canvas, const PictureLayout& layout) {
        showPicture(cr, canvas, layout, view.value_or(layout.view), width, height, scale);
    });
}

}  // namespace trelis
