#include "plot/paint/LineImage.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>

namespace trelis {
namespace {

// Positions in 1/256 pixel and the rounding of edges are those of Cairo's image backend
// (fixed-point format of cairo-fixed-private.h): a pixel is covered if its centre is, and an edge
// that runs through a centre leaves that pixel to the box on its left or above.
constexpr int kFixed = 256;

int toFixed(double value) {
    constexpr double kFar = 4e6;
    return static_cast<int>(std::lrint(std::clamp(value, -kFar, kFar) * kFixed));
}

int roundDown(int fixed) {
    return (fixed + (kFixed - 1) / 2) >> 8;
}

}  // namespace

LineImage::LineImage(int width, int height, double lineWidth)
    : width_(width), height_(height), halfWidth_(toFixed(std::max(lineWidth, 1.0) / 2)) {
    nextColumn();
}

void LineImage::horizontal(double fromX, double toX, int y) {
    const int a = toFixed(fromX);
    const int b = toFixed(toX);
    if (a == b) return;
    const int middle = y * kFixed;
    add({roundDown(std::min(a, b)), roundDown(middle - halfWidth_), roundDown(std::max(a, b)),
         roundDown(middle + halfWidth_)});
}

void LineImage::vertical(double x, int fromY, int toY) {
    if (fromY == toY) return;
    const int middle = toFixed(x);
    add({roundDown(middle - halfWidth_), std::min(fromY, toY), roundDown(middle + halfWidth_),
         std::max(fromY, toY)});
}

void LineImage::add(PixelBox box) {
    box.x0 = std::max(box.x0, 0);
    box.y0 = std::max(box.y0, 0);
    box.x1 = std::min(box.x1, width_);
    box.y1 = std::min(box.y1, height_);
    if (box.x0 >= box.x1 || box.y0 >= box.y1) return;
    boxes_.push_back(box);
    if (boxes_.size() >= joinAt_) joinColumn();
}

void LineImage::nextColumn() {
    constexpr std::size_t kJoinAt = 256;
    columnStart_ = boxes_.size();
    joinAt_ = columnStart_ + kJoinAt;
}

// A column with thousands of gaps would pile up thousands of strokes over each other. Joined, they
// are no more than the column has pixels.
void LineImage::joinColumn() {
    const std::span column(boxes_.begin() + static_cast<std::ptrdiff_t>(columnStart_),
                           boxes_.end());
    std::sort(column.begin(), column.end(), [](const PixelBox& a, const PixelBox& b) {
        return std::tie(a.x0, a.x1, a.y0) < std::tie(b.x0, b.x1, b.y0);
    });
    std::size_t last = 0;
    for (std::size_t i = 1; i < column.size(); ++i) {
        PixelBox& kept = column[last];
        const PixelBox& next = column[i];
        if (next.x0 == kept.x0 && next.x1 == kept.x1 && next.y0 <= kept.y1)
            kept.y1 = std::max(kept.y1, next.y1);
        else
            column[++last] = next;
    }
    boxes_.resize(columnStart_ + last + 1);
    joinAt_ = boxes_.size() + std::max<std::size_t>(256, last);
}

void PixelCanvas::reset(int width, int height) {
    width_ = width;
    height_ = height;
    pixels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
}

void PixelCanvas::swap(PixelCanvas& other) noexcept {
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    pixels_.swap(other.pixels_);
}

void fillImage(PixelCanvas& canvas, const LineImage& image, const Colour& colour, int x, int y) {
    const std::uint32_t pixel = colour.pixel();
    for (const PixelBox& box : image.boxes()) {
        const int x0 = std::max(box.x0 + x, 0);
        const int x1 = std::min(box.x1 + x, canvas.width());
        const int y1 = std::min(box.y1 + y, canvas.height());
        if (x0 >= x1) continue;
        for (int line = std::max(box.y0 + y, 0); line < y1; ++line)
            std::fill_n(canvas.row(line).begin() + x0, x1 - x0, pixel);
    }
}

namespace {

/// One byte a pixel of the image: 1 where the line covers it.
std::vector<std::uint8_t> coverage(const LineImage& image) {
    const auto width = static_cast<std::size_t>(image.width());
    std::vector<std::uint8_t> mask(width * static_cast<std::size_t>(image.height()));
    for (const PixelBox& box : image.boxes()) {
        for (int line = box.y0; line < box.y1; ++line) {
            const auto start = static_cast<std::size_t>(line) * width;
            std::fill_n(mask.begin() + static_cast<std::ptrdiff_t>(start) + box.x0, box.x1 - box.x0,
                        std::uint8_t{1});
        }
    }
    return mask;
}

/// Both colours premultiplied; `covered` of 4 parts come from `over`.
std::uint32_t blend(std::uint32_t over, std::uint32_t under, std::uint32_t covered) {
    std::uint32_t mixed = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const std::uint32_t a = over >> shift & 0xFFU;
        const std::uint32_t b = under >> shift & 0xFFU;
        mixed |= ((a * covered + b * (4 - covered) + 2) / 4) << shift;
    }
    return mixed;
}

}  // namespace

void fillImageHalved(PixelCanvas& canvas, const LineImage& image, const Colour& colour, int x,
                     int y) {
    const std::vector<std::uint8_t> mask = coverage(image);
    const auto width = static_cast<std::size_t>(image.width());
    const std::uint32_t pixel = colour.pixel();
    const int right = std::min(image.width() / 2, canvas.width() - x);
    const int bottom = std::min(image.height() / 2, canvas.height() - y);
    for (int line = std::max(0, -y); line < bottom; ++line) {
        const std::uint8_t* upper = mask.data() + static_cast<std::size_t>(line) * 2 * width;
        const std::uint8_t* lower = upper + width;
        const std::span<std::uint32_t> pixels = canvas.row(line + y);
        for (int column = std::max(0, -x); column < right; ++column) {
            const std::size_t at = static_cast<std::size_t>(column) * 2;
            const std::uint32_t covered =
                std::uint32_t{upper[at]} + upper[at + 1] + lower[at] + lower[at + 1];
            std::uint32_t& target = pixels[static_cast<std::size_t>(column + x)];
            if (covered > 0) target = blend(pixel, target, covered);
        }
    }
}

}  // namespace trelis
