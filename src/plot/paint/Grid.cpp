#include "plot/paint/Grid.h"

namespace trelis {

void drawGrid(const Cairo::RefPtr<Cairo::Context>& cr, int width, int height, int step,
              double lineWidth, const Colour& colour) {
    cr->save();
    cr->set_line_width(lineWidth);
    cr->set_source_rgba(colour.red, colour.green, colour.blue, 1.0);
    // In the middle of a pixel, so that a thin line is one crisp column and not two pale ones.
    constexpr double kMiddle = 0.5;
    for (int x = step; x < width; x += step) {
        cr->move_to(x + kMiddle, 0);
        cr->line_to(x + kMiddle, height);
    }
    for (int y = step; y < height; y += step) {
        cr->move_to(0, y + kMiddle);
        cr->line_to(width, y + kMiddle);
    }
    cr->stroke();
    cr->restore();
}

}  // namespace trelis
