// Where ruler lines, ticks and labels go, as pure arithmetic.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "plot/paint/ViewMath.h"

namespace trelis {

/// The rulers in a widget of this size.
struct RulerColumns {
    std::int64_t leftTime = -1;  ///< ms since the epoch; negative while unset
    std::int64_t rightTime = -1;
    int left = 0;  ///< pixel columns
    int right = 0;
    int width = 0;
    int height = 0;
    int timeStrip = 0;  ///< px at the bottom for time labels

    [[nodiscard]] bool hasLeft() const { return leftTime > 0; }
    [[nodiscard]] bool hasRight() const { return rightTime > 0; }
    /// A ruler outside the view has no labels: they would stand at the edge without their line. One
    /// on the very edge has: a crop leaves both there.
    [[nodiscard]] bool showsLeft() const { return hasLeft() && left >= 0 && left <= width; }
    [[nodiscard]] bool showsRight() const { return hasRight() && right >= 0 && right <= width; }
    /// Labels point away from the other ruler.
    [[nodiscard]] bool leftPointsLeft() const { return hasRight() && right >= left; }
    [[nodiscard]] bool rightPointsLeft() const { return hasRight() && hasLeft() && right < left; }
};

/// A signal's value at one ruler.
struct RulerValue {
    double value = 0;
    bool reached = false;  ///< the ruler is at or after the first sample
    std::string text;      ///< as printValue gives it
};

/// One signal with its values at both rulers.
struct RulerRow {
    const void* key = nullptr;  ///< identity of the signal, never dereferenced
    std::string name;
    std::string unit;
    bool known = false;  ///< the rest was read; without it the row has no marks
    ValueRange range;
    bool hasSamples = false;
    std::int64_t leftTime = -1;  ///< the times that the values are for
    std::int64_t rightTime = -1;
    RulerValue left;
    RulerValue right;
};

struct RulerLabel {
    std::string text;
    bool pointLeft = false;
    bool red = false;  ///< the value is outside the range that is shown
    double x = 0;
    double y = 0;
    double width = 0;  ///< set by placeLabels
    double height = 0;
};

struct RulerTick {
    int column = 0;
    int y = 0;
};

struct RulerMarks {
    std::vector<RulerTick> ticks;
    std::vector<RulerLabel> labels;
};

struct RulerStyle {
    int rowHeight = 0;
    bool split = false;
    bool showDelta = false;
    int fontSize = 10;
    double lineWidth = 2;
};

/// Ticks and value labels of all rows, row after row, the left ruler first.
[[nodiscard]] RulerMarks layoutRulers(const RulerColumns& columns,
                                      const std::vector<RulerRow>& rows, const RulerStyle& style);

/// "value name (unit)", cut to 149 bytes at a character's border.
[[nodiscard]] std::string rulerText(const std::string& value, const RulerRow& row);

/// Gives each label its box: left or right of its ruler, within the widget, and moved up or down
/// where it would cover one placed before. `measure` returns the text's width and height in px.
void placeLabels(std::vector<RulerLabel>& labels, int widgetWidth, int widgetHeight,
                 const std::function<std::pair<int, int>(const std::string&)>& measure);

/// A time difference as text, with a blank in front of a negative one and "-" otherwise. `pretty`
/// counts years, months and days from 0. WRN "Could not get delta time for ruler" if the calendar
/// has no such time.
[[nodiscard]] std::string formatDelta(std::int64_t deltaMs, bool pretty);

}  // namespace trelis
