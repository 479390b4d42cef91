#include "model/ModelContext.h"

namespace trelis {

ModelContext::ModelContext() = default;
ModelContext::~ModelContext() = default;

void ModelContext::recount() {
    if (recountHolds_ > 0)
        recountPending_ = true;
    else
        recountNow();
}

RecountBatch::~RecountBatch() {
    if (--context_.recountHolds_ > 0 || !context_.recountPending_) return;
    context_.recountPending_ = false;
    context_.recountNow();
}

}  // namespace trelis
