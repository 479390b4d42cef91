// The text of -e against the table of methods that the program works with.
#include "app/VsdHelpText.h"

#include <glibmm/regex.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "virtual/MethodHelp.h"

namespace trelis {
namespace {

// The lines of each section by its head, without the colours.
std::map<std::string, std::vector<std::string>> sections() {
    const auto head = Glib::Regex::create("^\033\\[1;37m(.*)\033\\[0m$");
    const auto colour = Glib::Regex::create("\033\\[[0-9;]*m");
    std::map<std::string, std::vector<std::string>> found;
    std::string section;
    std::istringstream text(vsdHelpText());
    for (std::string next; std::getline(text, next);) {
        const Glib::ustring line(next);  // the match refers to it
        if (Glib::MatchInfo match; head->match(line, match))
            section = match.fetch(1);
        else
            found[section].push_back(colour->replace_literal(line, 0, "", Glib::RegexMatchFlags{}));
    }
    return found;
}

const std::string* lineOf(const std::vector<std::string>& lines, std::string_view key) {
    const auto begin =
        Glib::Regex::create("^  " + std::string(key) + "( or \\w+)?(, _02\\.\\.\\.)?=<");
    for (const std::string& line : lines)
        if (begin->match(line)) return &line;
    return nullptr;
}

void expectKey(const std::vector<std::string>& lines, const KeyHelp& key) {
    const std::string* line = lineOf(lines, key.key);
    ASSERT_NE(line, nullptr) << key.key << " is not told";
    EXPECT_TRUE(line->ends_with(key.help)) << *line;
    EXPECT_NE(line->find(key.unit), std::string::npos) << *line;
    const std::string fallback = "(default " + std::string(key.fallback) + ")";
    EXPECT_EQ(line->find(fallback) != std::string::npos, !key.fallback.empty()) << *line;
    EXPECT_EQ(line->find("(optional)") != std::string::npos, key.fallback.empty() && !key.mandatory)
        << *line;
    const std::string second = key.alternative.empty() ? "" : " or " + std::string(key.alternative);
    EXPECT_NE(line->find(std::string(key.key) + second), std::string::npos) << *line;
}

TEST(VsdHelp, tellsEveryMethodWithItsKeysAndAnExample) {
    auto text = sections();
    const KeyHelp* keysAbove = nullptr;
    std::vector<std::string> told;  // where the keys of the method stand
    for (const MethodHelp& method : methodKeys()) {
        SCOPED_TRACE(method.method);
        const auto& lines = text[std::string(method.method)];
        // Methods in a row that have the same keys tell them once.
        if (method.keys.data() != keysAbove) told = lines;
        keysAbove = method.keys.data();
        for (const KeyHelp& key : method.keys) {
            const bool isInput = key.key.starts_with("signal");
            const bool isStep = key.key == "step" && key.fallback.empty();
            if (!isInput && !isStep) expectKey(told, key);
        }
        std::string whole;
        for (const std::string& line : lines)
            whole += line + "\n";
        EXPECT_NE(whole.find(method.help), std::string::npos);
        std::istringstream example{std::string(method.example)};
        for (std::string line; std::getline(example, line);)
            EXPECT_NE(whole.find("    " + line + "\n"), std::string::npos) << line;
    }
}

TEST(VsdHelp, tellsWhatAllMethodsAndTheFileHave) {
    auto text = sections();
    for (const KeyHelp& key : commonKeys())
        expectKey(text["COMMON OPTIONS"], key);
    for (const KeyHelp& key : settingsKeys())
        expectKey(text["SETTINGS"], key);
    for (const char* key : {"step", "signal_01"})
        EXPECT_NE(vsdHelpText().find(key), std::string::npos);
    for (const auto& [head, lines] : text)
        for (const std::string& line : lines)
            EXPECT_LE(line.size(), 100U) << "no terminal is wider: " << line;
}

}  // namespace
}  // namespace trelis
