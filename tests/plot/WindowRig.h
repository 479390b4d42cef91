// The main window on the sample recording, and somebody who answers its dialogs.
#pragma once

#include <gtkmm/dialog.h>
#include <gtkmm/filechooserdialog.h>

#include <deque>

#include "config/settings/Settings.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/GuiTest.h"
#include "plot/Window.h"
#include "support/TestStore.h"

namespace trelis::test {

/// Answers the dialogs that come up while a command runs the main loop, in order, and notes what
/// they said. What nobody expected is cancelled, and fails the test.
class DialogAnswers {
  public:
    DialogAnswers();
    DialogAnswers(const DialogAnswers&) = delete;
    DialogAnswers& operator=(const DialogAnswers&) = delete;
    /// Fails the test if a planned answer was not asked for.
    ~DialogAnswers();

    /// The next dialog gets this response, once `prepare` says that the dialog is ready for it.
    void expect(int response, std::function<bool(Gtk::Dialog&)> prepare = {});
    /// The next dialog is a file chooser: the file is chosen in it.
    void expectFile(const std::string& path, int response = -5);
    /// "title|text|secondary text" of the dialogs so far; forgets them.
    std::vector<std::string> takeTexts();

  private:
    struct Answer {
        int response;
        std::function<bool(Gtk::Dialog&)> prepare;
    };
    bool look();

    std::deque<Answer> plan_;
    std::vector<std::string> texts_;
    Gtk::Dialog* answered_ = nullptr;  ///< it got its response and is about to go
    int looks_ = 0;                    ///< since the last response
    sigc::connection timer_;
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
std::string sampleFile(const char* name);

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
    Gtk::MenuItem& menu(const std::string& label);
    Gtk::MenuItem& item(const std::string& menuLabel, const std::string& label);
    /// Chooses it as the pointer or the Return key does.
    void choose(const std::string& menuLabel, const std::string& label) {
        item(menuLabel, label).activate();
    }

  private:
    Window& window_;
};

using Texts = std::vector<std::string>;

/// A signal of the sample.
inline constexpr const char* kSpeed = "Powertrain.EngineData.EngineSpeed";

/// A window on the screen and a Store of its own, whose definitions are those of the sample. No
/// recording is loaded and nothing is selected.
class WindowTest : public testing::Test {
  protected:
    WindowTest();
    ~WindowTest() override;

    /// Chooses the sample's recordings, as the command line does.
    void addSampleLogs();
    /// Starts the worker with a first pass, as the program does, and waits for its end.
    void startWorker();
    /// Runs a step from within an event, as the toolkit expects it of whatever opens a menu.
    void whilePressed(const std::function<void()>& step);
    /// Waits until no parse runs and nothing is painted.
    void waitIdle();
    /// What would be shown to the user; forgets it.
    static Texts takeMessages() { return test::TestStore::messages(); }
    std::shared_ptr<Signal> signal(const std::string& path) { return store_.getSignal(path); }

    test::Folder folder_;
    Settings settings_;
    Store store_;
    std::unique_ptr<Window> window_;
    std::unique_ptr<WindowProbe> probe_;
};

}  // namespace trelis
