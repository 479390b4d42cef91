#include "plot/paint/ShowPicture.h"

#include <cairomm/surface.h>

#include <algorithm>

namespace trelis {
namespace {

/// A surface on the canvas' own memory, for drawing from it only.
Cairo::RefPtr<Cairo::ImageSurface> surfaceOf(const PixelCanvas& picture) {
    // Cairo's interface knows no constant pixels; as a source they are not written.
    auto* pixels = const_cast<std::uint32_t*>(picture.row(0).data());
    return Cairo::ImageSurface::create(reinterpret_cast<unsigned char*>(pixels),
                                       Cairo::FORMAT_ARGB32, picture.width(), picture.height(),
                                       picture.width() * static_cast<int>(sizeof(std::uint32_t)));
}

}  // namespace

void showPicture(const Cairo::RefPtr<Cairo::Context>& cr, const PixelCanvas& picture,
                 const PictureLayout& layout, TimeSpan view, int width, int height, int scale) {
    const Stretch stretch = stretchOf(layout, view, width);
    const double factorY = height == 0 ? 1.0 : static_cast<double>(height) / picture.height();
    const auto surface = surfaceOf(picture);
    cr->save();
    cr->scale(1.0 / scale, 1.0 / scale);
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

}  // namespace trelis
