// Window: dialogs that tell the user something, and that for the title.
#include <gtkmm/box.h>
#include <gtkmm/dialog.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>

#include <algorithm>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "plot/Window.h"
#include "plot/WindowHelp.h"

namespace trelis {
namespace {

constexpr int kUpdateResponse = -5;
constexpr int kDialogMargin = 10;    // px
constexpr int kAroundMessage = 120;  // px; title, borders and buttons of a message

struct Severity {
    const char* title;
    Gtk::MessageType type;
};

Severity severityOf(int level) {
    switch (level) {
        case 0:
            return {"Information", Gtk::MESSAGE_INFO};
        case 1:
            return {"Warning", Gtk::MESSAGE_WARNING};
        case 2:
            return {"Error", Gtk::MESSAGE_ERROR};
        default:
            return {"", Gtk::MESSAGE_OTHER};
    }
}

}  // namespace

// While a dialog runs, the main loop does, too; the timer's next call waits for this one.
bool Window::showPendingMessages() {
    if (!store_.guiRunning || showingMessages_) return true;
    showingMessages_ = true;
    MessageLog& log = MessageLog::instance();
    if (!messagesShown_) {
        messagesShown_ = true;
        log.showAll(static_cast<Gtk::Window*>(this));
    }
    while (!log.isEmpty() && get_visible()) {
        const MessageLogEntry entry = log.pop();
        showMessage(entry.level, entry.text);
    }
    showingMessages_ = false;
    return true;
}

void Window::showMessage(int level, const std::string& text) {
    const Severity severity = severityOf(level);
    Gtk::MessageDialog dialog(*this, severity.title, false, severity.type, Gtk::BUTTONS_OK, true);
    dialog.set_secondary_text(text);
    dialog.run();
}

// A screen that is too low for the text shows as much of it as fits, and the buttons below.
void Window::scrollMessage(Gtk::MessageDialog& dialog) {
    Gtk::Box* const text = dialog.get_message_area();
    auto* const parent = dynamic_cast<Gtk::Box*>(text->get_parent());
    if (parent == nullptr) return;
    auto* const scrolled = Gtk::make_managed<Gtk::ScrolledWindow>();
    scrolled->set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
    scrolled->set_overlay_scrolling(false);  // the bar tells that there is more
    scrolled->set_propagate_natural_width(true);
    scrolled->set_propagate_natural_height(true);
    scrolled->set_max_content_height(std::max(workArea().get_height() - kAroundMessage, 100));
    text->reference();
    parent->remove(*text);
    scrolled->add(*text);
    text->unreference();
    parent->pack_start(*scrolled);
    scrolled->show_all();
}

void Window::showHelp() {
    Gtk::MessageDialog dialog(*this, "Commands and controls", false, Gtk::MESSAGE_OTHER,
                              Gtk::BUTTONS_OK, true);
    dialog.set_secondary_text(helpMarkup(isDarkTheme(*this)), true);
    for (Gtk::Widget* child : dialog.get_message_area()->get_children()) {
        auto* label = dynamic_cast<Gtk::Label*>(child);
        if (label == nullptr) continue;
        label->set_line_wrap(false);
        // The link names the installed guide; the window finds the one of a build tree too.
        label->signal_activate_link().connect(
            [this](const Glib::ustring&) {
                openGuide();
                return true;
            },
            false);
    }
    scrollMessage(dialog);
    dialog.get_widget_for_response(Gtk::RESPONSE_OK)->grab_focus();
    dialog.run();
}

void Window::changeTitle() {
    Gtk::Dialog dialog("Change title", *this, true);
    Gtk::Entry entry;
    entry.set_text(store_.title);
    entry.set_width_chars(40);
    entry.set_margin_start(kDialogMargin);
    entry.set_margin_end(kDialogMargin);
    entry.set_margin_top(kDialogMargin);
    entry.set_margin_bottom(kDialogMargin);
    bool entered = false;
    entry.signal_activate().connect([&] {
        entered = true;
        dialog.hide();
    });
    dialog.get_content_area()->pack_start(entry);
    dialog.add_button("Update", kUpdateResponse);
    dialog.show_all();
    if (dialog.run() == kUpdateResponse || entered) setTitleText(entry.get_text());
}

}  // namespace trelis
