#include "config/LinkedViews.h"

#include <sigc++/functors/mem_fun.h>

#include <utility>

#include "app/store/Store.h"
#include "plot/paint/TimeBox.h"

namespace trelis {

LinkedViews::LinkedViews(IPC& link, Store& store, TimeBox& timeBox, RulerTaker takeRulers)
    : link_(link), store_(store), timeBox_(timeBox), takeRulers_(std::move(takeRulers)) {
    link_.changed.connect(sigc::mem_fun(*this, &LinkedViews::onLinkChanged));
    timeBox_.timeChanged.connect(sigc::mem_fun(*this, &LinkedViews::onTimeChanged));
    store_.dataChanged.connect(sigc::mem_fun(*this, &LinkedViews::onDataChanged));
}

void LinkedViews::onLinkChanged() {
    const std::int64_t left = link_.firstCursor();
    const std::int64_t right = link_.secondCursor();
    if (left != store_.leftRuler || right != store_.rightRuler) {
        store_.leftRuler = left;
        store_.rightRuler = right;
        if (takeRulers_) takeRulers_(left, right);
        store_.rulersChanged.emit();
    }
    const auto view = link_.view();
    if (!view) return;
    timeBox_.setInterval(view->start, view->end, false);
    const bool whole = timeBox_.start == view->start && timeBox_.end == view->end;
    awaited_ = whole ? std::nullopt : view;
}

void LinkedViews::onTimeChanged() {
    if (!timeBox_.byUser) return;
    awaited_.reset();
    link_.viewChanged(timeBox_.start, timeBox_.end);
}

void LinkedViews::onDataChanged() {
    if (!awaited_ || store_.parsing) return;
    const auto view = *std::exchange(awaited_, std::nullopt);
    timeBox_.setInterval(view.start, view.end, false);
}

}  // namespace trelis
