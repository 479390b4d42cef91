#include "input/AscImport.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "input/FieldScanner.h"
#include "input/HandleRecord.h"
#include "input/ImportPass.h"
#include "input/LineReader.h"
#include "model/ParseNumber.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr std::size_t kLongestLine = 100;  // a frame takes some 60 bytes

constexpr int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

struct Fields {
    std::string_view time;
    std::uint32_t channel = 0;  // this and the length: as their low eight bits
    std::string_view id;
    bool extended = false;
    std::uint32_t length = 0;
    std::string_view data;
};

// "Rx d %hhu %[0-9A-Fa-f ]"; a frame of no bytes has none.
bool scanData(FieldScanner& scanner, Fields& fields) {
    scanner.blanks().literal("Rx").blanks().literal("d").number(fields.length).blanks();
    fields.data = scanner.rest();
    const auto end = std::find_if_not(fields.data.begin(), fields.data.end(),
                                      [](char c) { return c == ' ' || hexDigit(c) >= 0; });
    fields.data = fields.data.substr(0, static_cast<std::size_t>(end - fields.data.begin()));
    const bool isEmpty = static_cast<std::uint8_t>(fields.length) == 0;
    return scanner.matched() && (isEmpty || !fields.data.empty());
}

std::optional<Fields> scanLine(std::string_view line) {
    Fields fields;
    FieldScanner standard(line);
    standard.word(fields.time).number(fields.channel).blanks();
    FieldScanner extended = standard;
    fields.extended = true;
    if (scanData(extended.upTo('x', fields.id).literal("x"), fields)) return fields;
    fields.extended = false;
    if (scanData(standard.word(fields.id), fields)) return fields;
    return std::nullopt;
}

// The next hexadecimal number, as strtoul reads it: 0 if there is none, all ones if it is too
// large. Removes it from the text.
std::uint64_t takeHex(std::string_view& text) {
    while (!text.empty() && isScanSpace(text.front()))
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
    while (!id.empty() && isScanSpace(id.front()))
        id.remove_prefix(1);
    if (id.starts_with("0x") || id.starts_with("0X")) id.remove_prefix(2);
    if (!time || id.empty() || hexDigit(id.front()) < 0) return std::nullopt;

    Frame frame;
    frame.timestamp = static_cast<std::uint32_t>(*time);
    frame.id = static_cast<std::uint32_t>(takeHex(id)) & kIdMask;
    if (fields->extended) frame.id |= kExtendedIdFlag;
    frame.dlc = static_cast<std::uint8_t>(fields->length);
    frame.interface = static_cast<std::uint8_t>(fields->channel - 1);
    std::string_view data = fields->data;
    for (unsigned i = 0; i < dataLength(frame.dlc); ++i)
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
