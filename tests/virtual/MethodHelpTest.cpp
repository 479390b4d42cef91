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

TEST(MethodHelpTest, tellsWhatTheMethodsRead) {
    const test::Folder folder;
    const std::string table = folder.write("map.txt", "0 0 0\n");
    std::set<std::string_view> names;
    std::string order;
    for (const MethodHelp& method : methodKeys()) {
        SCOPED_TRACE(method.method);
        EXPECT_TRUE(names.insert(method.method).second);
        // Formulas, totals, filters, calculations, choices, positions.
        for (const char* first :
             {"expression", "integrate", "average", "sum", "multiplex", "geofence"})
            if (method.method == first) order += std::string(first) + " ";

        auto lines = exampleLines(method);
        for (std::string& line : lines)
            if (line.starts_with("file=")) line = "file=" + table;
        ASSERT_EQ(lines.front(), "method=" + std::string(method.method));
        EXPECT_EQ(failureOf(lines), "made");
        const auto failureWithout = [&](const KeyHelp& key, const std::string& added) {
            auto others = lines;
            std::erase_if(others, [&](const std::string& line) {
                return keyOf(line) == key.key || keyOf(line) == key.alternative;
            });
            others.push_back(added);
            return failureOf(others);
        };

        std::set<std::string> documented = {"method", "signal_01", "signal_02", "value_02"};
        for (const auto& keys : {method.keys, commonKeys()})
            for (const KeyHelp& key : keys) {
                documented.insert(std::string(key.key));
                // What the table calls a flag or a number is read as one, but for a key of the
                // other shape of fence, which is not looked at, and a window without steps.
                const bool isText = key.kind == KeyKind::kText || key.kind == KeyKind::kPath;
                if (isText || key.help.starts_with("square:")) continue;
                if (key.key == "avg" && method.method == "integrate") continue;
                EXPECT_NE(failureWithout(key, std::string(key.key) + "=#"), "made") << key.key;
            }
        for (const std::string& line : lines)
            EXPECT_TRUE(documented.contains(keyOf(line))) << line;
        // Without a mandatory key there is no signal.
        for (const KeyHelp& key : method.keys)
            for (const std::string& line : lines) {
                if (keyOf(line) != key.key && keyOf(line) != key.alternative) continue;
                EXPECT_EQ(failureWithout(key, "") != "made", key.mandatory) << line;
            }
    }
    EXPECT_GE(names.size(), 36U);
    EXPECT_EQ(order, "expression integrate average sum multiplex geofence ");
}

}  // namespace
}  // namespace trelis
