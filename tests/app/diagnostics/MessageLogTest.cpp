#include "app/diagnostics/MessageLog.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

class MessageLogTest : public ::testing::Test {
  protected:
    MessageLogTest() { static_cast<void>(log.takeMarkup()); }
    ~MessageLogTest() override { log.setPresenter(nullptr); }

    MessageLog& log = MessageLog::instance();
};

TEST_F(MessageLogTest, queuesATextOnceALevel) {
    log.add("WRN", "twice");
    log.add("WRN", "twice");
    log.add("ERR", "twice");
    log.add("FOO", "odd");
    EXPECT_EQ(log.pop().level, 1);
    EXPECT_EQ(log.pop().level, 2);
    const MessageLogEntry odd = log.pop();
    EXPECT_EQ(odd.level, 0);
    EXPECT_EQ(odd.text, "odd");
    log.add("WRN", "twice");
    EXPECT_FALSE(log.isEmpty()) << "it was shown, so it comes anew";
}

TEST_F(MessageLogTest, survivesAPopWhenEmpty) {
    try {
        static_cast<void>(log.pop());
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Can not get message from empty list");
    }
    log.add("INF", "still works");
    EXPECT_EQ(log.pop().text, "still works");
}

TEST_F(MessageLogTest, showsWarningsAndErrorsAsMarkup) {
    static std::string shown;
    shown = "nothing";
    log.setPresenter([](void*, const std::string& markup) { shown = markup; });
    log.add("INF", "dropped");
    log.showAll();
    EXPECT_EQ(shown, "nothing");
    EXPECT_TRUE(log.isEmpty());
    log.add("WRN", "a < b");
    log.add("ERR", "c & d\n");
    log.showAll();
    EXPECT_EQ(shown,
              "<span color='#ce7e00' weight='bold'>a &lt; b</span>\n"
              "<span color='#a00000' weight='bold'>c &amp; d\n</span>\n");
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(MessageLogTest, holdsAFloodFromAllThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([this, thread] {
            for (int i = 0; i < 500; ++i)
                log.add("WRN", std::to_string(thread) + "/" + std::to_string(i));
        });
    for (auto& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < MessageLog::kMostEntries; ++i)
        EXPECT_EQ(log.pop().level, 1);
    EXPECT_TRUE(log.isEmpty());
}

/// What a call writes to standard error.
template <class Call>
std::string written(Call call) {
    ::testing::internal::CaptureStderr();
    call();
    return ::testing::internal::GetCapturedStderr();
}

TEST_F(MessageLogTest, getsReportsWhichAreWrittenInColour) {
    EXPECT_EQ(written([] { report(Level::kInfo, "i"); }), "\033[34mINF i\033[0m\n");
    EXPECT_EQ(written([] { report(Level::kWarning, "w\n"); }), "\033[33mWRN w\n\033[0m\n");
    EXPECT_EQ(written([] { EXPECT_THROW(reportFatal("e"), PrintMsgError); }),
              "\033[31mERR e\033[0m\n");
    EXPECT_EQ(log.pop().text, "i");
    EXPECT_EQ(log.pop().text, "w\n");
    EXPECT_EQ(log.pop().level, 2);
}

TEST_F(MessageLogTest, getsReportsFitForWidgets) {
    const std::string text(5000, 'x');
    EXPECT_EQ(written([&] { report(Level::kInfo, text); }).size(), 5000U + 14);
    EXPECT_EQ(log.pop().text.size(), 1023U);
    std::string umlauts;
    for (int i = 0; i < 600; ++i)
        umlauts += "ü";
    written([&] { report(Level::kInfo, umlauts); });
    EXPECT_EQ(log.pop().text.size(), 1022U) << "no half character";
    EXPECT_EQ(written([] { report(Level::kInfo, "no file gr\xFCn"); }),
              "\033[34mINF no file gr\xFCn\033[0m\n");
    EXPECT_EQ(log.pop().text, "no file grün") << "widgets take UTF-8 only";
    written([] { report(Level::kInfo, "ü" + std::string(2000, '\x80')); });
    EXPECT_EQ(log.pop().text.size(), 1021U) << "whole characters";
}

TEST(Format, endsAtTheLongestText) {
    EXPECT_EQ(format("%s", std::string(100'000, 'y').c_str()).size(), 64U * 1024);
    EXPECT_EQ(format("%d%%, %s%s", 5, "five", ""), "5%, five");
}

TEST(ValidUtf8, takesBrokenTextsAsWindows1252) {
    EXPECT_EQ(toValidUtf8("grün °C"), "grün °C");
    EXPECT_EQ(toValidUtf8("gr\xFCn \xB0"
                          "C"),
              "grün °C");
    EXPECT_EQ(toValidUtf8("\x80 \x93\x94"), "€ “”");
    EXPECT_EQ(toValidUtf8("\x81"), "\xEF\xBF\xBD");
    // One broken byte makes all of it Windows-1252.
    EXPECT_EQ(toValidUtf8("ü\xFC"), "Ã¼ü");
}

}  // namespace
}  // namespace trelis
