// A finished picture on its way to the screen.
#pragma once

#include <cairomm/context.h>

#include "plot/paint/LineImage.h"
#include "plot/paint/PictureLayout.h"

namespace trelis {

/// Paints the picture, stretched sideways to the view that `width` device pixels show, and to
/// `height` device pixels if that is not 0. The context counts logical pixels, `scale` device
/// pixels each. A picture of this very view is copied pixel by pixel.
void showPicture(const Cairo::RefPtr<Cairo::Context>& cr, const PixelCanvas& picture,
                 const PictureLayout& layout, TimeSpan view, int width, int height, int scale);

}  // namespace trelis
