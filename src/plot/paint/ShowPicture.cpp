#include "plot/paint/ShowPicture.h"

#include <cairomm/surface.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <vector>

namespace trelis {
namespace {

/// A surface on memory that is drawn from only: `height` rows of `width` pixels, one after the
/// other.
Cairo::RefPtr<Cairo::ImageSurface> surfaceOf(std::span<const std::uint32_t> pixels, int width,
                                             int height) {
    // Cairo's interface knows no constant pixels; as a source they are not written.
    auto* bytes = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels.data()));
    return Cairo::ImageSurface::create(bytes, Cairo::FORMAT_ARGB32, width, height,
                                       width * static_cast<int>(sizeof(std::uint32_t)));
}

/// Copied, or filtered by the library in both directions.
void paintWhole(const Cairo::RefPtr<Cairo::Context>& cr, const PixelCanvas& picture,
                const Stretch& stretch, double factorY) {
    const auto surface = surfaceOf(picture.pixels(), picture.width(), picture.height());
    cr->save();
    cr->translate(stretch.offset, 0);
    cr->scale(stretch.factor, factorY);
    cr->set_source(surface, 0, 0);
    const bool copy = stretch.isCopy() && factorY == 1.0;
    const auto source = Cairo::RefPtr<Cairo::SurfacePattern>::cast_dynamic(cr->get_source());
    source->set_filter(copy ? Cairo::FILTER_NEAREST : Cairo::FILTER_BILINEAR);
    cr->paint();
    cr->restore();
    // The memory may change from now on, so nothing may refer to it.
    surface->finish();
}

// Channels of two neighbouring pixels, eight bits each, and with room for a product.
using Channels [[gnu::vector_size(8)]] = std::uint8_t;
using Products [[gnu::vector_size(16)]] = std::uint16_t;

/// Where a column of the screen comes from: the picture's columns `left` and `left + 1`, with their
/// parts of 256 for each channel.
struct ColumnSource {
    Products parts{};
    std::size_t left = 0;
};

std::vector<ColumnSource> columnSources(const Stretch& stretch, int pictureWidth, int width) {
    constexpr double kCentre = 0.5;
    constexpr double kWhole = 256;
    std::vector<ColumnSource> columns(static_cast<std::size_t>(width));
    for (std::size_t x = 0; x < columns.size(); ++x) {
        const double centre = (static_cast<double>(x) + kCentre - stretch.offset) / stretch.factor;
        // In whole parts, so that the two of a column never make up more than the whole.
        const double at = std::round((centre - kCentre) * kWhole) / kWhole;
        const double left = std::clamp(std::floor(at), 0.0, pictureWidth - 2.0);
        // Beyond its border the picture is transparent.
        const auto part = [at](double column) {
            return static_cast<std::uint16_t>(std::max(0.0, 1 - std::abs(at - column)) * kWhole);
        };
        const std::uint16_t a = part(left);
        const std::uint16_t b = part(left + 1);
        columns[x] = {Products{a, a, a, a, b, b, b, b}, static_cast<std::size_t>(left)};
    }
    return columns;
}

Products weigh(const std::uint32_t* row, const ColumnSource& column) {
    Channels pair;
    std::memcpy(&pair, row + column.left, sizeof pair);
    return __builtin_convertvector(pair, Products) * column.parts;
}

/// Rows from `top` on into a band of `columns.size()` pixels a row; the number of columns is even.
/// Two columns of all rows at a time: their parts are fetched once.
void stretchRows(const PixelCanvas& picture, int top, int rows,
                 std::span<const ColumnSource> columns, std::span<std::uint32_t> band) {
    const auto pitch = static_cast<std::size_t>(picture.width());
    const std::uint32_t* first = picture.row(top).data();
    for (std::size_t x = 0; x < columns.size(); x += 2) {
        const ColumnSource left = columns[x];
        const ColumnSource right = columns[x + 1];
        const std::uint32_t* row = first;
        std::uint32_t* target = band.data() + x;
        for (int y = 0; y < rows; ++y, row += pitch, target += columns.size()) {
            const Products a = weigh(row, left);
            const Products b = weigh(row, right);
            const Products sum = __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11) +
                                 __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15);
            const Channels mean = __builtin_convertvector((sum + 128) >> 8, Channels);
            std::memcpy(target, &mean, sizeof mean);
        }
    }
}

/// The stretch of a zoom, which leaves the rows as they are: half the work of the library's filter,
/// in bands that stay in the cache until they are painted.
void paintSideways(const Cairo::RefPtr<Cairo::Context>& cr, const PixelCanvas& picture,
                   const Stretch& stretch, int width) {
    constexpr int kBand = 8;  // rows
    const int even = width + width % 2;
    const auto columns = columnSources(stretch, picture.width(), even);
    const auto pitch = static_cast<std::size_t>(even);
    std::vector<std::uint32_t> pixels(pitch * kBand);
    for (int top = 0; top < picture.height(); top += kBand) {
        const int rows = std::min(kBand, picture.height() - top);
        stretchRows(picture, top, rows, columns, pixels);
        const auto surface = surfaceOf(pixels, even, rows);
        cr->set_source(surface, 0, top);
        cr->rectangle(0, top, width, rows);
        cr->fill();
        surface->finish();
    }
}

}  // namespace

void showPicture(const Cairo::RefPtr<Cairo::Context>& cr, const PixelCanvas& picture,
                 const PictureLayout& layout, TimeSpan view, int width, int height, int scale) {
    const Stretch stretch = stretchOf(layout, view, width);
    const double factorY = height == 0 ? 1.0 : static_cast<double>(height) / picture.height();
    cr->save();
    cr->scale(1.0 / scale, 1.0 / scale);
    if (factorY == 1.0 && !stretch.isCopy() && picture.width() > 1)
        paintSideways(cr, picture, stretch, width);
    else
        paintWhole(cr, picture, stretch, factorY);
    cr->restore();
}

}  // namespace trelis
