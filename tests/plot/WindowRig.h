// The main window on the sample recording, and somebody who answers its dialogs.
#pragma once

#include <glibmm/main.h>
#include <gtkmm/filechooserdialog.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>

#include <deque>

#include "config/settings/Settings.h"
#include "input/AscImport.h"
#include "input/CsvImport.h"
#include "input/LogFiles.h"
#include "input/VsdFile.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "model/builtin/LoggerMessage.h"
#include "plot/GuiTest.h"
#include "plot/Window.h"
#include "support/TestStore.h"

namespace trelis::test {

/// Answers the dialogs that come up while a command runs the main loop, in order, and notes what
/// they said. What nobody expected is cancelled, and fails the test.
class DialogAnswers {
  public:
    DialogAnswers() = default;
    DialogAnswers(const DialogAnswers&) = delete;
    DialogAnswers& operator=(const DialogAnswers&) = delete;
    /// Fails the test if a planned answer was not asked for.
    ~DialogAnswers() {
        timer_.disconnect();
        gone_.disconnect();
        EXPECT_TRUE(plan_.empty()) << plan_.size() << " dialogs did not come up";
    }

    /// The next dialog gets this response, once `prepare` says that the dialog is ready for it.
    void expect(int response, std::function<bool(Gtk::Dialog&)> prepare = {}) {
        plan_.push_back({response, std::move(prepare)});
    }
    /// The next dialog is a file chooser: the file is chosen in it.
    void expectFile(const std::string& path, int response = -5) {
        expect(response, [path, chosen = false](Gtk::Dialog& dialog) mutable {
            auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(dialog);
            const fs::path file(path);
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
    /// "title|text|secondary text" of the dialogs so far; forgets them.
    std::vector<std::string> takeTexts() { return std::exchange(texts_, {}); }

  private:
    struct Answer {
        int response;
        std::function<bool(Gtk::Dialog&)> prepare;
    };

    static std::string textsOf(Gtk::Dialog& dialog) {
        std::string text = dialog.get_title().raw();
        if (auto* message = dynamic_cast<Gtk::MessageDialog*>(&dialog))
            text += "|" + message->property_text().get_value().raw() + "|" +
                    message->property_secondary_text().get_value().raw();
        return text;
    }
    static Gtk::Dialog* openDialog() {
        for (Gtk::Window* window : Gtk::Window::list_toplevels())
            if (auto* dialog = dynamic_cast<Gtk::Dialog*>(window);
                dialog != nullptr && dialog->get_mapped())
                return dialog;
        return nullptr;
    }
    bool look() {
        constexpr int kMostLooks = 250;  // five seconds
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

    std::deque<Answer> plan_;
    std::vector<std::string> texts_;
    Gtk::Dialog* answered_ = nullptr;  ///< it got its response and is about to go
    int looks_ = 0;                    ///< at a dialog since the last response
    sigc::connection timer_ = Glib::signal_timeout().connect([this] { return look(); }, 20);
    sigc::connection gone_;
};

/// The first widget of a kind below a container, which has one.
template <class Kind>
Kind* findChild(Gtk::Container& container) {
    for (Gtk::Widget* child : container.get_children()) {
        if (auto* found = dynamic_cast<Kind*>(child)) return found;
        if (auto* inner = dynamic_cast<Gtk::Container*>(child))
            if (auto* found = findChild<Kind>(*inner)) return found;
    }
    return nullptr;
}

/// The path of a file of the sample recording.
inline std::string sampleFile(const std::string& name) {
    return SIGMIRA_TEMPLATES "/" + name;
}

}  // namespace trelis::test

namespace trelis {

/// Looks into the window and calls what its menus call.
class WindowProbe {
  public:
    explicit WindowProbe(Window& window) : window_(window) {}

    LogList& dataList() { return window_.dataList_; }
    LogList& statisticsList() { return window_.statisticsList_; }
    Gtk::Notebook& notebook() { return window_.notebook_; }
    Gtk::Entry& search() { return window_.searchEntry_; }
    Gtk::Grid& grid() { return window_.grid_; }
    Gtk::ProgressBar& bar() { return window_.progressBar_; }
    Gtk::Spinner& spinner() { return window_.spinner_; }
    FullPlot& overview() { return window_.fullPlot_; }
    DropdownMenus& dropdowns() { return window_.dropdowns_; }
    void tick() { window_.updateLiveIndicator(); }
    void showMessages() { window_.showPendingMessages(); }
    [[nodiscard]] const std::shared_ptr<Signal>& dropdownSignal() const {
        return window_.dropdownSignal_;
    }

    /// A menu of the bar and its item, by the texts that a user sees.
    Gtk::MenuItem& menu(const std::string& label) { return find(window_.menuBar_, label); }
    Gtk::MenuItem& item(const std::string& menuLabel, const std::string& label) {
        return find(*menu(menuLabel).get_submenu(), label);
    }
    /// Chooses it as the pointer or the Return key does.
    void choose(const std::string& menuLabel, const std::string& label) {
        item(menuLabel, label).activate();
    }

  private:
    static Gtk::MenuItem& find(Gtk::MenuShell& shell, const std::string& label) {
        for (Gtk::Widget* child : shell.get_children()) {
            auto* item = dynamic_cast<Gtk::MenuItem*>(child);
            auto* text = item != nullptr ? test::findChild<Gtk::Label>(*item) : nullptr;
            if (text != nullptr && text->get_text() == label) return *item;
        }
        throw std::out_of_range(label);
    }

    Window& window_;
};

using Texts = std::vector<std::string>;

/// A signal of the sample.
inline constexpr const char* kSpeed = "Powertrain.EngineData.EngineSpeed";

/// A window on the screen and a Store of its own, whose definitions are those of the sample. No
/// recording is loaded and nothing is selected.
class WindowTest : public testing::Test {
  protected:
    WindowTest() {
        takeMessages();
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
    ~WindowTest() override {
        store_.guiRunning = false;
        waitIdle();
        // News of a picture that arrived when the window is gone would be told as a warning.
        window_->subPlot().stopPainting();
        probe_->overview().stopPainting();
        test::pumpPending();
        window_.reset();
        store_.shutdown();
        test::pumpPending();
        takeMessages();
    }

    /// Chooses the sample's recordings, as the command line does.
    void addSampleLogs() {
        for (const char* name : {"drive_0001.bin", "drive_0002.bin"})
            addLogFile(store_, test::sampleFile(name));
    }
    /// Starts the worker with a first pass, as the program does, and waits for its end.
    void startWorker() {
        store_.startWorker();
        store_.requestParse();
        waitIdle();
    }
    /// Runs a step from within an event, as the toolkit expects it of whatever opens a menu.
    void whilePressed(const std::function<void()>& step) {
        sigc::connection press = window_->subPlot().signal_button_press_event().connect(
            [&](GdkEventButton*) {
                step();
                return true;
            },
            false);
        test::pressButton(window_->subPlot(), 1, 50, 50);
        press.disconnect();
    }
    /// Waits until no parse runs and nothing is painted.
    void waitIdle() {
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
    /// What would be shown to the user; forgets it.
    static Texts takeMessages() { return test::TestStore::messages(); }
    std::shared_ptr<Signal> signal(const std::string& path) { return store_.getSignal(path); }

    test::Folder folder_;
    Settings settings_{SettingsPaths{folder_ / "settings", folder_ / "lists"}};
    Store store_;
    std::unique_ptr<Window> window_;
    std::unique_ptr<WindowProbe> probe_;
};

}  // namespace trelis
