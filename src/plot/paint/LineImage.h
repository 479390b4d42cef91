// The drawn line of one signal as the pixels that it covers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "plot/paint/Colour.h"

namespace trelis {

/// Pixels from x0 up to but not including x1, and y0 to y1 likewise.
struct PixelBox {
    int x0 = 0;
    int y0 = 0;
    int x1 = 0;
    int y1 = 0;
};

/// A signal's line is made of horizontal and vertical strokes without antialiasing, so its image is
/// a list of boxes: a few for each column whatever the number of samples, where a pixel image
/// would take megabytes to clear, fill and join. The boxes cover exactly the pixels that a Cairo
/// stroke of the same lines with flat caps and no antialiasing covers.
class LineImage {
  public:
    LineImage() = default;
    LineImage(int width, int height, double lineWidth);

    /// Both ends in pixels; strokes outside the image leave nothing.
    void horizontal(double fromX, double toX, int y);
    void vertical(double x, int fromY, int toY);
    /// Strokes from here on belong to the next column: earlier ones are not joined any more.
    void nextColumn();

    [[nodiscard]] const std::vector<PixelBox>& boxes() const { return boxes_; }
    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }

  private:
    void add(PixelBox box);
    void joinColumn();

    int width_ = 0;
    int height_ = 0;
    int halfWidth_ = 0;  ///< of the line, in 1/256 pixel
    std::vector<PixelBox> boxes_;
    std::size_t columnStart_ = 0;  ///< first box of the present column
    std::size_t joinAt_ = 0;       ///< number of boxes at which the column is joined
};

/// Pixels as a Cairo ARGB32 surface has them: plain memory, which any thread may own.
class PixelCanvas {
  public:
    /// Makes all pixels transparent; memory is kept if it is large enough.
    void reset(int width, int height);
    void swap(PixelCanvas& other) noexcept;

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    [[nodiscard]] bool empty() const { return pixels_.empty(); }
    /// Row by row, without gaps.
    [[nodiscard]] std::span<const std::uint32_t> pixels() const { return pixels_; }
    [[nodiscard]] std::span<std::uint32_t> row(int y) {
        return std::span(pixels_).subspan(static_cast<std::size_t>(y) * columns(), columns());
    }
    [[nodiscard]] std::span<const std::uint32_t> row(int y) const {
        return std::span(pixels_).subspan(static_cast<std::size_t>(y) * columns(), columns());
    }

  private:
    [[nodiscard]] std::size_t columns() const { return static_cast<std::size_t>(width_); }

    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint32_t> pixels_;
};

/// Fills the boxes into the canvas, with the image's corner at (x, y). What lies outside the canvas
/// is left out.
void fillImage(PixelCanvas& canvas, const LineImage& image, const Colour& colour, int x, int y);

/// Fills an image of double size, each pixel being the mean of four: smooth thin lines.
void fillImageHalved(PixelCanvas& canvas, const LineImage& image, const Colour& colour, int x,
                     int y);

}  // namespace trelis
