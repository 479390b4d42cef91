#include "plot/paint/PlotPicture.h"

#include <utility>

namespace trelis {

PlotPicture::PlotPicture() : pool_(kThreads) {}

PlotPicture::~PlotPicture() {
    const std::lock_guard lock(mutex_);
    ++generation_;
}

void PlotPicture::start(const PictureLayout& layout, const std::vector<PaintSignal>& signals) {
    std::uint32_t generation = 0;
    {
        const std::lock_guard lock(mutex_);
        generation = ++generation_;
        pendingTasks_ = signals.size();
        complete_ = signals.empty();
        doneTasks_.assign(signals.size(), nullptr);
        layout_ = layout;
    }
    pool_.cancelAll();
    int y = 0;
    for (std::size_t index = 0; index < signals.size(); ++index) {
        auto task = std::make_shared<PainterTask>();
        task->user = this;
        task->generation = generation;
        task->index = index;
        task->signal = signals[index].signal;
        task->colour = signals[index].colour;
        task->from = layout.drawn.start;
        task->to = layout.drawn.end;
        task->axis = layout.axis();
        task->height = layout.rowHeight * layout.detail;
        task->lineWidth = layout.lineWidth;
        task->y = y;
        pool_.addTask(std::move(task));
        if (layout.split) y += layout.rowHeight;
    }
}

void PlotPicture::stop() {
    {
        const std::lock_guard lock(mutex_);
        ++generation_;
        pendingTasks_ = 0;
        complete_ = true;
        doneTasks_.clear();
        PixelCanvas().swap(shown_);
    }
    pool_.cancelAll();
    pool_.waitUntilIdle();
}

bool PlotPicture::isPainting() const {
    const std::lock_guard lock(mutex_);
    return !complete_;
}

bool PlotPicture::visit(
    const std::function<void(const PixelCanvas&, const PictureLayout&)>& show) const {
    const std::lock_guard lock(mutex_);
    if (shown_.empty()) return false;
    show(shown_, shownLayout_);
    return true;
}

void PlotPicture::join(PixelCanvas& canvas, const PictureLayout& layout,
                       const std::vector<std::shared_ptr<PainterTask>>& tasks) {
    canvas.reset(layout.width, layout.height);
    for (const auto& task : tasks) {
        if (!task->image) continue;
        const auto fill = layout.detail == 2 ? fillImageHalved : fillImage;
        fill(canvas, *task->image, task->colour, task->x, task->y);
    }
}

void PlotPicture::onPainterDone(std::shared_ptr<PainterTask> task) {
    const std::uint32_t generation = task->generation;
    std::vector<std::shared_ptr<PainterTask>> tasks;
    PictureLayout layout;
    PixelCanvas canvas;
    {
        const std::lock_guard lock(mutex_);
        if (generation != generation_) return;
        doneTasks_[task->index] = std::move(task);
        if (--pendingTasks_ > 0) return;
        tasks.swap(doneTasks_);
        layout = layout_;
        canvas.swap(spare_);
    }
    // Joined without the lock, so that the main thread can show the last picture meanwhile.
    join(canvas, layout, tasks);
    {
        const std::lock_guard lock(mutex_);
        if (generation == generation_) {
            shown_.swap(canvas);
            shownLayout_ = layout;
            complete_ = true;
        }
        spare_.swap(canvas);
    }
    painted.emit();
}

}  // namespace trelis
