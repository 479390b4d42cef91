#include "model/ModelContext.h"

namespace trelis {

ModelContext::ModelContext() = default;
ModelContext::~ModelContext() = default;

void ModelContext::recount() {
    if (recountHolds_ > 0)
        recountPending_ = true;
    else
        recountLocked();
}

void ModelContext::recountLocked() {
    const std::lock_guard lock(selectionMutex_);
    recountNow();
}

std::vector<std::shared_ptr<Signal>> ModelContext::selection() const {
    const std::lock_guard lock(selectionMutex_);
    return selectedSignals;
}

RecountBatch::~RecountBatch() {
    if (--context_.recountHolds_ > 0 || !context_.recountPending_) return;
    context_.recountPending_ = false;
    context_.recountLocked();
}

}  // namespace trelis
