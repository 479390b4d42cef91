// Brings the news of linked programs into the views of this one, and the user's moves to them.
#pragma once

#include <sigc++/trackable.h>

#include <cstdint>
#include <functional>
#include <optional>

#include "config/link/IPC.h"

namespace trelis {

class Store;
class TimeBox;

/// Main thread only; all references outlive it.
class LinkedViews : public sigc::trackable {
  public:
    /// Shows the rulers at these times, without telling the link. Negative means unset.
    using RulerTaker = std::function<void(std::int64_t left, std::int64_t right)>;

    LinkedViews(IPC& link, Store& store, TimeBox& timeBox, RulerTaker takeRulers);
    LinkedViews(const LinkedViews&) = delete;
    LinkedViews& operator=(const LinkedViews&) = delete;

    /// The user moved or deleted rulers.
    void rulersMoved(std::int64_t left, std::int64_t right) { link_.setCursors(left, right); }

  private:
    void onLinkChanged();
    void onTimeChanged();
    void onDataChanged();

    IPC& link_;
    Store& store_;
    TimeBox& timeBox_;
    RulerTaker takeRulers_;
    /// A view that reaches beyond the data that are loaded so far. It is shown once they are.
    std::optional<IPC::View> awaited_;
};

}  // namespace trelis
