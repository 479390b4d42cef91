// The work of a painter thread: one signal's samples become an image.
#pragma once

#include <atomic>

#include "plot/paint/PainterTask.h"

namespace trelis {

/// Draws the task's signal into task.image, which stays empty if the signal has nothing to show in
/// the interval, or if `cancel` was set on the way. Locks the signal's sample mutex while it looks
/// at samples, but never for more than a few milliseconds at a stretch. A task without a signal is
/// ERR and PrintMsgError.
void paintTask(PainterTask& task, const std::atomic<bool>& cancel);

}  // namespace trelis
