#include "input/CsvImport.h"

#include <gtest/gtest.h>

#include "app/diagnostics/Exceptions.h"
#include "support/Files.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::Samples;
using Texts = test::Messages;

class CsvImportTest : public ::testing::Test {
  protected:
    /// A fresh model with the columns of the first file.
    Texts prepare(const Texts& files) {
        store.clearAll();
        store.logFiles.clear();
        for (const std::string& text : files)
            store.logFiles.push_back(
                folder.write("t" + std::to_string(store.logFiles.size()) + ".csv", text));
        try {
            prepareCsvImport(store);
        } catch (const PrintMsgError&) {
            return {test::TestStore::messages().back()};
        }
        Texts columns;
        for (const auto& signal : store.getMessage(kCsvInterface, 0)->signals)
            columns.push_back(signal->name + "/" + signal->unit);
        return columns;
    }
    void import(const Texts& files) {
        prepare(files);
        static_cast<void>(test::TestStore::messages());
        store.csvMode = true;
        store.hooks.csvImport = importCsvFiles;
        store.running = true;
        EXPECT_TRUE(store.parseNow());
    }
    Samples samplesOf(const std::string& name) {
        return test::samplesOf(*store.getSignal("CSV.All." + name));
    }

    test::Folder folder;
    test::TestStore store;
};

TEST_F(CsvImportTest, guessesTheShapeOfATable) {
    const std::string rows = "\n0;1;2;3\n0;1;2;3\n0;1;2;3\n0;1;2;3\r\n";
    const struct {
        std::string text;
        Texts columns;
        char delimiter;
        std::uint64_t skip;
    } cases[] = {
        {"time;speed (km/h);temp\ns;;C\n0;1;2\n1;1;2\n2;1;2\n", {"speed/", "temp/C"}, ';', 2},
        {"note\nmore notes\n\ntime,a,b\n0,1,2\n", {"a/", "b/"}, ',', 4},
        {"note\nmore\ntime,a,b\n0,1,2\n1,1,2\n", {"a/", "b/"}, ',', 3},
        {"t\ta.b (x.y)\t  c  (  \n0\t\t\n1\t\t\n2\t\t\n3\t\t\n", {"a_b/x.y", "c/  "}, '\t', 1},
        {"t;a;;b" + rows, {"a/"}, ';', 1},
        {"t;a;a;a\r" + rows, {"a/", "a_2/", "a_3/"}, ';', 1},
        // A tab goes before a semicolon, and that before a comma.
        {"t,x;a\n0,1;1\n0,1;1\n0,1;1\n0,1;1\n", {"a/"}, ';', 1},
        {"t;gr\xFC\xDF;b;c" + rows, {"grüß/", "b/", "c/"}, ';', 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(prepare({c.text}), c.columns);
        EXPECT_EQ(store.csvDelimiter, c.delimiter);
        EXPECT_EQ(store.csvRowsToSkip, c.skip);
    }
}

TEST_F(CsvImportTest, refusesWhatIsNoTable) {
    const std::string few = "Couldn't read first 5 line of file " + (folder / "t0.csv");
    EXPECT_EQ(prepare({}), Texts{"No CSV files given ..."});
    EXPECT_EQ(prepare({"t;a\n0;1\n0;1\n0;1\n"}), Texts{few});
    EXPECT_EQ(prepare({""}), Texts{few});
    EXPECT_EQ(prepare({std::string(3'000'000, 'x') + "\n1\n2\n3\n4\n5\n"}), Texts{few});
    EXPECT_EQ(prepare({"t;a\n0;1\n0;1\n0;1\n0 1\n"}),
              Texts{"Expected CSV column delimiter to be one of \\t/;/,"});
    EXPECT_EQ(prepare({"1\n2\n3\n4\nt;a\n0;1\n"}), Texts{"Out of lines"});
    store.clearAll();
    store.logFiles = {folder / "missing"};
    EXPECT_THROW(prepareCsvImport(store), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages().back(), "Couldn't open file: " + store.logFiles[0]);
}

TEST_F(CsvImportTest, readsRows) {
    import(
        {"t;a;b\n0,5;1,5;2\n1;;3\n1.5\n1,999;x;3\n2,001;x;4;99\n3;7\n;8;8\n\n4;  ;5\n1,001;6;6\n"});
    EXPECT_EQ(samplesOf("a"), (Samples{{500, 1.5}, {1999, 0}, {3000, 7}, {4000, 6}}));
    EXPECT_EQ(samplesOf("b"), (Samples{{500, 2}, {1000, 3}, {2001, 4}, {4000, 5}, {4000, 6}}));
    EXPECT_EQ(test::TestStore::messages(),
              (Texts{"no time, skip row: ;8;8", "no time, skip row: "}));
    EXPECT_EQ(store.intervalStart, 500U);
    EXPECT_EQ(store.intervalEnd, 4000U);
    EXPECT_TRUE(store.getSignal("CSV.All.a")->parsed);
}

TEST_F(CsvImportTest, takesACommaForNoDecimalSignWhereItDelimits) {
    import({"t,a,b\n0,1,5\n1,2,6\n2,3,7\n3,4,8\n"});
    EXPECT_EQ(samplesOf("a"), (Samples{{0, 1}, {1000, 2}, {2000, 3}, {3000, 4}}));
}

TEST_F(CsvImportTest, carriesOnFromFileToFile) {
    import({"t;a\n0;1\n1;2\n2;3\n3;4\n", "t;a\n0;5\n1;6\n0.5;7\n1;8\n"});
    EXPECT_EQ(
        samplesOf("a"),
        (Samples{
            {0, 1}, {1000, 2}, {2000, 3}, {3000, 4}, {3000, 5}, {4000, 6}, {4000, 7}, {4500, 8}}));
    EXPECT_EQ(test::TestStore::messages(), Texts{"no time, skip row: t;a"});
    // A further pass reads nothing anew.
    store.running = true;
    store.parseNow();
    EXPECT_EQ(samplesOf("a").size(), 8U);
}

TEST_F(CsvImportTest, survivesWildTimes) {
    import(
        {"t;a\n-2;1\n-1,5;2\n1e30;3\n1e15;4\n-1e15;5\n1e15;6\n-1e15;7\n1e15;8\n-1e15;9\n1e999;"
         "10\n"});
    const Samples samples = samplesOf("a");
    ASSERT_GE(samples.size(), 2U);
    EXPECT_EQ(samples[0], (Sample{0, 1}));
    EXPECT_EQ(samples[1], (Sample{500, 2})) << "a table may begin ahead of its trigger";
    for (std::size_t i = 1; i < samples.size(); ++i)
        EXPECT_GE(samples[i].time, samples[i - 1].time);
    std::string flood = "t;a\n0;1\n0;1\n0;1\n0;1\n";
    for (int i = 0; i < 1000; ++i)
        flood += "no time " + std::to_string(i) + "\n";
    import({flood});
    const Texts told = test::TestStore::messages();
    EXPECT_EQ(told.size(), 21U);
    EXPECT_EQ(told.back(),
              "1000 rows of " + (folder / "t0.csv") + " have no time and were skipped");
}

TEST_F(CsvImportTest, boundsItsColumns) {
    std::string row = "t";
    for (int i = 0; i < 20'000; ++i)
        row += ";c" + std::to_string(i);
    row += "\n";
    const Texts columns = prepare({row + row + row + row + row});
    EXPECT_EQ(columns.size(), 16384U);
    EXPECT_EQ(columns.back(), "c16383/c16383");
}

TEST_F(CsvImportTest, endsAtAFileItCannotOpen) {
    prepare({"t;a\n0;1\n1;2\n2;3\n3;4\n"});
    static_cast<void>(test::TestStore::messages());
    store.logFiles.push_back(folder / "missing");
    store.running = true;
    importCsvFiles(store);
    EXPECT_EQ(test::TestStore::messages(),
              Texts{"Couldn't open file " + store.logFiles.back() + "\n"});
    EXPECT_FALSE(store.running);
    EXPECT_EQ(samplesOf("a").size(), 4U);
    test::TestStore bare;
    EXPECT_THROW(importCsvFiles(bare), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages(), Texts{"No CSV interface created"});
}

}  // namespace
}  // namespace trelis
