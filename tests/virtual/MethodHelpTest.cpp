// The table of methods against the methods themselves.
#include "virtual/MethodHelp.h"

#include <gtest/gtest.h>

#include <set>

#include "TestModel.h"
#include "support/Files.h"

namespace trelis {
namespace {

using test::TestModel;

// The first group of an example, as key=value lines.
std::vector<std::string> exampleLines(const MethodHelp& method) {
    std::vector<std::string> lines;
    int groups = 0;
    for (const std::string& line : test::wordsOf(std::string(method.example), '\n')) {
        if (line.starts_with('[')) ++groups;
        if (groups == 1 && line.find('=') != std::string::npos && !line.starts_with('#'))
            lines.push_back(line);
    }
    return lines;
}

std::string failureOf(const std::vector<std::string>& lines) {
    TestModel model;
    model.makeInputs = true;
    // "Virt" references of examples need somebody to refer to.
    const auto source = std::make_shared<VirtualMessage>(model.virt, "Road");
    model.virt->addMessage(source);
    source->addVirtualSignal(std::make_shared<VirtualSignal>(source, "slope"), "slope");
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return model.failure(text);
}

std::string keyOf(const std::string& line) {
    return line.substr(0, line.find('='));
}

TEST(MethodHelpTest, examplesMakeSignals) {
    const test::Folder folder;
    const std::string table = folder.write("map.txt", "0 0 0\n");
    std::set<std::string_view> names;
    for (const MethodHelp& method : methodKeys()) {
        SCOPED_TRACE(method.method);
        EXPECT_TRUE(names.insert(method.method).second);
        auto lines = exampleLines(method);
        for (std::string& line : lines)
            if (line.starts_with("file=")) line = "file=" + table;
        ASSERT_EQ(lines.front(), "method=" + std::string(method.method));
        EXPECT_EQ(failureOf(lines), "made");

        std::set<std::string> documented = {"method", "signal_01", "signal_02", "value_02"};
        for (const auto& keys : {method.keys, commonKeys()})
            for (const KeyHelp& key : keys)
                documented.insert(std::string(key.key));
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const std::string key = keyOf(lines[i]);
            EXPECT_TRUE(documented.contains(key)) << key;
            // Without a mandatory key there is no signal.
            for (const KeyHelp& help : method.keys) {
                if (help.key != key && help.alternative != key) continue;
                auto fewer = lines;
                fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
                EXPECT_EQ(failureOf(fewer) != "made", help.mandatory) << key;
            }
        }
    }
    EXPECT_GE(names.size(), 36U);
}

// Formulas, totals, filters, calculations, choices, positions.
TEST(MethodHelpTest, goesFromFormulasToPositions) {
    std::string order;
    for (const MethodHelp& method : methodKeys())
        for (const char* first :
             {"expression", "integrate", "average", "sum", "multiplex", "geofence"})
            if (method.method == first) order += std::string(first) + " ";
    EXPECT_EQ(order, "expression integrate average sum multiplex geofence ");
}

// What the table calls a flag or a number is read as one.
TEST(MethodHelpTest, kindsAreThoseThatAreRead) {
    for (const MethodHelp& method : methodKeys()) {
        if (method.method == "lookuptable") continue;
        for (const auto& keys : {method.keys, commonKeys()})
            for (const KeyHelp& key : keys) {
                const bool isText = key.kind == KeyKind::kText || key.kind == KeyKind::kPath;
                // A key of the other shape of fence is not looked at.
                if (isText || key.help.starts_with("square:")) continue;
                if (key.key == "avg" && method.method == "integrate") continue;
                auto lines = exampleLines(method);
                std::erase_if(lines, [&](const std::string& line) {
                    return keyOf(line) == key.key || keyOf(line) == key.alternative;
                });
                lines.push_back(std::string(key.key) + "=#");
                EXPECT_NE(failureOf(lines), "made") << method.method << " " << key.key;
            }
    }
}

}  // namespace
}  // namespace trelis
