// The block of the virtual signal editor that holds the inputs.
#pragma once

#include <glibmm/keyfile.h>
#include <gtkmm/box.h>
#include <gtkmm/frame.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/sizegroup.h>
#include <gtkmm/spinbutton.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "config/InputRow.h"

namespace trelis {

class Method;

/// How many inputs there are, and a row for each. Not shown for a method without inputs. Main
/// thread only.
class InputList : public Gtk::Frame {
  public:
    using Rows = std::vector<std::unique_ptr<EntrySignal>>;

    /// `paths`: what the rows offer to complete. All of them outlive the list.
    InputList(Glib::RefPtr<Gtk::ListStore> paths, const SigListModCols& columns,
              Glib::RefPtr<Gtk::SizeGroup> labels);

    /// A method takes at most so many inputs; what a file held beyond that is kept. `loaded`: how
    /// many it held, 0 to leave the number as it is.
    void limit(std::size_t most, std::size_t loaded);
    void load(const Glib::KeyFile& keyFile, const std::string& group, const Method& method);
    /// One empty row.
    void clear();
    [[nodiscard]] const Rows& rows() const { return rows_; }

  private:
    void setCount(std::size_t count);

    Glib::RefPtr<Gtk::ListStore> paths_;
    const SigListModCols& columns_;
    Glib::RefPtr<Gtk::SizeGroup> labels_;
    Rows rows_;
    Gtk::VBox box_;
    Gtk::HBox countLine_;
    Gtk::Label countLabel_;
    Gtk::SpinButton count_;
    Gtk::Grid grid_;
};

}  // namespace trelis
