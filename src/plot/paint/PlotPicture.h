// The finished picture of a plot, and the painting of the next one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "app/store/Notifier.h"
#include "plot/paint/PainterThreadPool.h"
#include "plot/paint/PictureLayout.h"

namespace trelis {

struct PaintSignal {
    std::shared_ptr<Signal> signal;
    Colour colour;
};

/// Draws each signal on a pool thread and joins the images, in the order of the signals, when the
/// last one is in. A new rendering cancels the one before; what still arrives of it is known by its
/// generation and dropped. Made, started, stopped and destroyed on the main thread.
class PlotPicture : public PainterThreadPoolUser {
  public:
    static constexpr int kThreads = 8;

    PlotPicture();
    ~PlotPicture() override;

    /// Starts drawing. The last picture stays until the new one is complete.
    void start(const PictureLayout& layout, const std::vector<PaintSignal>& signals);
    /// Cancels the painting and forgets the picture.
    void stop();
    /// Whether a rendering was started that is not complete.
    [[nodiscard]] bool isPainting() const;

    /// Hands the finished picture to `show`, if there is one, and says so. The lock that keeps the
    /// picture in place is held during the call.
    bool visit(const std::function<void(const PixelCanvas&, const PictureLayout&)>& show) const;

    void onPainterDone(std::shared_ptr<PainterTask> task) override;

    /// A picture is complete. Emitted by a pool thread, received by the main loop.
    Notifier painted;

  private:
    static void join(PixelCanvas& canvas, const PictureLayout& layout,
                     const std::vector<std::shared_ptr<PainterTask>>& tasks);

    // Guards everything below but pool_. Canvases are plain memory and change hands by swap under
    // this mutex: no Cairo object, whose reference count is not atomic, ever meets two threads.
    mutable std::mutex mutex_;
    std::uint32_t generation_ = 0;
    std::size_t pendingTasks_ = 0;
    bool complete_ = true;                                 ///< the picture of this generation is in
    std::vector<std::shared_ptr<PainterTask>> doneTasks_;  ///< by index; empty until done
    PictureLayout layout_;                                 ///< of the rendering under way
    PixelCanvas shown_;                                    ///< the finished picture, or empty
    PictureLayout shownLayout_;
    PixelCanvas spare_;  ///< the picture before: its memory serves the next one

    PainterThreadPool pool_;  ///< last: its threads end before what they hand tasks to
};

}  // namespace trelis
