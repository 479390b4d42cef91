#include "analysis/Histogram.h"

#include <gdkmm/general.h>

#include <algorithm>
#include <array>
#include <mutex>

#include "analysis/Background.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr int kLeastWidth = 300;
constexpr int kLeastHeight = 200;
constexpr double kAxisInset = 10.0;
constexpr double kTickHalf = 4.0;
constexpr int kTicks = 5;

}  // namespace

Histogram::Histogram(const AnalysisContext& context, std::shared_ptr<Signal> signal)
    : context_(context), signal_(std::move(signal)) {
    set_size_request(kLeastWidth, kLeastHeight);
    add_events(Gdk::SCROLL_MASK | Gdk::POINTER_MOTION_MASK | Gdk::LEAVE_NOTIFY_MASK);
    get_accessible()->set_name("Histogram");
    const auto onNews = sigc::mem_fun(*this, &Histogram::scheduleRecount);
    context_.timeBox.timeChanged.connect(onNews);
    context_.store.rulersChanged.connect(onNews);
    context_.store.dataChanged.connect(onNews);
    context_.store.settingsChanged.connect(sigc::mem_fun(*this, &Gtk::Widget::queue_draw));
    recount();
}

Histogram::~Histogram() {
    recountIdle_.disconnect();
}

void Histogram::setBinCount(std::size_t count) {
    binCount_ = count;
    recount();
}

void Histogram::scheduleRecount() {
    recountPending_ = true;
    if (!recountIdle_.connected())
        recountIdle_ = Glib::signal_idle().connect([this] {
            if (recountPending_) recount();
            return false;
        });
}

void Histogram::recount() {
    recountPending_ = false;
    const TimeRange range = rulersOrView(context_.store.leftRuler, context_.store.rightRuler,
                                         {context_.timeBox.start, context_.timeBox.end});
    {
        const std::lock_guard lock(*signal_->mutex);
        counts_ =
            countHistogram(signal_->samples().view(), range, displayLimits(*signal_), binCount_);
    }
    updateLayout();
}

const HistogramCounts& Histogram::counts() {
    if (recountPending_) recount();
    return counts_;
}

std::string Histogram::tableText() {
    return histogramTable(counts(), signal_->unit, context_.settings.getDecimalComma());
}

void Histogram::updateLayout() {
    layout_ = HistogramLayout::of(counts_, width_, height_, zoom_);
    queue_draw();
}

bool Histogram::on_configure_event(GdkEventConfigure* event) {
    width_ = event->width;
    height_ = event->height;
    updateLayout();
    return true;
}

bool Histogram::on_draw(const Cairo::RefPtr<Cairo::Context>& cr) {
    paintBackground(cr, context_.settings);
    if (!counts_.hasRange())
        drawEmptyText(*this, cr, context_.settings, "No values in this interval");
    drawBars(cr);
    drawAxis(cr);
    drawPointer(cr);
    return true;
}

void Histogram::drawBars(const Cairo::RefPtr<Cairo::Context>& cr) const {
    constexpr double kBarAlpha = 0.8;
    const Gdk::RGBA colour(signal_->color);
    cr->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(), kBarAlpha);
    const double axisY = height_ - HistogramLayout::kAxisHeight;
    for (std::size_t bin = 0; bin < counts_.bins.size(); ++bin) {
        const double barHeight =
            std::min(static_cast<double>(counts_.bins[bin]) * layout_.unitHeight, axisY);
        cr->rectangle(layout_.barLeft(bin), axisY - barHeight, layout_.barWidth, barHeight);
    }
    cr->fill();
}

void Histogram::drawAxis(const Cairo::RefPtr<Cairo::Context>& cr) {
    constexpr double kGrey = 0.5;
    constexpr double kAxisAlpha = 0.3;
    constexpr double kLabelStrength = 0.7;
    const double axisY = height_ - HistogramLayout::kAxisHeight;
    const double spacing = (width_ - 2 * kAxisInset) / (kTicks - 1);

    cr->set_source_rgba(kGrey, kGrey, kGrey, kAxisAlpha);
    cr->set_line_width(2.0);
    cr->move_to(kAxisInset, axisY);
    cr->line_to(width_ - kAxisInset, axisY);
    for (int tick = 0; tick < kTicks; ++tick) {
        cr->move_to(kAxisInset + tick * spacing, axisY - kTickHalf);
        cr->line_to(kAxisInset + tick * spacing, axisY + kTickHalf);
    }
    cr->stroke();

    Gdk::Cairo::set_source_rgba(cr, inkOn(backgroundOf(context_.settings), kLabelStrength));
    const bool hasRange = counts_.hasRange();
    const double step = hasRange ? (counts_.maxValue - counts_.minValue) / (kTicks - 1) : 0.0;
    for (int tick = 0; tick < kTicks; ++tick) {
        const double value = hasRange ? counts_.minValue + tick * step : 0.0;
        const double align = tick == 0 ? 0.0 : tick == kTicks - 1 ? 1.0 : 0.5;
        drawLabel(cr, format("%.2f", value), kAxisInset + tick * spacing, align, false);
    }
}

void Histogram::drawPointer(const Cairo::RefPtr<Cairo::Context>& cr) {
    if (pointerX_ < 0 || !counts_.hasRange()) return;
    const std::size_t bin = layout_.barAt(pointerX_, counts_.bins.size());
    if (bin == counts_.bins.size()) return;
    const double axisY = height_ - HistogramLayout::kAxisHeight;
    const double x = layout_.barLeft(bin) + layout_.barWidth / 2;
    const double middle = (counts_.lowerEdge(bin) + counts_.upperEdge(bin)) / 2;

    Gdk::Cairo::set_source_rgba(cr, inkOn(backgroundOf(context_.settings), 1.0));
    cr->set_line_width(2.0);
    cr->move_to(x, axisY - kTickHalf);
    cr->line_to(x, axisY + kTickHalf);
    cr->stroke();
    drawLabel(cr, format("%.2f %s", middle, signal_->unit.c_str()), x, 0.5, true);
}

void Histogram::drawLabel(const Cairo::RefPtr<Cairo::Context>& cr, const std::string& text,
                          double x, double align, bool onBackground) {
    Pango::FontDescription font;
    font.set_family("Monospace");
    font.set_size(10 * Pango::SCALE);
    font.set_weight(static_cast<Pango::Weight>(1000));
    const auto layout = create_pango_layout(text);
    layout->set_font_description(font);
    int textWidth = 0;
    int textHeight = 0;
    layout->get_pixel_size(textWidth, textHeight);
    const double left = std::clamp(x - align * textWidth, 0.0, std::max(0.0, width_ - textWidth));
    const double top = height_ - textHeight;
    if (onBackground) {
        cr->save();
        Gdk::Cairo::set_source_rgba(cr, backgroundOf(context_.settings));
        cr->rectangle(left - 2, top, textWidth + 4, textHeight);
        cr->fill();
        cr->restore();
    }
    cr->move_to(left, top);
    layout->show_in_cairo_context(cr);
}

bool Histogram::on_scroll_event(GdkEventScroll* event) {
    const bool smooth = event->direction == GDK_SCROLL_SMOOTH;
    const bool up = event->direction == GDK_SCROLL_UP || (smooth && event->delta_y < 0);
    const bool down = event->direction == GDK_SCROLL_DOWN || (smooth && event->delta_y > 0);
    constexpr double kLookLower = 0.8;
    constexpr double kLookHigher = 1.25;
    constexpr double kLeastZoom = 1e-9;  // of a bar of a year, a pixel is less than a ms then
    if (up)
        zoom_ = std::max(kLookLower * zoom_, kLeastZoom);
    else if (down)
        zoom_ = std::min(kLookHigher * zoom_, 1.0);
    else
        return false;
    recount();
    return true;
}

bool Histogram::on_motion_notify_event(GdkEventMotion* event) {
    pointerX_ = event->x;
    queue_draw();
    return false;
}

bool Histogram::on_leave_notify_event(GdkEventCrossing* /*event*/) {
    pointerX_ = -1.0;
    queue_draw();
    return false;
}

}  // namespace trelis
