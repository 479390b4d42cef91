// Figures of one signal over the visible interval and at the rulers.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>

#include <array>
#include <memory>

#include "analysis/AnalysisContext.h"
#include "analysis/calc/SignalStatistics.h"

namespace trelis {

class Signal;

class StatWindow : public Gtk::Window {
  public:
    StatWindow(const AnalysisContext& context, std::shared_ptr<Signal> signal);

    /// Computes all figures anew and shows them.
    void refresh();
    void setIntegralUnit(IntegralUnit unit);
    /// The texts as they stand in the window.
    [[nodiscard]] const StatisticsText& text() const { return text_; }
    void copyTable();

  private:
    struct RowLabels {
        Gtk::Label name;
        Gtk::Label value;
        Gtk::Label unit;
    };
    void showRow(std::size_t index);

    AnalysisContext context_;
    std::shared_ptr<Signal> signal_;
    IntegralUnit integralUnit_ = IntegralUnit::kHours;
    StatisticsText text_;

    Gtk::VBox box_;
    Gtk::Grid grid_;
    std::array<RowLabels, kStatisticsRows> labels_;
    Gtk::HBox controls_;
    Gtk::Label unitLabel_;
    Gtk::ComboBoxText unitChoice_;
    Gtk::Button copyButton_;
};

}  // namespace trelis
