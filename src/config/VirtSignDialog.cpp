#include "config/VirtSignDialog.h"

#include <glibmm/convert.h>

#include <array>
#include <utility>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/HelpFolder.h"
#include "config/settings/Settings.h"
#include "model/Message.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;

}  // namespace

VirtSignDialog::VirtSignDialog(Gtk::Window& parent, Store& store, Settings& settings,
                               VirtSignDialogHooks hooks)
    : store_(store),
      settings_(settings),
      hooks_(std::move(hooks)),
      signalPaths_(Gtk::ListStore::create(columns_)),
      methods_(makeMethods()),
      labels_(Gtk::SizeGroup::create(Gtk::SIZE_GROUP_HORIZONTAL)),
      name_({"name", "<msg>.<signal>", "Select virtual message and signal name"}),
      unit_({"unit", "km/h (optional)", "Unit for this signal"}),
      methodFrame_("Method"),
      inputs_(signalPaths_, columns_, labels_),
      commonButton_("Show common options"),
      saveButton_("Save changes (Ctrl + S)"),
      duplicateButton_("Duplicate"),
      deleteButton_("Delete signal") {
    set_transient_for(parent);
    set_position(Gtk::WIN_POS_CENTER_ON_PARENT);
    set_default_size(560, 640);
    layOut();
    chooseMethod();
}

// ---- the form

void VirtSignDialog::placeRow(Gtk::Grid& grid, int line, InputRow& row) {
    row.place(grid, line);
    labels_->add_widget(row.label());
}

void VirtSignDialog::layOut() {
    header_.set_markup("<b><big>Sigmira</big></b>");
    header_.set_halign(Gtk::ALIGN_START);
    for (Gtk::Grid* grid : {&topGrid_, &commonGrid_}) {
        grid->set_row_spacing(kSpacing);
        grid->set_column_spacing(2 * kSpacing);
    }
    placeRow(topGrid_, 0, name_);
    placeRow(topGrid_, 1, unit_);

    form_.set_border_width(kSpacing);
    form_.set_spacing(2 * kSpacing);
    form_.pack_start(topGrid_, Gtk::PACK_SHRINK);
    layOutMethods();
    form_.pack_start(inputs_, Gtk::PACK_SHRINK);
    layOutCommonRows();

    scrolled_.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
    scrolled_.add(form_);
    box_.set_border_width(kSpacing);
    box_.set_spacing(kSpacing);
    box_.pack_start(header_, Gtk::PACK_SHRINK);
    box_.pack_start(scrolled_);
    layOutButtons();
    add(box_);
    box_.show_all();
    showCommonRows(false);
}

void VirtSignDialog::layOutMethods() {
    for (const auto& entry : methods_) {
        methodChoice_.append(entry->name());
        entry->setCompletion(signalPaths_, columns_);
        entry->alignLabels(labels_);
    }
    methodChoice_.set_tooltip_text("Select virtual method to use");
    methodChoice_.get_accessible()->set_name("method");
    methodChoice_.set_active(0);
    methodChoice_.signal_changed().connect(sigc::mem_fun(*this, &VirtSignDialog::chooseMethod));
    methodHelp_.set_image_from_icon_name("help-browser");
    methodHelp_.set_tooltip_text("Show help for selected method");
    methodHelp_.signal_clicked().connect(
        [this] { openHelp("method_" + Glib::ustring(method().name()).lowercase()); });
    methodLine_.set_spacing(kSpacing);
    methodLine_.pack_start(methodChoice_);
    methodLine_.pack_start(methodHelp_, Gtk::PACK_SHRINK);
    methodBox_.set_border_width(kSpacing);
    methodBox_.set_spacing(kSpacing);
    methodBox_.pack_start(methodLine_, Gtk::PACK_SHRINK);
    for (const auto& entry : methods_)
        methodBox_.pack_start(entry->grid(), Gtk::PACK_SHRINK);
    methodFrame_.add(methodBox_);
    form_.pack_start(methodFrame_, Gtk::PACK_SHRINK);
}

void VirtSignDialog::layOutCommonRows() {
    commonButton_.signal_clicked().connect([this] { showCommonRows(!commonGrid_.get_visible()); });
    commonHelp_.set_image_from_icon_name("help-browser");
    commonHelp_.set_tooltip_text("Show common options help");
    commonHelp_.signal_clicked().connect([this] { openHelp("method_common_options"); });
    commonLine_.set_spacing(kSpacing);
    commonLine_.pack_start(commonButton_);
    commonLine_.pack_start(commonHelp_, Gtk::PACK_SHRINK);
    form_.pack_start(commonLine_, Gtk::PACK_SHRINK);
    int line = 0;
    for (const auto& row : commonRows_)
        placeRow(commonGrid_, line++, *row);
    commonGrid_.set_no_show_all(true);
    form_.pack_start(commonGrid_, Gtk::PACK_SHRINK);
}

void VirtSignDialog::layOutButtons() {
    saveButton_.set_tooltip_text("Save signal to file");
    duplicateButton_.set_tooltip_text("Duplicate this signal to a new signal");
    deleteButton_.set_tooltip_text("Delete this signal");
    saveButton_.signal_clicked().connect(sigc::mem_fun(*this, &VirtSignDialog::saveChanges));
    duplicateButton_.signal_clicked().connect(sigc::mem_fun(*this, &VirtSignDialog::duplicate));
    deleteButton_.signal_clicked().connect(sigc::mem_fun(*this, &VirtSignDialog::deleteSignal));
    buttons_.set_spacing(kSpacing);
    buttons_.pack_start(saveButton_, Gtk::PACK_SHRINK);
    buttons_.pack_start(duplicateButton_, Gtk::PACK_SHRINK);
    buttons_.pack_end(deleteButton_, Gtk::PACK_SHRINK);
    box_.pack_start(buttons_, Gtk::PACK_SHRINK);
}

Method& VirtSignDialog::method() const {
    return *methods_.at(methodIndex_);
}

void VirtSignDialog::chooseMethod() {
    const int chosen = methodChoice_.get_active_row_number();
    if (chosen < 0) return;
    methodIndex_ = static_cast<std::size_t>(chosen);
    for (const auto& entry : methods_)
        entry->hideRows();
    method().showRows();
    inputs_.limit(method().maxInputs(), 0);
}

void VirtSignDialog::showCommonRows(bool show) {
    commonGrid_.set_visible(show);
    commonButton_.set_label(show ? "Hide common options" : "Show common options");
}

void VirtSignDialog::clearForm() {
    name_.clear();
    unit_.clear();
    for (const auto& entry : methods_) {
        entry->clearRows();
        entry->showDefaults();
    }
    for (const auto& row : commonRows_) {
        row->clear();
        row->showDefault();
    }
    inputs_.clear();
}

void VirtSignDialog::forgetEdited() {
    editedName_.clear();
    editedGroup_.clear();
}

// The titles differ so that the state of the form can be seen.
void VirtSignDialog::present(const char* title) {
    set_title(title);
    deleteButton_.set_sensitive(!editedName_.empty());
    duplicateButton_.set_sensitive(!editedName_.empty());
    Gtk::Window::present();
}

void VirtSignDialog::fillCompletions() {
    signalPaths_->clear();
    for (const auto& [number, interface] : store_.interfaces) {
        if (number > kVirtualInterface) break;
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals) {
                if (signal->internalOnly || signal->fullName == editedName_) continue;
                (*signalPaths_->append())[columns_.path] =
                    interface->name + "." + message->name + "." + signal->name;
            }
    }
}

void VirtSignDialog::openHelp(const std::string& topic) {
    const std::string uri = Glib::filename_to_uri(helpPage(topic));
    GError* error = nullptr;
    if (gtk_show_uri_on_window(gobj(), uri.c_str(), GDK_CURRENT_TIME, &error) != FALSE) return;
    report(Level::kWarning, error != nullptr ? error->message : "Could not open the help");
    g_clear_error(&error);
}

bool VirtSignDialog::on_key_press_event(GdkEventKey* event) {
    const bool isS = event->keyval == GDK_KEY_s || event->keyval == GDK_KEY_S;
    if (isS && (event->state & GDK_CONTROL_MASK) != 0) {
        saveChanges();
        return true;
    }
    return Gtk::Window::on_key_press_event(event);
}

// ---- opening

void VirtSignDialog::newSignal(const std::string& messageName) {
    forgetEdited();
    vsdFile_ = settings_.getVsdFile();
    fillCompletions();
    clearForm();
    methodChoice_.set_active(0);
    inputs_.limit(method().maxInputs(), 0);
    if (!messageName.empty()) name_.setValue(messageName + ".new_signal");
    present("New virtual signal");
}

void VirtSignDialog::duplicate() {
    name_.setValue(name_.value() + "_copy");
    forgetEdited();
    fillCompletions();  // the copy may use the original
    vsdFile_ = settings_.getVsdFile();
    present("New virtual signal");
}

void VirtSignDialog::editSignal(const std::shared_ptr<Signal>& signal) {
    auto definition = std::dynamic_pointer_cast<VirtualSignal>(signal);
    if (!definition) {
        report(Level::kError, "trying to edit non-virtual signal");
        return;
    }
    // Behind a smoothing window stands the signal that the file defines.
    if (const auto source = std::dynamic_pointer_cast<VirtualSignal>(definition->smoothedSource))
        definition = source;
    try {
        openGroup(signal, definition);
        return;
    } catch (const Glib::Exception&) {  // NOLINT(bugprone-empty-catch): told below
    } catch (const std::exception&) {   // NOLINT(bugprone-empty-catch): told below
    }
    report(Level::kWarning, "Unexpected error when opening signal");
    forgetEdited();
    hide();
}

}  // namespace trelis
