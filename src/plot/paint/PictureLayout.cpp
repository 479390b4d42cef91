#include "plot/paint/PictureLayout.h"

#include <algorithm>
#include <cmath>

namespace trelis {
namespace {

constexpr int kWidest = 30000;  ///< columns that an image surface and 16-bit borders allow

/// What both plots have in common: rows, sizes and the scale of the display.
std::optional<PictureLayout> layoutRows(const PictureRequest& request) {
    if (request.rows == 0 || request.width <= 0 || request.height <= 0 ||
        request.bounds.length() == 0 || request.width > kWidest / request.scale)
        return std::nullopt;
    PictureLayout layout;
    layout.viewWidth = request.width * request.scale;
    layout.height = request.height * request.scale;
    layout.lineWidth = request.lineWidth * request.scale;
    layout.split = request.split;
    const int rowsHeight = std::max(request.height - request.strip, 0);
    const int rows = request.split ? static_cast<int>(request.rows) : 1;
    // Whole logical pixels, as the ruler labels count them.
    layout.rowHeight = rowsHeight / rows * request.scale;
    return layout;
}

}  // namespace

std::optional<PictureLayout> layoutView(const PictureRequest& request) {
    auto layout = layoutRows(request);
    if (!layout) return std::nullopt;
    layout->view = request.view.end == 0 ? request.bounds : request.view;
    layout->drawn = layout->view;
    layout->width = layout->viewWidth;
    const std::uint64_t length = layout->view.length();
    if (length == 0) return std::nullopt;
    if (request.view.end == 0) return layout;

    const auto room = [](std::uint64_t from, std::uint64_t to) {
        return to > from ? to - from : 0;
    };
    // Margins are no wider than what a picture may have.
    const std::uint64_t columns = static_cast<std::uint64_t>(layout->viewWidth);
    const std::uint64_t spare = (kWidest - columns) / 2;
    const std::uint64_t most = columns > 2 * spare ? length * spare / columns : length / 2;
    const std::uint64_t left = std::min(room(request.bounds.start, layout->view.start), most);
    const std::uint64_t right = std::min(room(layout->view.end, request.bounds.end), most);
    const double perMs = static_cast<double>(columns) / static_cast<double>(length);
    // Whole columns, so that the view's columns are those of the rulers.
    layout->marginLeft = static_cast<int>(std::ceil(static_cast<double>(left) * perMs));
    const int marginRight = static_cast<int>(std::ceil(static_cast<double>(right) * perMs));
    layout->drawn = {layout->view.start - left, layout->view.end + right};
    layout->width = layout->marginLeft + layout->viewWidth + marginRight;
    return layout;
}

std::optional<PictureLayout> layoutOverview(const PictureRequest& request) {
    auto layout = layoutRows(request);
    if (!layout) return std::nullopt;
    layout->view = layout->drawn = request.bounds;
    layout->width = layout->viewWidth;
    layout->detail = request.split ? 2 : 1;
    return layout;
}

Stretch stretchOf(const PictureLayout& picture, TimeSpan view, int width) {
    if (picture.view == view && picture.viewWidth == width)
        return {1, static_cast<double>(-picture.marginLeft)};
    const auto length = static_cast<double>(std::max<std::uint64_t>(view.length(), 1));
    const auto pictureLength = static_cast<double>(picture.view.length());
    const double perMs = width / length;
    const double factor = pictureLength / picture.viewWidth * perMs;
    const auto shift =
        static_cast<double>(static_cast<std::int64_t>(picture.view.start - view.start));
    const double offset = shift * perMs - picture.marginLeft * factor;
    if (std::abs(factor - 1.0) * picture.width < 0.5) return {1, std::round(offset)};
    return {factor, offset};
}

}  // namespace trelis
