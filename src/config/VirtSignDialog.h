// The editor of virtual signals: a form over one group of the definition file.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/frame.h>
#include <gtkmm/grid.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/sizegroup.h>
#include <gtkmm/window.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config/InputList.h"
#include "config/InputRow.h"
#include "config/Method.h"

namespace trelis {

class Settings;
class Signal;
class Store;
class VirtualSignal;

/// What the editor asks of the main window.
struct VirtSignDialogHooks {
    /// Loads the definitions anew and selects the signal of this path.
    std::function<void(const std::string&)> reloadAndSelect;
};

/// A definition that cannot be loaded is never written: saving tries it first. A failure leaves the
/// file as it was and the form open. Main thread only.
class VirtSignDialog : public Gtk::Window {
  public:
    /// All of them outlive the dialog.
    VirtSignDialog(Gtk::Window& parent, Store& store, Settings& settings,
                   VirtSignDialogHooks hooks);

    /// Opens an empty form, with the name begun if a message is named.
    void newSignal(const std::string& messageName);
    /// Opens the form on the definition of a virtual signal; what stands in the way is told.
    void editSignal(const std::shared_ptr<Signal>& signal);
    /// Keeps the form, which now speaks of a new signal.
    void duplicate();
    void saveChanges();
    void deleteSignal();

  protected:
    bool on_key_press_event(GdkEventKey* event) override;

  private:
    // The form
    void layOut();
    void layOutMethods();
    void layOutCommonRows();
    void layOutButtons();
    void placeRow(Gtk::Grid& grid, int line, InputRow& row);
    void chooseMethod();
    void showCommonRows(bool show);
    void clearForm();
    void present(const char* title);
    void fillCompletions();
    void openHelp(const std::string& topic);
    [[nodiscard]] Method& method() const;

    // The file
    /// Fills and shows the form. `definition` is the signal itself, or what stands behind its
    /// smoothing window.
    void openGroup(const std::shared_ptr<Signal>& signal,
                   const std::shared_ptr<VirtualSignal>& definition);
    void forgetEdited();
    void loadRows(const Glib::KeyFile& keyFile, const std::string& group);
    [[nodiscard]] bool refersToItself() const;
    bool writeSignal(Glib::KeyFile& keyFile, const std::string& group) const;
    /// False, after telling why, if the form does not make a signal.
    bool tryDefinition(const std::string& group) const;
    bool storeDefinition(const std::string& group);

    Store& store_;
    Settings& settings_;
    VirtSignDialogHooks hooks_;
    std::string editedName_;   ///< full name of the signal; empty for a new one
    std::string editedGroup_;  ///< what defines it; empty for a new one
    std::string vsdFile_;      ///< where the definition goes

    SigListModCols columns_;
    Glib::RefPtr<Gtk::ListStore> signalPaths_;
    std::vector<std::unique_ptr<Method>> methods_;
    std::size_t methodIndex_ = 0;

    Glib::RefPtr<Gtk::SizeGroup> labels_;  ///< of one width in all blocks of the form
    Gtk::VBox box_;
    Gtk::Label header_;
    Gtk::ScrolledWindow scrolled_;
    Gtk::VBox form_;
    Gtk::Grid topGrid_;
    EntryName name_;
    EntryString unit_;
    Gtk::Frame methodFrame_;
    Gtk::VBox methodBox_;
    Gtk::HBox methodLine_;
    Gtk::ComboBoxText methodChoice_;
    Gtk::Button methodHelp_;
    InputList inputs_;
    Gtk::HBox commonLine_;
    Gtk::Button commonButton_;
    Gtk::Button commonHelp_;
    Gtk::Grid commonGrid_;
    std::vector<std::unique_ptr<InputRow>> commonRows_ = makeCommonRows();
    Gtk::HBox buttons_;
    Gtk::Button saveButton_;
    Gtk::Button duplicateButton_;
    Gtk::Button deleteButton_;
};

}  // namespace trelis
