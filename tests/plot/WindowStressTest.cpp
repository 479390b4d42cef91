// Reloads, new selections and closing at any moment of a parse or a painting, a hundred times each.
// The sanitizers look for torn data.
#include <glibmm/main.h>

#include "plot/WindowRig.h"

namespace trelis {
namespace {

constexpr int kRounds = 100;
constexpr const char* kTorque = "Powertrain.EngineData.EngineTorque";

void turnLoop(int turns) {
    for (int turn = 0; turn < turns; ++turn)
        Glib::MainContext::get_default()->iteration(false);
}

class WindowStress : public WindowTest {
  protected:
    WindowStress() {
        addSampleLogs();
        startWorker();
    }

    /// Has both signals parsed anew, lets the loop turn, and acts: once in the parse, where it is
    /// refused, or in what comes of it, and once when the parse is done and the plots may paint.
    void actAtAnyMoment(const std::function<void(int)>& act) {
        for (int round = 0; round < kRounds; ++round) {
            for (const char* name : {kSpeed, kTorque}) {
                signal(name)->clearSamples();
                signal(name)->setSelected(true);
            }
            store_.requestParse();
            turnLoop(round % 7);
            act(round);
            ASSERT_TRUE(test::pump([this] { return !store_.parsing; }));
            turnLoop(round % 5);
            act(round);
        }
        waitIdle();
    }
};

TEST_F(WindowStress, ReloadsWorkAtAnyMoment) {
    actAtAnyMoment([this](int) { window_->reloadCommand(); });
    EXPECT_NO_THROW(signal(kSpeed));
}

TEST_F(WindowStress, NewSelectionsAndViewsWorkAtAnyMoment) {
    LogList& list = probe_->dataList();
    actAtAnyMoment([&](int round) {
        window_->timeBox().setInterval(store_.intervalStart + static_cast<std::uint64_t>(round),
                                       store_.intervalEnd, true);
        window_->resize(900 + round, 600 + round);
        list.selectSignal(signal(round % 2 == 0 ? kSpeed : kTorque));
        list.row_activated(list.get_model()->get_path(list.get_selection()->get_selected()),
                           *list.get_column(0));
    });
    EXPECT_GE(store_.selection().size(), 1U);
}

TEST(WindowLife, EndsAtAnyMoment) {
    const test::Folder folder;
    Settings settings(SettingsPaths{folder / "settings", folder / "lists"});
    settings.setVsdFile(test::sampleFile("drive.vsd"));
    for (int round = 0; round < kRounds; ++round) {
        Store store;
        store.hooks.logFiles = parseLogs;
        addLoggerInterface(store);
        loadVsdFile(store, settings.getVsdFile());
        for (const char* name : {"drive_0001.bin", "drive_0002.bin"})
            addLogFile(store, test::sampleFile(name));
        store.getSignal(kSpeed)->setSelected(true);
        auto window = std::make_unique<Window>(store, settings);
        window->show();
        store.startWorker();
        store.requestParse();
        // Before the parse, within it, or while the plots paint.
        if (round % 2 == 1) {
            EXPECT_TRUE(test::pump([&] { return store.lastTime > 0; }));
        }
        turnLoop(round);
        window.reset();
        store.shutdown();
        EXPECT_TRUE(store.interfaces.empty());
    }
    test::pumpPending();
}

}  // namespace
}  // namespace trelis
