// How soon the window shows itself, and for how long its main loop is ever kept from the user.
//
//   bench-window start <rounds> <definitions> <recording>...
//   bench-window load <definitions> <recording>...
//   bench-window list <DBC file>
//
// Each line of the output is a name and a time in ms. Needs a display, see tests/with-display.
#include <glibmm/init.h>
#include <glibmm/main.h>
#include <gtkmm/application.h>
#include <gtkmm/scrolledwindow.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/WindowMode.h"
#include "app/Wiring.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/DbcReader.h"
#include "input/LogFiles.h"
#include "input/VsdFile.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "model/builtin/BuiltinMessages.h"
#include "model/builtin/LoggerMessage.h"
#include "plot/LogList.h"
#include "plot/Window.h"
#include "plot/paint/TimeBox.h"

namespace {

using namespace trelis;

constexpr std::size_t kSignals = 12;
constexpr int kViews = 60;
constexpr double kMsPerUs = 0.001;

void prepare(Store& store, int argc, char** argv) {
    wireStore(store);
    store.title = "Signal Plot";
    addLoggerInterface(store);
    Settings::instance().setVsdFile(argv[0]);
    for (int i = 1; i < argc; ++i)
        addLogFile(store, argv[i]);
    loadVsdFile(store, argv[0]);
}

// ---- start

std::int64_t startedAt = 0;  // us of the monotonic clock

void leaveBehindFrame(GdkFrameClock* /*clock*/, gpointer /*data*/) {
    gdk_display_sync(gdk_display_get_default());
    std::printf("first_frame %.1f\n",
                static_cast<double>(g_get_monotonic_time() - startedAt) * kMsPerUs);
    std::fflush(stdout);
    _exit(0);
}

gboolean noteMap(GSignalInvocationHint* /*hint*/, guint /*count*/, const GValue* values,
                 gpointer /*data*/) {
    auto* widget = GTK_WIDGET(g_value_get_object(values));
    if (!GTK_IS_WINDOW(widget)) return TRUE;
    // The toolkit's own handler, which draws, comes first.
    g_signal_connect_after(gtk_widget_get_frame_clock(widget), "paint",
                           G_CALLBACK(leaveBehindFrame), nullptr);
    return FALSE;
}

// The program's own way to its window, in a process that was started at this moment.
int showOnce(const char* startText, int argc, char** argv) {
    startedAt = std::strtoll(startText, nullptr, 10);
    Glib::init();
    Store store;
    prepare(store, argc, argv);
    g_type_class_ref(GTK_TYPE_WIDGET);
    g_signal_add_emission_hook(g_signal_lookup("map", GTK_TYPE_WIDGET), 0, noteMap, nullptr,
                               nullptr);
    return runWindow(store, false, argc, argv);
}

int start(const char* program, int rounds, char** arguments) {
    for (int round = 0; round < rounds; ++round) {
        const std::string now = std::to_string(g_get_monotonic_time());
        const pid_t child = fork();
        if (child == 0) {
            std::vector<char*> command = {const_cast<char*>(program), const_cast<char*>("show"),
                                          const_cast<char*>(now.c_str())};
            for (char** argument = arguments; *argument != nullptr; ++argument)
                command.push_back(*argument);
            command.push_back(nullptr);
            execv("/proc/self/exe", command.data());
            _exit(127);
        }
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0) return 1;
    }
    return 0;
}

// ---- load

std::int64_t leftPoll = 0;  // us
std::int64_t longest = 0;   // us

// From the end of one wait for events to the begin of the next one nobody is listened to.
gint timedPoll(GPollFD* descriptors, guint count, gint timeout) {
    if (leftPoll != 0) longest = std::max(longest, g_get_monotonic_time() - leftPoll);
    const gint ready = g_poll(descriptors, count, timeout);
    leftPoll = g_get_monotonic_time();
    return ready;
}

void tellLongest(const char* phase) {
    std::printf("block_%s %.1f\n", phase, static_cast<double>(longest) * kMsPerUs);
    std::fflush(stdout);
    longest = 0;
}

template <class Condition>
void pump(Condition condition) {
    while (!condition())
        Glib::MainContext::get_default()->iteration(true);
}

// One signal of each of the first messages.
void selectSignals(Store& store) {
    const RecountBatch batch(store);
    std::size_t count = 0;
    for (const auto& [id, message] : store.findInterfaceByNumber(0)->messages) {
        if (message->signals.empty()) continue;
        message->signals.front()->setSelected(true);
        if (++count == kSignals) return;
    }
}

Glib::RefPtr<Gtk::Application> startToolkit() {
    Glib::init();
    int none = 0;
    char** nothing = nullptr;
    return Gtk::Application::create(none, nothing, "", Gio::APPLICATION_NON_UNIQUE);
}

int load(int argc, char** argv) {
    const auto application = startToolkit();
    Store store;
    prepare(store, argc, argv);
    const auto window = createMainWindow(store);
    bool drawn = false;
    window->signal_draw().connect([&](const Cairo::RefPtr<Cairo::Context>&) {
        drawn = true;
        return false;
    });
    // Blocking waits need something to wake them.
    Glib::signal_timeout().connect([] { return true; }, 5);
    window->show();
    pump([&] { return drawn; });
    selectSignals(store);
    window->refreshLists();

    g_main_context_set_poll_func(nullptr, timedPoll);
    const auto idle = [&] {
        return !store.parsing && !store.isBusy() && !window->subPlot().isPainting();
    };
    pump([&, turns = 0]() mutable { return ++turns > 20; });
    longest = 0;
    const std::int64_t begin = g_get_monotonic_time();
    store.startWorker();
    store.requestParse();
    pump([&] { return store.parsing || store.lastTime > 0; });
    pump(idle);
    tellLongest("parse");
    std::printf("load %.0f\n", static_cast<double>(g_get_monotonic_time() - begin) * kMsPerUs);

    TimeBox& box = window->timeBox();
    const TimeSpan all{store.intervalStart, store.intervalEnd};
    for (int i = 0; i < kViews; ++i) {
        const TimeSpan now{box.start, box.end};
        const TimeSpan next = i % 3 == 2
                                  ? panLater(now, all)
                                  : zoomAround(now, 0.3, i < kViews / 2 ? kZoomIn : kZoomOut, all);
        box.setInterval(next.start, next.end, true);
        pump([&, turns = 0]() mutable { return ++turns > 2; });
    }
    pump(idle);
    tellLongest("paint");
    // The threads of the window end before what they look at goes.
    window->hide();
    return 0;
}

// ---- list

// CPU time of this thread, ms.
double cpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

// What a step takes of the main loop, drawing included.
template <class Step>
void timeStep(const char* name, const Step& step) {
    const auto context = Glib::MainContext::get_default();
    while (context->pending())
        context->iteration(false);
    const double begin = cpuMs();
    step();
    const double done = cpuMs();
    while (context->pending())
        context->iteration(false);
    std::printf("%s %.1f %.1f\n", name, done - begin, cpuMs() - done);
    std::fflush(stdout);
}

int list(const char* dbc) {
    const auto application = startToolkit();
    Store store;
    wireStore(store);
    timeStep("list_read", [&] {
        readDbcFile(store, dbc, 0, "Can");
        addBuiltinMessages(store);
    });
    Gtk::Window window;
    window.set_default_size(400, 700);
    Gtk::ScrolledWindow page;
    window.add(page);
    std::unique_ptr<LogList> list;
    timeStep("list_open", [&] {
        list = std::make_unique<LogList>(store, Settings::instance(), 0, kStatisticsOffset);
        page.add(*list);
        window.show_all();
    });
    timeStep("list_expand", [&] { list->expand_row(Gtk::TreeModel::Path("0"), false); });
    for (const char* text :
         {"s", "si", "signal77", "signal7777_", "message99/", "nothing of this", ""})
        timeStep("list_filter", [&] { list->applyFilter(text); });
    const auto message = store.findInterfaceByNumber(0)->messages.begin()->second;
    timeStep("list_find", [&] { list->selectSignal(message->signals.front()); });
    for (int i = 0; i < 4; ++i)
        timeStep("list_check", [&] {
            list->row_activated(list->get_model()->get_path(list->get_selection()->get_selected()),
                                *list->get_column(0));
        });
    timeStep("list_check_message",
             [&] { list->row_activated(Gtk::TreeModel::Path("0:0"), *list->get_column(0)); });
    timeStep("list_rebuild", [&] { list->rebuild(0, kStatisticsOffset, true); });
    return 0;
}

int usage() {
    std::fputs(
        "usage: bench-window start <rounds> <definitions> <recording>...\n"
        "       bench-window load <definitions> <recording>...\n",
        stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "C");
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (mode == "show" && argc > 3) return showOnce(argv[2], argc - 3, argv + 3);
    if (mode == "start" && argc > 4) return start(argv[0], std::atoi(argv[2]), argv + 3);
    if (mode == "load" && argc > 3) return load(argc - 2, argv + 2);
    if (mode == "list" && argc == 3) return list(argv[2]);
    return usage();
}
