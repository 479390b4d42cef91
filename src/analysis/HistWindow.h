// The window around the histogram of one signal.
#pragma once

#include <gtkmm/adjustment.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/scale.h>
#include <gtkmm/window.h>

#include <memory>

#include "analysis/AnalysisContext.h"
#include "analysis/Histogram.h"

namespace trelis {

class HistWindow : public Gtk::Window {
  public:
    HistWindow(const AnalysisContext& context, const std::shared_ptr<Signal>& signal);

    [[nodiscard]] Histogram& histogram() { return histogram_; }
    [[nodiscard]] const Glib::RefPtr<Gtk::Adjustment>& binAdjustment() const { return bins_; }
    /// Puts the table on the clipboard.
    void copyTable();

  private:
    Histogram histogram_;
    Glib::RefPtr<Gtk::Adjustment> bins_;
    Gtk::VBox box_;
    Gtk::HBox controls_;
    Gtk::Scale scale_;
    Gtk::Button copyButton_;
};

}  // namespace trelis
