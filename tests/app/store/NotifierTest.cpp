#include "app/store/Notifier.h"

#include <glib.h>
#include <glibmm/main.h>
#include <gtest/gtest.h>

#include <optional>

#include "support/TestStore.h"

namespace trelis {
namespace {

int warnings = 0;

void deliver() {
    while (Glib::MainContext::get_default()->iteration(false)) {
    }
}

TEST(NotifierTest, NewsAreTakenTogetherAndDieWithTheirNotifier) {
    const test::GlibReady ready;
    const auto before = g_log_set_default_handler(
        [](const gchar*, GLogLevelFlags, const gchar*, gpointer) { ++warnings; }, nullptr);
    const Notifier neighbour;  // keeps the pipe that all of them share
    int heard = 0;
    std::optional<Notifier> notifier(std::in_place);
    notifier->connect([&heard] { ++heard; });
    notifier->emit();
    notifier->emit();
    deliver();
    EXPECT_EQ(heard, 1);

    notifier->emit();
    notifier.reset();
    deliver();
    EXPECT_EQ(heard, 1);

    notifier.emplace();
    notifier->connect([&] {
        ++heard;
        notifier.reset();
    });
    notifier->emit();
    deliver();
    EXPECT_FALSE(notifier);
    EXPECT_EQ(heard, 2);
    EXPECT_EQ(warnings, 0);
    g_log_set_default_handler(before, nullptr);
}

}  // namespace
}  // namespace trelis
