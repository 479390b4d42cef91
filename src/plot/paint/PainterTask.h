// One signal to be drawn, with everything that its painter must know.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "plot/paint/Colour.h"
#include "plot/paint/LineImage.h"
#include "plot/paint/TimeAxis.h"
#include "plot/paint/ViewMath.h"

namespace trelis {

class Signal;
struct PainterTask;

/// Who gets finished tasks.
class PainterThreadPoolUser {
  public:
    virtual ~PainterThreadPoolUser() = default;
    /// Called on a pool thread, with no lock of the pool held.
    virtual void onPainterDone(std::shared_ptr<PainterTask> task) = 0;
};

/// Filled in by the plot, painted by one thread, given back: never touched by two threads at once.
struct PainterTask {
    virtual ~PainterTask() = default;

    PainterThreadPoolUser* user = nullptr;  ///< outlives the pool
    std::uint32_t generation = 0;           ///< the plot's rendering at creation
    std::size_t index = 0;                  ///< place in the order of painting
    std::shared_ptr<Signal> signal;
    std::uint64_t from = 0;  ///< ms; samples outside from and to are not drawn
    std::uint64_t to = 0;
    TimeAxis axis;  ///< columns of the image
    double minValue = 0;
    double maxValue = 0;  ///< the signal's visible range when it was drawn
    int height = 0;       ///< of the image, device pixels
    int x = 0;            ///< where the image goes in the plot's picture
    int y = 0;
    Colour colour;
    double lineWidth = 2;  ///< device pixels

    std::optional<LineImage> image;  ///< the result; empty if nothing was drawn
};

}  // namespace trelis
