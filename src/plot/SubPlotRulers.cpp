// Rulers and labels of the signal plot.
#include <pangomm/fontdescription.h>
#include <pangomm/layout.h>

#include <algorithm>
#include <cmath>

#include "app/store/FormatTime.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/GtkColour.h"
#include "plot/SubPlot.h"
#include "plot/paint/RulerValues.h"

namespace trelis {
namespace {

constexpr double kRulerWidth = 2;
constexpr double kLabelRadius = 5;
constexpr unsigned kLookAgainMs = 20;

void roundedRectangle(const Cairo::RefPtr<Cairo::Context>& cr, const RulerLabel& box) {
    const double right = box.x + box.width - kLabelRadius;
    const double bottom = box.y + box.height - kLabelRadius;
    const double left = box.x + kLabelRadius;
    const double top = box.y + kLabelRadius;
    cr->begin_new_sub_path();
    cr->arc(right, top, kLabelRadius, -M_PI / 2, 0);
    cr->arc(right, bottom, kLabelRadius, 0, M_PI / 2);
    cr->arc(left, bottom, kLabelRadius, M_PI / 2, M_PI);
    cr->arc(left, top, kLabelRadius, M_PI, 3 * M_PI / 2);
    cr->close_path();
}

}  // namespace

std::vector<RulerRow> SubPlot::rulerRows() {
    const std::int64_t left = store_.leftRuler;
    const std::int64_t right = store_.rightRuler;
    std::vector<RulerRow> rows;
    for (const auto& signal : store_.selection()) {
        RulerRow row = readRulerRow(*signal, left, right);
        if (!row.known) {
            const auto last =
                std::find_if(lastRows_.begin(), lastRows_.end(), [&](const RulerRow& known) {
                    return known.key == row.key && known.leftTime == left &&
                           known.rightTime == right;
                });
            if (last != lastRows_.end()) row = *last;
            scheduleRepaint(kLookAgainMs);
        }
        rows.push_back(std::move(row));
    }
    lastRows_ = rows;
    return rows;
}

std::vector<RulerLabel> SubPlot::timeLabels(const RulerColumns& columns) const {
    const bool pretty = settings_.getPrettyTime();
    const int y = columns.height - columns.timeStrip;
    std::vector<RulerLabel> labels;
    const auto add = [&](std::string text, int x, bool pointLeft) {
        RulerLabel label;
        label.text = std::move(text);
        label.pointLeft = pointLeft;
        label.x = x;
        label.y = y;
        labels.push_back(std::move(label));
    };
    if (columns.showsLeft())
        add(formatTime(store_, columns.leftTime, pretty, true), columns.left + 5,
            columns.leftPointsLeft());
    if (columns.showsRight()) {
        if (settings_.getShowDelta() && columns.leftTime >= 0)
            add(formatDelta(columns.leftTime - columns.rightTime, pretty), columns.right,
                columns.rightPointsLeft());
        else
            add(formatTime(store_, columns.rightTime, pretty, true), columns.right + 5,
                columns.rightPointsLeft());
    }
    return labels;
}

void SubPlot::drawRulers(const Cairo::RefPtr<Cairo::Context>& cr) {
    RulerColumns columns;
    columns.width = get_allocated_width();
    columns.height = get_allocated_height();
    columns.timeStrip = timeStrip_;
    columns.leftTime = store_.leftRuler;
    columns.rightTime = store_.rightRuler;
    columns.left = columnOf(columns.leftTime, view(), columns.width);
    columns.right = columnOf(columns.rightTime, view(), columns.width);
    if (!columns.showsLeft() && !columns.showsRight()) return;

    const std::vector<RulerRow> rows = rulerRows();
    if (rows.empty()) return;
    const RulerStyle style{rowHeight(rows.size()), split_, settings_.getShowDelta(),
                           settings_.getFontSize(), store_.lineWidth};
    RulerMarks marks = layoutRulers(columns, rows, style);
    drawRulerLines(cr, columns, marks.ticks);
    std::vector<RulerLabel> labels = timeLabels(columns);
    std::move(marks.labels.begin(), marks.labels.end(), std::back_inserter(labels));
    drawLabels(cr, std::move(labels));
}

void SubPlot::drawRulerLines(const Cairo::RefPtr<Cairo::Context>& cr, const RulerColumns& columns,
                             const std::vector<RulerTick>& ticks) {
    const Colour colour = colourOf(settings_.getRulerColor());
    cr->save();
    cr->set_antialias(Cairo::ANTIALIAS_NONE);
    cr->set_line_width(kRulerWidth);
    cr->set_source_rgba(colour.red, colour.green, colour.blue, settings_.getRulerTransparancy());
    const auto line = [&cr](double x0, double y0, double x1, double y1) {
        cr->move_to(x0, y0);
        cr->line_to(x1, y1);
        cr->stroke();
    };
    if (columns.showsLeft()) line(columns.left, 0, columns.left, columns.height);
    if (columns.showsRight()) line(columns.right, 0, columns.right, columns.height);
    for (const RulerTick& tick : ticks)
        line(tick.column - std::min(3, tick.column), tick.y, tick.column + 3, tick.y);
    cr->restore();
}

void SubPlot::drawLabels(const Cairo::RefPtr<Cairo::Context>& cr, std::vector<RulerLabel> labels) {
    Pango::FontDescription font(std::to_string(settings_.getFontSize()));
    font.set_family("Monospace");
    constexpr int kHeaviest = 1000;
    font.set_weight(static_cast<Pango::Weight>(kHeaviest));
    std::vector<Glib::RefPtr<Pango::Layout>> texts;
    const auto measure = [&](const std::string& text) {
        texts.push_back(create_pango_layout(text));
        texts.back()->set_font_description(font);
        std::pair<int, int> size;
        texts.back()->get_pixel_size(size.first, size.second);
        return size;
    };
    placeLabels(labels, get_allocated_width(), get_allocated_height(), measure);

    const Colour background = colourOf(settings_.getRulerTextBackgroundColor());
    const Colour normal = colourOf(settings_.getRulerTextColor());
    const double opacity = settings_.getRulerTxtTransparency();
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const RulerLabel& label = labels[i];
        cr->set_source_rgba(background.red, background.green, background.blue,
                            settings_.getRulerTxtBackgroundTransparency());
        roundedRectangle(cr, label);
        cr->fill();
        const Colour colour = label.red ? Colour{1, 0, 0} : normal;
        cr->set_source_rgba(colour.red, colour.green, colour.blue, opacity);
        cr->move_to(label.x, label.y);
        texts[i]->show_in_cairo_context(cr);
    }
}

}  // namespace trelis
