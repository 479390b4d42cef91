#include "app/WindowMode.h"

#include <gtkmm/application.h>
#include <gtkmm/dialog.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>

#include "app/diagnostics/MessageLog.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/ToolWindows.h"
#include "plot/Window.h"
#include "plot/WindowHelp.h"

namespace trelis {
namespace {

constexpr int kLabelMargin = 10;      // px
constexpr int kContentPadding = 10;   // px
constexpr int kMostTextHeight = 400;  // px; more messages are scrolled
constexpr int kTextColumns = 80;      // characters; longer lines are wrapped
constexpr int kFailed = 1;

// The dialog of the collected messages. Its parts belong to the dialog.
void fillMessages(Gtk::Dialog& dialog, const std::string& markup) {
    auto* label = Gtk::make_managed<Gtk::Label>();
    label->set_markup(isDarkTheme(dialog) ? lightenMarkup(markup) : markup);
    label->set_selectable(true);
    label->set_line_wrap(true);
    label->set_width_chars(kTextColumns);
    label->set_max_width_chars(kTextColumns);
    label->set_xalign(0.0F);
    label->set_margin_start(kLabelMargin);
    label->set_margin_end(kLabelMargin);
    auto* scrolled = Gtk::make_managed<Gtk::ScrolledWindow>();
    scrolled->set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
    scrolled->set_propagate_natural_height(true);
    scrolled->set_max_content_height(kMostTextHeight);
    scrolled->add(*label);
    dialog.get_content_area()->pack_end(*scrolled, true, true, kContentPadding);
    dialog.add_button("_OK", Gtk::RESPONSE_OK);
    dialog.set_default_response(Gtk::RESPONSE_OK);
    dialog.show_all();
    // The text is selected as a whole when the first widget of the dialog gets the focus.
    if (auto* button = dialog.get_widget_for_response(Gtk::RESPONSE_OK)) button->grab_focus();
}

// The link outlives the worker, which tells it of every new time base.
std::shared_ptr<IPC> makeLink(Store& store) {
    auto link = std::make_shared<IPC>();
    link->enable();
    store.hooks.timeBaseListener = [link](std::uint64_t time, std::uint64_t base) {
        link->addOffset(static_cast<std::int64_t>(time), static_cast<std::int64_t>(base));
    };
    return link;
}

bool hasDisplay() {
    if (gtk_init_check(nullptr, nullptr) != FALSE) return true;
    report(Level::kError, "Can not open a window, there is no display");
    return false;
}

void presentMessages(void* parentWindow, const std::string& markup) {
    constexpr const char* kTitle = "Errors and warnings";
    if (parentWindow != nullptr) {
        Gtk::Dialog dialog(kTitle, *static_cast<Gtk::Window*>(parentWindow), false);
        fillMessages(dialog, markup);
        dialog.run();
        return;
    }
    if (!hasDisplay()) return;
    const auto application = Gtk::Application::create("", Gio::APPLICATION_NON_UNIQUE);
    Gtk::Dialog dialog(kTitle, false);
    dialog.signal_response().connect([&dialog](int /*response*/) { dialog.hide(); });
    fillMessages(dialog, markup);
    application->run(dialog);
}

}  // namespace

void installMessagePresenter() {
    MessageLog::instance().setPresenter(presentMessages);
}

int runWindow(Store& store, bool link, int argc, char** argv) {
    gtk_disable_setlocale();
    if (!hasDisplay()) return kFailed;
    installMessagePresenter();
    argc = 1;  // the toolkit has no part in the arguments
    const auto application = Gtk::Application::create(argc, argv, "", Gio::APPLICATION_NON_UNIQUE);
    const auto window = createMainWindow(store);
    ToolWindows tools(store, Settings::instance(), *window, link ? makeLink(store) : nullptr);

    bool failed = false;
    auto fatal = store.fatalError.connect([&] {
        failed = true;
        MessageLog::instance().showAll(static_cast<Gtk::Window*>(window.get()));
        window->hide();
    });
    // By now everybody listens who will be told of the parse.
    store.startWorker();
    store.requestParse();
    store.guiRunning = true;
    const int status = application->run(*window);
    store.guiRunning = false;
    fatal.disconnect();
    return failed ? kFailed : status;
}

}  // namespace trelis
