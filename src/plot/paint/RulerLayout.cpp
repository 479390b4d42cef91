#include "plot/paint/RulerLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

constexpr std::size_t kMostText = 149;

std::string cutText(std::string text) {
    if (text.size() <= kMostText) return text;
    std::size_t end = kMostText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    text.resize(end);
    return text;
}

/// Where the label of a value stands relative to its row.
struct Place {
    int y = 0;         ///< of the tick
    double shift = 0;  ///< label heights that the label is moved up
    bool red = false;
};

Place placeOf(const RulerRow& row, const RulerValue& at, int rowTop, const RulerStyle& style) {
    const auto [low, high] = row.range;
    const int y = rowOf(at.value, row.range, style.rowHeight, style.lineWidth);
    // From 0 at the top of the range to 1 at the bottom: labels stay within their row.
    const double byValue = high != low && row.hasSamples
                               ? std::clamp(1 + (at.value - low) / (low - high), 0.0, 1.0)
                               : 0.0;
    if (at.value >= low && at.value <= high) return {rowTop + y, byValue, false};

    const int edge = rowTop + (y > style.rowHeight ? style.rowHeight : 0);
    if (!row.hasSamples) return {edge, 0, false};
    if (!at.reached) return {edge, byValue, false};
    return {edge, at.value < low ? 1.0 : 0.0, true};
}

struct Spot {
    double x = 0;
    double y = 0;
};

/// The widget with the labels that have their place.
class PlacedLabels {
  public:
    PlacedLabels(int width, int height) : width_(width), height_(height) {}

    void add(const RulerLabel& label) { placed_.push_back(&label); }

    /// Where the label covers no other: where it is, or as near as possible. Sideways is the worse
    /// way, unless the label would stand far above or below the value that it belongs to. Stays
    /// where it is if there is no room at all.
    [[nodiscard]] Spot spotFor(const RulerLabel& label) const {
        constexpr double kGap = 2;
        constexpr double kUpDownCost = 4;
        Spot best{label.x, label.y};
        if (isFree(label, best)) return best;
        double bestCost = 1e9;
        const auto consider = [&](Spot spot) {
            const double cost =
                std::abs(spot.x - label.x) + kUpDownCost * std::abs(spot.y - label.y);
            if (cost >= bestCost || !isFree(label, spot)) return;
            best = spot;
            bestCost = cost;
        };
        for (const RulerLabel* other : placed_) {
            consider({label.x, other->y + other->height});
            consider({label.x, other->y - label.height});
            consider({other->x - label.width - kGap, label.y});
            consider({other->x + other->width + kGap, label.y});
        }
        return best;
    }

  private:
    [[nodiscard]] bool isFree(const RulerLabel& label, Spot spot) const {
        if (spot.y < 0 || spot.y + label.height > height_ || spot.x + label.width > width_ ||
            (spot.x < 0 && spot.x < label.x))
            return false;
        return std::none_of(placed_.begin(), placed_.end(), [&](const RulerLabel* other) {
            return spot.x < other->x + other->width && other->x < spot.x + label.width &&
                   spot.y < other->y + other->height && other->y < spot.y + label.height;
        });
    }

    int width_;
    int height_;
    std::vector<const RulerLabel*> placed_;
};

}  // namespace

std::string rulerText(const std::string& value, const RulerRow& row) {
    return cutText(value + " " + row.name + " (" + row.unit + ")");
}

RulerMarks layoutRulers(const RulerColumns& columns, const std::vector<RulerRow>& rows,
                        const RulerStyle& style) {
    RulerMarks marks;
    int rowTop = 0;
    const auto add = [&](const RulerRow& row, const RulerValue& at, int column, bool pointLeft,
                         const std::string& value) {
        const Place place = placeOf(row, at, rowTop, style);
        marks.ticks.push_back({column, place.y});
        RulerLabel label;
        label.text = rulerText(value, row);
        label.pointLeft = pointLeft;
        label.red = place.red;
        label.x = column + 5;
        label.y = place.y - place.shift * (style.fontSize + 6);
        marks.labels.push_back(std::move(label));
    };
    for (const RulerRow& row : rows) {
        if (row.known && columns.showsLeft())
            add(row, row.left, columns.left, columns.leftPointsLeft(), row.left.text);
        if (row.known && columns.showsRight()) {
            const bool delta = style.showDelta && columns.hasLeft();
            const double difference = row.right.value - row.left.value;
            add(row, row.right, columns.right, columns.rightPointsLeft(),
                delta ? format("\u0394%.2f", difference) : row.right.text);
        }
        if (style.split) rowTop += style.rowHeight;
    }
    return marks;
}

void placeLabels(std::vector<RulerLabel>& labels, int widgetWidth, int widgetHeight,
                 const std::function<std::pair<int, int>(const std::string&)>& measure) {
    // With more there is no room to find, and looking for it takes time.
    constexpr std::size_t kMostApart = 64;
    PlacedLabels placed(widgetWidth, widgetHeight);
    for (RulerLabel& label : labels) {
        const auto [textWidth, textHeight] = measure(label.text);
        label.width = textWidth + 2;
        label.height = textHeight;
        label.x -= 1;
        if (label.x + label.width > widgetWidth || (label.pointLeft && label.x - label.width > 0))
            label.x -= label.width + 6;
        // Whole pixels, which keep the letters crisp.
        label.y = label.y < 0 ? 2 : std::floor(label.y);
        if (label.y + label.height > widgetHeight) label.y = widgetHeight - label.height;
        // Rulers outside the view have labels that nobody sees.
        if (label.x >= widgetWidth || label.x + label.width <= 0) continue;
        if (labels.size() > kMostApart) continue;
        const Spot spot = placed.spotFor(label);
        label.x = spot.x;
        label.y = spot.y;
        placed.add(label);
    }
}

std::string formatDelta(std::int64_t deltaMs, bool pretty) {
    const char sign = deltaMs < 0 ? ' ' : '-';
    const auto magnitude = static_cast<std::uint64_t>(std::llabs(deltaMs));
    const auto milliseconds = static_cast<unsigned>(magnitude % 1000);
    if (!pretty)
        return format("%c%u.%03us", sign, static_cast<unsigned>(magnitude / 1000), milliseconds);
    const auto seconds = static_cast<std::time_t>(magnitude / 1000);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr)
        report(Level::kWarning, "Could not get delta time for ruler");
    const auto count = [](int value) { return static_cast<unsigned>(value); };
    return format("%c %04u-%02u-%02u %02u:%02u:%02u.%03u", sign, count(parts.tm_year - 70),
                  count(parts.tm_mon), count(parts.tm_mday - 1), count(parts.tm_hour),
                  count(parts.tm_min), count(parts.tm_sec), milliseconds);
}

}  // namespace trelis
