#include "input/CsvImport.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/ImportPass.h"
#include "input/LineReader.h"
#include "model/Message.h"
#include "model/ParseNumber.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr std::size_t kLongestLine = 1024 * 1024;
constexpr std::size_t kHeadLines = 5;
constexpr std::size_t kMostColumns = 16384;  // as many as spreadsheets have
constexpr std::size_t kMostRowsTold = 20;    // a file
constexpr std::size_t kLongestRowTold = 200;

using HeadLines = std::array<std::string, kHeadLines>;

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view withoutReturn(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

// The cells of a row, one by one.
class Cells {
  public:
    Cells(std::string_view row, char delimiter)
        : rest_(row),
          // Under a comma the comma cannot be a decimal sign; a tab delimits, too.
          delimiters_(delimiter == ',' ? std::string_view(",\t") : std::string_view()),
          delimiter_(delimiter) {}

    std::optional<std::string_view> next() {
        if (done_) return std::nullopt;
        const std::size_t end =
            delimiters_.empty() ? rest_.find(delimiter_) : rest_.find_first_of(delimiters_);
        const std::string_view cell = rest_.substr(0, end);
        if (end == std::string_view::npos)
            done_ = true;
        else
            rest_.remove_prefix(end + 1);
        return cell;
    }
    /// Whether the last cell was the last of the row.
    [[nodiscard]] bool done() const { return done_; }

  private:
    std::string_view rest_;
    std::string_view delimiters_;
    char delimiter_;
    bool done_ = false;
};

HeadLines readHead(const std::string& path) {
    LineReader reader(path, kLongestLine);
    if (!reader.isOpen()) reportFatal(format("Couldn't open file: %s", path.c_str()));
    HeadLines lines;
    for (std::string& text : lines) {
        const auto line = reader.next();
        if (!line || !line->complete)
            reportFatal(format("Couldn't read first 5 line of file %s", path.c_str()));
        text = withoutReturn(line->text);
    }
    return lines;
}

char findDelimiter(const std::string& line) {
    for (const char candidate : {'\t', ';', ','})
        if (line.find(candidate) != std::string::npos) return candidate;
    reportFatal("Expected CSV column delimiter to be one of \\t/;/,");
}

// Notes ahead of the table hold another number of delimiters than its rows.
std::size_t findHeader(const HeadLines& lines, char delimiter) {
    const auto count = [&](const std::string& line) {
        return std::count(line.begin(), line.end(), delimiter);
    };
    std::size_t index = 0;
    while (count(lines[index]) != count(lines.back()))
        ++index;
    return index;
}

struct Column {
    std::string name;
    std::string unit;
};

Column columnOf(std::string_view cell) {
    std::string_view unit;
    const std::size_t open = cell.find('(');
    if (open != std::string_view::npos) {
        unit = cell.substr(open + 1);
        unit = unit.substr(0, unit.find(')'));
    }
    Column column{toValidUtf8(trimmed(cell.substr(0, open))), toValidUtf8(unit)};
    std::replace(column.name.begin(), column.name.end(), '.', '_');
    return column;
}

std::vector<Column> splitHeader(const std::string& row, char delimiter) {
    std::vector<Column> columns;
    Cells cells(row, delimiter);
    for (auto cell = cells.next(); cell && !trimmed(*cell).empty(); cell = cells.next()) {
        if (columns.size() > kMostColumns) {
            report(
                Level::kWarning,
                format("CSV table has more than %zu columns, the rest is ignored", kMostColumns));
            break;
        }
        columns.push_back(columnOf(*cell));
    }
    if (!columns.empty()) columns.erase(columns.begin());  // the time
    return columns;
}

void addColumns(const std::shared_ptr<Message>& message, const std::vector<Column>& columns) {
    std::map<std::string, unsigned> uses;
    for (const Column& column : columns) {
        // Columns of one name are all kept, under names of their own.
        std::string name = column.name;
        while (message->signalsByName.contains(name))
            name = column.name + "_" + std::to_string(++uses[column.name] + 1);
        auto signal = std::make_shared<Signal>(message, name);
        signal->unit = column.unit;
        message->addSignal(name, signal);
    }
}

void setUnits(Message& message, const std::string& row, char delimiter) {
    Cells cells(row, delimiter);
    cells.next();
    for (const auto& signal : message.signals) {
        const auto cell = cells.next();
        if (!cell) return;
        signal->unit = toValidUtf8(trimmed(*cell));
    }
}

// Reads the rows of all files into the signals. Its state runs on from file to file.
class TableReader {
  public:
    TableReader(Store& store, const Message& message) : store_(store), message_(message) {}

    bool readFile(const std::string& path) {
        LineReader reader(path, kLongestLine);
        if (!reader.isOpen()) {
            report(Level::kWarning, format("Couldn't open file %s\n", path.c_str()));
            store_.running = false;
            return false;
        }
        std::uint64_t untimed = 0;
        std::uint64_t tooLong = 0;
        while (const auto line = reader.next()) {
            if (!store_.running) return false;
            if (store_.csvRowsToSkip > 0) {
                --store_.csvRowsToSkip;
            } else if (!line->complete) {
                ++tooLong;
            } else if (!readRow(withoutReturn(line->text)) && ++untimed <= kMostRowsTold) {
                const std::string row = toValidUtf8(line->text.substr(0, kLongestRowTold));
                report(Level::kInfo, format("no time, skip row: %s", row.c_str()));
            }
        }
        tellSkipped(path, untimed, tooLong);
        return true;
    }

    [[nodiscard]] bool hasRows() const { return hasRows_; }
    [[nodiscard]] std::uint64_t lastTime() const { return static_cast<std::uint64_t>(last_); }

  private:
    // False: the row begins with no time.
    bool readRow(std::string_view row) {
        Cells cells(row, store_.csvDelimiter);
        const auto seconds = parseNumber(*cells.next());
        const auto time =
            seconds ? toMilliseconds(seconds->value, static_cast<double>(store_.csvTimeScale))
                    : std::nullopt;
        if (!time) return false;
        if (cells.done()) return true;  // a row of a time alone holds nothing
        const auto placed = placeInTime(*time);
        if (placed) addRow(cells, *placed);
        return placed.has_value();
    }

    // Empty beyond the times that can be told, where sums would overflow.
    std::optional<std::uint64_t> placeInTime(std::int64_t scaled) {
        constexpr std::int64_t kMostTime = std::int64_t{1} << 61;
        std::int64_t time = scaled + offset_;
        if (time > kMostTime) return std::nullopt;
        // Before the first row comes the time 0: a table may begin ahead of its trigger.
        if (time < last_) {
            offset_ = last_ - scaled;
            time = last_;
        }
        if (!hasRows_) {
            hasRows_ = true;
            store_.parseFirstTime = static_cast<std::uint64_t>(time);
            if (!store_.intervalSet) store_.intervalStart = static_cast<std::uint64_t>(time);
        }
        last_ = time;
        return static_cast<std::uint64_t>(time);
    }

    void addRow(Cells& cells, std::uint64_t time) {
        for (const auto& signal : message_.signals) {
            const auto cell = cells.next();
            if (!cell) return;
            if (trimmed(*cell).empty()) continue;
            const auto number = parseNumber(*cell);
            signal->addSample(time, number ? number->value : 0.0);
        }
    }

    static void tellSkipped(const std::string& path, std::uint64_t untimed, std::uint64_t tooLong) {
        if (untimed > kMostRowsTold)
            report(Level::kInfo, format("%llu rows of %s have no time and were skipped",
                                        static_cast<unsigned long long>(untimed), path.c_str()));
        if (tooLong > 0)
            report(Level::kWarning,
                   format("%llu rows of %s are longer than %zu bytes and were skipped",
                          static_cast<unsigned long long>(tooLong), path.c_str(), kLongestLine));
    }

    Store& store_;
    const Message& message_;
    std::int64_t offset_ = 0;  // ms
    std::int64_t last_ = 0;    // ms; of the row before
    bool hasRows_ = false;
};

void readTables(Store& store, ImportPass& pass) {
    if (store.csvParsed) return;
    store.csvParsed = true;
    const auto interface = store.findInterfaceByNumber(kCsvInterface);
    const auto message = interface ? interface->findById(0) : nullptr;
    if (!message) reportFatal("No CSV interface created");
    TableReader reader(store, *message);
    bool complete = true;
    for (std::size_t i = 0; i < store.logFiles.size() && complete; ++i) {
        pass.tellProgress(i, store.logFiles.size());
        complete = reader.readFile(store.logFiles[i]);
    }
    if (complete) pass.tellProgress(store.logFiles.size(), store.logFiles.size());
    if (!reader.hasRows()) return;
    store.parseLastTime = reader.lastTime();
    if (!store.intervalSet) store.intervalEnd = reader.lastTime();
    store.firstTime = store.parseFirstTime.load();
    store.lastTime = reader.lastTime();
}

}  // namespace

void prepareCsvImport(Store& store) {
    const auto interface = store.addInterface("CSV", kCsvInterface);
    const auto message = std::make_shared<Message>(0, "All", interface);
    interface->addMessage(message);
    if (store.logFiles.empty()) reportFatal("No CSV files given ...");

    const HeadLines lines = readHead(store.logFiles.front());
    const char delimiter = findDelimiter(lines.back());
    report(Level::kInfo, format("CSV delimiter is: '%c'", delimiter));
    const std::size_t header = findHeader(lines, delimiter);
    addColumns(message, splitHeader(lines[header], delimiter));

    if (header + 1 == lines.size()) reportFatal("Out of lines");
    const std::string& second = lines[header + 1];
    store.csvRowsToSkip = header + 1;
    if (parseNumber(*Cells(second, delimiter).next())) {
        report(Level::kInfo, "No second row with units found");
    } else {
        setUnits(*message, second, delimiter);
        ++store.csvRowsToSkip;
    }
    store.csvDelimiter = delimiter;
    store.csvParsed = false;
}

void importCsvFiles(Store& store) {
    ImportPass pass(store);
    pass.startMessages();
    readTables(store, pass);
    pass.finish();
    if (store.hooks.timeBaseListener)
        store.hooks.timeBaseListener(store.parseLastTime, store.timeBase);
}

}  // namespace trelis
