// The grid behind the curves.
#pragma once

#include <cairomm/context.h>

#include "plot/paint/Colour.h"

namespace trelis {

/// Lines every `step` pixels over a width x height area. The grid does not follow the data.
void drawGrid(const Cairo::RefPtr<Cairo::Context>& cr, int width, int height, int step,
              double lineWidth, const Colour& colour);

}  // namespace trelis
