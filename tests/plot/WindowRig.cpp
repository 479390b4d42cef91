#include "plot/WindowRig.h"

#include <glibmm/main.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>

#include "input/AscImport.h"
#include "input/CsvImport.h"
#include "input/LogFiles.h"
#include "input/VsdFile.h"
#include "model/builtin/LoggerMessage.h"

namespace trelis::test {
namespace {

constexpr unsigned kLookMs = 20;
constexpr int kMostLooks = 250;  // at one dialog: five seconds

std::string textsOf(Gtk::Dialog& dialog) {
    std::string text = dialog.get_title().raw();
    if (auto* message = dynamic_cast<Gtk::MessageDialog*>(&dialog))
        text += "|" + message->property_text().get_value().raw() + "|" +
                message->property_secondary_text().get_value().raw();
    return text;
}

Gtk::Dialog* openDialog() {
    for (Gtk::Window* window : Gtk::Window::list_toplevels())
        if (auto* dialog = dynamic_cast<Gtk::Dialog*>(window);
            dialog != nullptr && dialog->get_mapped())
            return dialog;
    return nullptr;
}

}  // namespace

DialogAnswers::DialogAnswers()
    : timer_(Glib::signal_timeout().connect(sigc::mem_fun(*this, &DialogAnswers::look), kLookMs)) {}

DialogAnswers::~DialogAnswers() {
    timer_.disconnect();
    gone_.disconnect();
    EXPECT_TRUE(plan_.empty()) << plan_.size() << " dialogs did not come up";
}

void DialogAnswers::expect(int response, std::function<bool(Gtk::Dialog&)> prepare) {
    plan_.push_back({response, std::move(prepare)});
}

void DialogAnswers::expectFile(const std::string& path, int response) {
    expect(response, [path, chosen = false](Gtk::Dialog& dialog) mutable {
        auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(dialog);
        const std::filesystem::path file(path);
        if (!chosen && chooser.get_action() == Gtk::FILE_CHOOSER_ACTION_SAVE && !exists(file)) {
            chooser.set_current_folder(file.parent_path().string());
            chooser.set_current_name(file.filename().string());
        } else if (!chosen) {
            chooser.set_filename(path);
        }
        chosen = true;
        return chooser.get_filename() == path;
    });
}

std::vector<std::string> DialogAnswers::takeTexts() {
    return std::exchange(texts_, {});
}

bool DialogAnswers::look() {
    Gtk::Dialog* dialog = openDialog();
    if (dialog == nullptr) return true;
    const bool late = ++looks_ > kMostLooks;
    // A file chooser looks at the file first, and responds when it knows it.
    if (dialog == answered_ && !late) return true;
    const bool expected = !plan_.empty() && !late;
    if (expected && plan_.front().prepare && !plan_.front().prepare(*dialog)) return true;
    EXPECT_TRUE(expected) << (late ? "not ready: " : "unexpected: ") << textsOf(*dialog);
    const int response = expected ? plan_.front().response : int{Gtk::RESPONSE_CANCEL};
    if (!plan_.empty()) plan_.pop_front();
    texts_.push_back(textsOf(*dialog));
    looks_ = 0;
    answered_ = dialog;
    // The next dialog may stand in the very same place of the stack.
    gone_.disconnect();
    gone_ = dialog->signal_unmap().connect([this] { answered_ = nullptr; });
    dialog->response(response);
    return true;
}

std::string sampleFile(const char* name) {
    std::string path = SIGMIRA_TEMPLATES;
    return path.append("/").append(name);
}

}  // namespace trelis::test

namespace trelis {
namespace {

std::string shownText(Gtk::Widget& widget) {
    if (auto* label = dynamic_cast<Gtk::Label*>(&widget)) return label->get_text().raw();
    if (auto* container = dynamic_cast<Gtk::Container*>(&widget))
        for (Gtk::Widget* child : container->get_children())
            if (auto text = shownText(*child); !text.empty()) return text;
    return {};
}

Gtk::MenuItem& findItem(Gtk::MenuShell& shell, const std::string& label) {
    for (Gtk::Widget* child : shell.get_children())
        if (auto* item = dynamic_cast<Gtk::MenuItem*>(child);
            item != nullptr && shownText(*item) == label)
            return *item;
    throw std::out_of_range(label);
}

}  // namespace

Gtk::MenuItem& WindowProbe::menu(const std::string& label) {
    return findItem(window_.menuBar_, label);
}

Gtk::MenuItem& WindowProbe::item(const std::string& menuLabel, const std::string& label) {
    return findItem(*menu(menuLabel).get_submenu(), label);
}

WindowTest::WindowTest() : settings_(SettingsPaths{folder_ / "settings", folder_ / "lists"}) {
    static_cast<void>(takeMessages());
    settings_.setVsdFile(test::sampleFile("drive.vsd"));
    store_.title = "Signal Plot";
    store_.hooks.logFiles = parseLogs;
    store_.hooks.csvImport = importCsvFiles;
    store_.hooks.ascImport = importAscFiles;
    addLoggerInterface(store_);
    loadVsdFile(store_, settings_.getVsdFile());
    window_ = std::make_unique<Window>(store_, settings_);
    probe_ = std::make_unique<WindowProbe>(*window_);
    test::present(*window_);
}

WindowTest::~WindowTest() {
    store_.guiRunning = false;
    waitIdle();
    // News of a picture that arrived when the window is gone would be told as a warning.
    window_->subPlot().stopPainting();
    probe_->overview().stopPainting();
    test::pumpPending();
    window_.reset();
    store_.shutdown();
    test::pumpPending();
    static_cast<void>(takeMessages());
}

void WindowTest::addSampleLogs() {
    for (const char* name : {"drive_0001.bin", "drive_0002.bin"})
        addLogFile(store_, test::sampleFile(name));
}

void WindowTest::startWorker() {
    store_.startWorker();
    store_.requestParse();
    waitIdle();
}

void WindowTest::whilePressed(const std::function<void()>& step) {
    sigc::connection press = window_->subPlot().signal_button_press_event().connect(
        [&](GdkEventButton*) {
            step();
            return true;
        },
        false);
    test::pressButton(window_->subPlot(), 1, 50, 50);
    press.disconnect();
}

void WindowTest::waitIdle() {
    const auto idle = [this] {
        return !store_.parsing && !store_.reparseRequested() && !store_.dumpToFile &&
               !store_.isBusy() && !window_->subPlot().isPainting() &&
               !probe_->overview().isPainting();
    };
    // The news of a parse starts painters.
    do {
        ASSERT_TRUE(test::pump(idle));
        test::pumpPending();
    } while (!idle());
}

}  // namespace trelis
