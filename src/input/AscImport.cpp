#include "input/AscImport.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "input/HandleRecord.h"
#include "input/ImportPass.h"
#include "input/LineReader.h"
#include "model/ParseNumber.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr std::size_t kLongestLine = 100;  // a frame takes some 60 bytes

constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Reads fields as the C function sscanf does. Whatever does not match leaves the position
// undefined.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    // A blank of a pattern: any run of white space, also none.
    void skipBlanks() {
        while (!rest_.empty() && isSpace(rest_.front()))
            rest_.remove_prefix(1);
    }
    // %s
    std::string_view word() {
        skipBlanks();
        return takeWhile([](char c) { return !isSpace(c); });
    }
    // %[...]
    template <class Accept>
    std::string_view takeWhile(Accept accept) {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), accept);
        const auto taken = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(taken.size());
        return taken;
    }
    // %hhu: a sign is allowed, and the number wraps at 256.
    std::optional<std::uint8_t> byte() {
        skipBlanks();
        const bool negative = !rest_.empty() && rest_.front() == '-';
        if (negative || (!rest_.empty() && rest_.front() == '+')) rest_.remove_prefix(1);
        const auto digits = takeWhile([](char c) { return c >= '0' && c <= '9'; });
        if (digits.empty()) return std::nullopt;
        unsigned value = 0;
        for (const char c : digits)
            value = value * 10 + static_cast<unsigned>(c - '0');
        return static_cast<std::uint8_t>(negative ? 0 - value : value);
    }
    bool literal(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

  private:
    std::string_view rest_;
};

struct Fields {
    std::string_view time;
    std::uint8_t channel = 0;
    std::string_view id;
    bool extended = false;
    std::uint8_t length = 0;
    std::string_view data;
};

// "Rx d", the length and the data; a frame of no bytes has none.
bool scanData(Scanner& scanner, Fields& fields) {
    scanner.skipBlanks();
    if (!scanner.literal("Rx")) return false;
    scanner.skipBlanks();
    if (!scanner.literal("d")) return false;
    const auto length = scanner.byte();
    if (!length) return false;
    fields.length = *length;
    scanner.skipBlanks();
    fields.data = scanner.takeWhile([](char c) { return c == ' ' || hexDigit(c) >= 0; });
    return !fields.data.empty() || fields.length == 0;
}

std::optional<Fields> scanLine(std::string_view line) {
    Fields fields;
    Scanner head(line);
    fields.time = head.word();
    const auto channel = head.byte();
    if (fields.time.empty() || !channel) return std::nullopt;
    fields.channel = *channel;

    Scanner extended = head;  // "%[^x]x Rx d %hhu %[0-9A-Fa-f ]"
    extended.skipBlanks();
    fields.id = extended.takeWhile([](char c) { return c != 'x'; });
    fields.extended = true;
    if (!fields.id.empty() && extended.literal("x") && scanData(extended, fields)) return fields;

    fields.id = head.word();
    fields.extended = false;
    if (!fields.id.empty() && scanData(head, fields)) return fields;
    return std::nullopt;
}

// The next hexadecimal number, as strtoul reads it: 0 if there is none, all ones if it is too
// large. Removes it from the text.
std::uint64_t takeHex(std::string_view& text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    for (; !text.empty() && hexDigit(text.front()) >= 0; text.remove_prefix(1))
        value = value > kMost >> 4
                    ? kMost
                    : value << 4 | static_cast<std::uint64_t>(hexDigit(text.front()));
    return value;
}

bool importFile(Store& store, const std::string& path) {
    LineReader reader(path, kLongestLine);
    if (!reader.isOpen()) {
        report(Level::kWarning, format("Couldn't open file %s\n", path.c_str()));
        store.running = false;
        return false;
    }
    store.nextFileStart = 0;
    while (const auto line = reader.next()) {
        if (!store.running) return false;
        if (!line->complete) continue;
        if (const auto frame = parseAscLine(line->text)) handleRecord(store, *frame);
    }
    return true;
}

// Drops what a dump holds if the import ends by an exception.
class DumpEnd {
  public:
    explicit DumpEnd(Store& store) : store_(store) {}
    DumpEnd(const DumpEnd&) = delete;
    DumpEnd& operator=(const DumpEnd&) = delete;
    ~DumpEnd() { store_.ascDump.reset(); }

    void commit() {
        if (store_.ascDump) store_.ascDump->commit();
    }

  private:
    Store& store_;
};

bool wantBitRates(const Store& store) {
    return std::any_of(store.bitRates.begin(), store.bitRates.end(),
                       [](const auto& rate) { return rate && rate->needsParse; });
}

}  // namespace

std::optional<Frame> parseAscLine(std::string_view line) {
    const auto fields = scanLine(line);
    if (!fields) return std::nullopt;
    const auto seconds = parseNumber(fields->time);
    const auto time = seconds ? toMilliseconds(seconds->value, 1000.0) : std::nullopt;
    std::string_view id = fields->id;
    while (!id.empty() && isSpace(id.front()))
        id.remove_prefix(1);
    if (id.starts_with("0x") || id.starts_with("0X")) id.remove_prefix(2);
    if (!time || id.empty() || hexDigit(id.front()) < 0) return std::nullopt;

    Frame frame;
    frame.timestamp = static_cast<std::uint32_t>(*time);
    frame.id = static_cast<std::uint32_t>(takeHex(id)) & kIdMask;
    if (fields->extended) frame.id |= kExtendedIdFlag;
    frame.dlc = fields->length;
    frame.interface = static_cast<std::uint8_t>(fields->channel - 1);
    std::string_view data = fields->data;
    for (unsigned i = 0; i < dataLength(fields->length); ++i)
        frame.data[i] = static_cast<std::uint8_t>(takeHex(data));
    return frame;
}

void importAscFiles(Store& store) {
    resetTimeAxis(store);
    if (!store.dumpAsc && store.counts.pendingCount == 0) return;
    store.buildActiveMaps();
    ImportPass pass(store);
    const bool wanted = pass.startMessages();
    if (!wanted && !wantBitRates(store) && !store.dumpAsc && !store.dumpToFile) return;

    DumpEnd dump(store);
    bool complete = true;
    for (std::size_t i = 0; i < store.logFiles.size() && complete; ++i) {
        pass.tellProgress(i, store.logFiles.size());
        complete = importFile(store, store.logFiles[i]);
    }
    dump.commit();
    if (complete) pass.tellProgress(store.logFiles.size(), store.logFiles.size());
    finishTimeAxis(store);
    pass.finish();
}

}  // namespace trelis
