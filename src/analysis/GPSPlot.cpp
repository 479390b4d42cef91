#include "analysis/GPSPlot.h"

#include <gdkmm/general.h>

#include <mutex>

#include "analysis/Background.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/paint/TimeBox.h"
#include "virtual/GPSTrack.h"

namespace trelis {
namespace {

constexpr int kLeastSize = 400;

struct LineStyle {
    double red;
    double green;
    double blue;
    double alpha;
    double width;
};
constexpr LineStyle kWholeStyle{0.5, 0.5, 0.5, 0.3, 2.0};
constexpr LineStyle kVisibleStyle{0.5, 0.5, 0.5, 1.0, 2.0};
constexpr LineStyle kBetweenRulersStyle{1.0, 0.0, 0.0, 0.2, 4.0};
constexpr LineStyle kLastMinuteStyle{1.0, 0.0, 0.0, 1.0, 4.0};
constexpr LineStyle kLeftRulerStyle{0.9, 0.1, 0.5, 0.5, 3.0};
constexpr LineStyle kRightRulerStyle{0.1, 0.9, 0.5, 0.5, 3.0};

void useStyle(const Cairo::RefPtr<Cairo::Context>& cr, const LineStyle& style) {
    cr->set_source_rgba(style.red, style.green, style.blue, style.alpha);
    cr->set_line_width(style.width);
}

void drawLine(const Cairo::RefPtr<Cairo::Context>& cr, TrackPoints points, const PlaneView& plane,
              Pixel shift, const LineStyle& style) {
    if (points.empty()) return;
    useStyle(cr, style);
    for (const TrackPoint& point : points) {
        const Pixel pixel = plane.toPixel(point, shift);
        cr->line_to(pixel.x, pixel.y);  // begins the path if there is none
    }
    cr->stroke();
}

}  // namespace

GPSPlot::GPSPlot(const AnalysisContext& context) : context_(context) {
    set_size_request(kLeastSize, kLeastSize);
    set_can_focus(true);
    add_events(Gdk::SCROLL_MASK | Gdk::KEY_PRESS_MASK | Gdk::POINTER_MOTION_MASK |
               Gdk::POINTER_MOTION_HINT_MASK);
    get_accessible()->set_name("GPS track");
    // Allocation ends in on_configure_event, which renders.
    const auto onNews = sigc::mem_fun(*this, &Gtk::Widget::queue_resize);
    context_.store.dataChanged.connect(onNews);
    context_.store.rulersChanged.connect(onNews);
    context_.timeBox.timeChanged.connect(onNews);
    property_scale_factor().signal_changed().connect(onNews);
}

void GPSPlot::setTrack(const std::shared_ptr<GPSTrack>& track) {
    if (!track_) track_ = track;
    queue_resize();
}

void GPSPlot::forgetTrack() {
    track_.reset();
    points_.clear();
    image_.reset();
    queue_draw();
}

bool GPSPlot::on_configure_event(GdkEventConfigure* event) {
    if (track_) render(event->width, event->height);
    return true;
}

void GPSPlot::render(int width, int height) {
    const Store& store = context_.store;
    points_.clear();
    std::uint64_t lastPointTime = 0;
    {
        const std::lock_guard lock(*track_->mutex);
        points_.reserve(track_->points.size());
        for (const GPSPoint& point : track_->points)
            points_.push_back({point.time, point.x, point.y});
        lastPointTime = track_->lastPointTime;
    }
    const TrackParts parts = splitTrack(points_, {store.intervalStart, store.intervalEnd},
                                        {context_.timeBox.start, context_.timeBox.end},
                                        store.leftRuler, store.rightRuler, lastPointTime);
    isEmpty_ = parts.whole.empty();
    plane_ = PlaneView::fit(PlaneBounds::of(parts.whole), width * zoom_.factor(),
                            height * zoom_.factor());

    // In the pixels of the screen, of which a scaled display has several for each of the widget's.
    const int imageWidth = width * get_scale_factor();
    const int imageHeight = height * get_scale_factor();
    const auto surface = Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, imageWidth, imageHeight);
    const auto cr = Cairo::Context::create(surface);
    cr->scale(get_scale_factor(), get_scale_factor());
    cr->set_antialias(Cairo::ANTIALIAS_SUBPIXEL);
    const Pixel shift = zoom_.shift();
    drawLine(cr, parts.whole, plane_, shift, kWholeStyle);
    drawLine(cr, parts.visible, plane_, shift, kVisibleStyle);
    drawLine(cr, parts.betweenRulers, plane_, shift, kBetweenRulersStyle);
    drawLine(cr, parts.lastMinute, plane_, shift, kLastMinuteStyle);
    image_ = Gdk::Pixbuf::create(surface, 0, 0, imageWidth, imageHeight);
    imageScale_ = 1.0 / get_scale_factor();
    queue_draw();
}

bool GPSPlot::on_draw(const Cairo::RefPtr<Cairo::Context>& cr) {
    paintBackground(cr, context_.settings);
    if (!image_) return false;
    if (isEmpty_) drawEmptyText(*this, cr, context_.settings, "No positions in this interval");
    cr->save();
    cr->scale(imageScale_, imageScale_);
    Gdk::Cairo::set_source_pixbuf(cr, image_, 0, 0);
    cr->paint();
    cr->restore();
    const auto drawRuler = [&](std::int64_t ruler, const LineStyle& style) {
        const auto point = firstPointAfter(points_, ruler);
        if (!point) return;
        constexpr double kRadius = 5.0;
        constexpr double kFullTurn = 6.283185307179586;
        const Pixel pixel = plane_.toPixel(*point, zoom_.shift());
        useStyle(cr, style);
        cr->set_antialias(Cairo::ANTIALIAS_NONE);
        cr->arc(pixel.x, pixel.y, kRadius, 0, kFullTurn);
        cr->stroke();
    };
    drawRuler(context_.store.rightRuler, kRightRulerStyle);
    drawRuler(context_.store.leftRuler, kLeftRulerStyle);
    return true;
}

bool GPSPlot::on_scroll_event(GdkEventScroll* event) {
    const bool smooth = event->direction == GDK_SCROLL_SMOOTH;
    if (event->direction == GDK_SCROLL_UP || (smooth && event->delta_y < 0))
        zoom_.zoomIn();
    else if (event->direction == GDK_SCROLL_DOWN || (smooth && event->delta_y > 0)) {
        if (!zoom_.zoomOut()) return true;
    } else
        return false;
    queue_resize();
    return true;
}

bool GPSPlot::on_motion_notify_event(GdkEventMotion* event) {
    // With motion hints the next event comes only after the position was asked for.
    gdk_event_request_motions(event);
    zoom_.movePointer(event->x, event->y);
    return false;
}

bool GPSPlot::on_key_press_event(GdkEventKey* event) {
    if (event->keyval != GDK_KEY_Escape) return false;
    zoom_.resetFactor();
    queue_resize();
    return true;
}

}  // namespace trelis
