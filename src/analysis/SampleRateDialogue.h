// The window that puts the selected signals on the clipboard as a table.
#pragma once

#include <gtkmm/adjustment.h>
#include <gtkmm/button.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/scale.h>
#include <gtkmm/window.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "analysis/calc/SampleTable.h"

namespace trelis {

class Settings;
class Store;

/// The time step is chosen on one of three scales, of which one is shown at a time.
class SampleRateDialogue : public Gtk::Window {
  public:
    /// Both outlive the window.
    SampleRateDialogue(Store& store, Settings& settings);

    using Gtk::Window::show;
    /// Shows the window for the interval between two times, ms since the epoch, in any order.
    void show(std::uint64_t a, std::uint64_t b);

    /// What a press of the button of a scale does.
    void chooseScale(std::size_t scale);
    /// Sets a scale to a value as the user does.
    void moveScale(std::size_t scale, double ms);
    void copyTable();

    [[nodiscard]] std::uint64_t intervalMs() const { return intervalMs_; }
    [[nodiscard]] std::size_t shownScale() const { return shownScale_; }
    [[nodiscard]] double scaleValue(std::size_t scale) const;

  private:
    struct ScaleRow {
        explicit ScaleRow(const IntervalScale& rule);
        Glib::RefPtr<Gtk::Adjustment> adjustment;
        Gtk::Scale scale;
    };
    void onScaleChanged(std::size_t scale);
    void setAll(double ms);

    Store& store_;
    Settings& settings_;
    std::uint64_t intervalStart_ = 0;
    std::uint64_t intervalEnd_ = 0;
    std::uint64_t intervalMs_;
    std::size_t shownScale_ = 0;
    bool setting_ = false;  ///< the scales move because of one of them

    Gtk::Grid grid_;
    Gtk::Label label_;
    std::array<ScaleRow, kIntervalScales.size()> scales_;
    std::array<Gtk::Button, kIntervalScales.size()> scaleButtons_;
    Gtk::Button copyButton_;
};

}  // namespace trelis
