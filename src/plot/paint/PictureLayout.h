// Size, time span and rows of a plot's picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "plot/paint/TimeAxis.h"
#include "plot/paint/ViewMath.h"

namespace trelis {

/// All lengths in device pixels.
struct PictureLayout {
    TimeSpan view;   ///< the interval that `viewWidth` columns show
    TimeSpan drawn;  ///< with the margins left and right of the view
    int viewWidth = 0;
    int marginLeft = 0;  ///< columns left of the view
    int width = 0;       ///< of the picture: margins and view
    int height = 0;
    int rowHeight = 0;
    bool split = false;  ///< each signal has a row of its own
    double lineWidth = 2;
    /// Rows are drawn at this many times the size and smoothed into the picture; 1 or 2.
    int detail = 1;

    [[nodiscard]] TimeAxis axis() const {
        return {view.start, view.end, viewWidth * detail, marginLeft * detail, width * detail};
    }
};

struct PictureRequest {
    TimeSpan view;    ///< end 0: the whole data
    TimeSpan bounds;  ///< of the data or the crop
    int width = 0;    ///< of the widget, logical pixels
    int height = 0;
    int strip = 0;  ///< logical pixels kept free at the bottom
    int scale = 1;  ///< device pixels a logical one
    std::size_t rows = 0;
    bool split = false;
    double lineWidth = 2;  ///< logical pixels
};

/// The signal plot's picture reaches up to half a view beyond each edge of the view, so that a
/// small pan has something to show. Nothing without data, signals or room.
[[nodiscard]] std::optional<PictureLayout> layoutView(const PictureRequest& request);
/// The overview's picture: the bounds, without margins, with double detail if split.
[[nodiscard]] std::optional<PictureLayout> layoutOverview(const PictureRequest& request);

/// How a picture is shown in another view: pixel x of the picture goes to factor * x + offset.
struct Stretch {
    double factor = 1;
    double offset = 0;
    /// No scaling and whole pixels: the picture can be copied.
    [[nodiscard]] bool isCopy() const { return factor == 1.0; }
};
/// For a view `width` device pixels wide. A mere shift is rounded to whole pixels.
[[nodiscard]] Stretch stretchOf(const PictureLayout& picture, TimeSpan view, int width);

}  // namespace trelis
