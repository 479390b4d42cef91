#include "input/DbcReader.h"

#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <stdexcept>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/DbcFaults.h"
#include "input/DbcScan.h"
#include "input/FieldScanner.h"
#include "model/RealMessage.h"

namespace trelis {
namespace {

/// Lines of that many bytes or more are no message, signal or value type lines: part of the format.
constexpr std::size_t kLineBound = 100;
constexpr std::size_t kLongestText = 256;  // names and labels of a value table
constexpr std::size_t kDataBits = 64;
constexpr char kEmptyMark = 0x01;  // stands for the text between two adjoining quotes
constexpr std::string_view kNoRealMessage = "VECTOR__INDEPENDENT_SIG_MSG";
constexpr std::uint32_t kFloatType = 1;
constexpr std::uint32_t kDoubleType = 2;

/// One reading of one file.
class DbcReader {
  public:
    DbcReader(Store& store, const std::string& path, std::uint32_t interfaceNumber,
              const DbcReadOptions& options)
        : store_(store),
          path_(path),
          shownPath_(toValidUtf8(path)),
          interfaceNumber_(interfaceNumber),
          options_(options),
          faults_(shownPath_, options) {}

    void read(const std::string& interfaceName);

  private:
    bool open();
    bool nextLine();
    void handleLine();
    bool readMessageLine();
    bool readSignalLine();
    bool readValueTypeLine();
    void readValueTable();
    void readDbcComment(bool isMessage);

    void addSignal(const DbcSignalLine& line);
    void addMultiplexor(const DbcSignalLine& line);
    [[nodiscard]] std::shared_ptr<RealSignal> makeSignal(const DbcSignalLine& line) const;
    [[nodiscard]] bool readMultiplexValue(const DbcSignalLine& line, std::int32_t& value);
    void noteShape(const DbcSignalLine& line, const std::string& name);
    void setValueType(RealSignal& signal, const DbcValueTypeLine& line);
    void noteUnreadable();
    void noteLongLine();
    [[nodiscard]] std::shared_ptr<Signal> findSignal(std::uint32_t id, std::string_view name);
    [[nodiscard]] std::string takeText(std::string_view text) const;

    void note(DefinitionFault fault, const std::string& text, bool endsLoad = false) {
        faults_.note(fault, lineNumber_, text, endsLoad);
    }
    void failUnlessTolerant(DefinitionFault fault, const std::string& text) {
        faults_.failUnlessTolerant(fault, lineNumber_, text);
    }

    Store& store_;
    const std::string path_;
    const std::string shownPath_;
    const std::uint32_t interfaceNumber_;
    const DbcReadOptions& options_;
    std::ifstream stream_;
    std::string line_;
    std::uint64_t lineNumber_ = 0;
    bool scannable_ = false;  // the line is short enough for the fixed patterns
    std::shared_ptr<CanIface> interface_;
    std::shared_ptr<RealMessage> currentMessage_;
    bool skipSignals_ = false;
    DbcFaults faults_;
};

// ---- lines

bool DbcReader::open() {
    struct stat status {};
    const bool exists = ::stat(path_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        const std::string text =
            format("Could not open DBC file %s, path is a directory", shownPath_.c_str());
        note(DefinitionFault::kUnreadableFile, text, true);
        reportFatal(text);
    }
    // A pipe or a device, which a definition file could name, may never end.
    if (!exists || S_ISREG(status.st_mode)) stream_.open(path_);
    if (stream_.is_open()) return true;
    const std::string text = format("Could not open DBC file: %s", shownPath_.c_str());
    note(DefinitionFault::kUnreadableFile, text);
    report(Level::kWarning, text);
    return false;
}

void DbcReader::read(const std::string& interfaceName) {
    if (!open()) return;
    interface_ = store_.findInterfaceByNumber(interfaceNumber_);
    if (!interface_) interface_ = store_.addInterface(interfaceName, interfaceNumber_);
    while (nextLine())
        handleLine();
    store_.dbcLoaded = true;
    faults_.tell();
}

bool DbcReader::nextLine() {
    if (!std::getline(stream_, line_)) return false;
    // Texts end at a zero byte, which only a damaged file holds.
    if (const auto zero = line_.find('\0'); zero != std::string::npos) line_.resize(zero);
    ++lineNumber_;
    return true;
}

void DbcReader::handleLine() {
    const bool isValueTable = line_.starts_with("VAL_ ");
    // The pattern of a signal wants at least one character of unit, so an empty text becomes a mark
    // and what stands behind it is lost.
    if (const auto pair = line_.find("\"\""); pair != std::string::npos) {
        if (isValueTable) note(DefinitionFault::kEmptyLabel, "empty label in: " + takeText(line_));
        if (!options_.tolerant || !(isValueTable || line_.starts_with("CM_ "))) {
            line_.resize(pair + 1);
            line_.append({kEmptyMark, '"'});
        }
    }
    const bool isLong = line_.size() >= kLineBound;
    scannable_ = options_.tolerant || !isLong;
    if (scannable_ && (readMessageLine() || readSignalLine() || readValueTypeLine())) {
        if (isLong) noteLongLine();
        return;
    }
    if (isValueTable) {
        readValueTable();
    } else if (line_.starts_with("CM_ BO_") || line_.starts_with("CM_ SG_")) {
        readDbcComment(line_.starts_with("CM_ BO_"));
    } else {
        noteUnreadable();
    }
}

void DbcReader::noteUnreadable() {
    if (!options_.sink && !options_.tolerant) return;
    std::string_view rest = line_;
    while (!rest.empty() && isScanSpace(rest.front()))
        rest.remove_prefix(1);
    for (const std::string_view word : {"BO_", "SG_", "SIG_VALTYPE_"}) {
        if (!rest.starts_with(word)) continue;
        rest.remove_prefix(word.size());
        // The words stand alone in the list of symbols, and in front of an underscore in others.
        const bool hasFields = rest.find_first_of("0123456789:") != std::string_view::npos &&
                               isScanSpace(rest.front());
        if (!hasFields || (skipSignals_ && word == "SG_")) return;
        if (!scannable_)
            noteLongLine();
        else if (word == "SG_" && !currentMessage_ && scanDbcSignal(line_))
            note(DefinitionFault::kNoMessage, takeText(line_));
        else
            note(DefinitionFault::kUnreadableLine, takeText(line_));
        return;
    }
}

void DbcReader::noteLongLine() {
    note(DefinitionFault::kLongLine, format("%zu bytes: ", line_.size()) + takeText(line_));
}

// ---- messages

bool DbcReader::readMessageLine() {
    const auto scanned = scanDbcMessage(line_);
    if (!scanned) return false;
    std::string_view name = scanned->name;
    if (options_.tolerant)
        while (name.size() > 1 && isScanSpace(name.back()))
            name.remove_suffix(1);
    if (name == kNoRealMessage) {
        skipSignals_ = true;
        return true;
    }
    skipSignals_ = false;
    if (auto existing = interface_->findById(scanned->id)) {
        note(DefinitionFault::kDuplicateMessage,
             format("message '%s' has the id %u of message '%s'", toValidUtf8(name).c_str(),
                    scanned->id, existing->name.c_str()),
             !options_.tolerant);
        if (options_.tolerant) {
            currentMessage_ = std::dynamic_pointer_cast<RealMessage>(existing);
            return true;
        }
    }
    currentMessage_ = RealMessage::create(scanned->id, toValidUtf8(name), interface_);
    interface_->addMessage(currentMessage_);
    return true;
}

// ---- signals

bool DbcReader::readSignalLine() {
    if (skipSignals_ || !currentMessage_) return false;
    const auto scanned = scanDbcSignal(line_);
    if (!scanned) return false;
    addSignal(*scanned);
    return true;
}

std::shared_ptr<RealSignal> DbcReader::makeSignal(const DbcSignalLine& line) const {
    const bool hasUnit = line.unit.front() != kEmptyMark;
    auto signal = RealSignal::create(currentMessage_, toValidUtf8(line.name), line.startBit,
                                     line.bitLength, static_cast<std::int32_t>(line.byteOrder),
                                     line.sign, hasUnit ? toValidUtf8(line.unit) : std::string(),
                                     line.factor, line.offset, line.minimum, line.maximum);
    if (options_.tolerant) signal->decodeWide();
    return signal;
}

void DbcReader::addSignal(const DbcSignalLine& line) {
    const std::string name = toValidUtf8(line.name);
    const bool taken = currentMessage_->signalsByName.contains(name);
    if (taken && options_.tolerant) {
        note(DefinitionFault::kDuplicateSignal, "signal " + name);
        return;
    }
    const bool indicated = !line.indicator.empty();
    std::int32_t muxValue = kPlainSignal;
    if (line.indicator.starts_with('M')) {
        currentMessage_->multiplexor = makeSignal(line);
        currentMessage_->multiplexor->muxValue = kMultiplexor;
    } else if (line.indicator.starts_with('m') && !readMultiplexValue(line, muxValue)) {
        failUnlessTolerant(
            DefinitionFault::kBadMultiplexMark,
            format("Expected number after 'm' in multiplexed signal: %s", name.c_str()));
    }
    const auto signal = makeSignal(line);
    signal->muxValue = muxValue;
    if (!currentMessage_->addSignal(name, signal))
        failUnlessTolerant(DefinitionFault::kDuplicateSignal,
                           format(indicated ? "Couldn't insert multiplexed signal: %s"
                                            : "Couldn't insert signal %s",
                                  name.c_str()));
    noteShape(line, name);
}

// The number behind an `m` as strtol reads it: saturating, and then its low 32 bits.
bool DbcReader::readMultiplexValue(const DbcSignalLine& line, std::int32_t& value) {
    std::uint32_t number = 0;
    if (!FieldScanner(line.indicator.substr(1)).number(number).matched()) return false;
    value = static_cast<std::int32_t>(number);
    return true;
}

void DbcReader::noteShape(const DbcSignalLine& line, const std::string& name) {
    const std::uint64_t first = line.byteOrder != 0
                                    ? line.startBit
                                    : std::uint64_t{line.startBit} / 8 * 8 + 7 - line.startBit % 8;
    if (line.bitLength > kDataBits)
        note(DefinitionFault::kOverwideSignal, format("%s: %u bits", name.c_str(), line.bitLength));
    else if (line.bitLength > 32)
        note(DefinitionFault::kWideSignal, format("%s: %u bits", name.c_str(), line.bitLength));
    if (first + line.bitLength > kDataBits)
        note(DefinitionFault::kOutsideData,
             format("%s: %u bits from bit %u on", name.c_str(), line.bitLength, line.startBit));
}

// ---- value types

bool DbcReader::readValueTypeLine() {
    const auto scanned = scanDbcValueType(line_);
    if (!scanned) return false;
    const std::string name = toValidUtf8(scanned->signal);
    if (options_.tolerant && scanned->type == 0) return true;  // an integer, as all are
    if (scanned->type != kFloatType && !(options_.tolerant && scanned->type == kDoubleType)) {
        const auto fault = scanned->type == kDoubleType ? DefinitionFault::kDoubleSignal
                                                        : DefinitionFault::kBadValueType;
        failUnlessTolerant(
            fault, format("Only SIG_VALTYPE_ : 1 (float) is allowed, signal: %s", name.c_str()));
        return true;
    }
    const auto signal = findSignal(scanned->id, scanned->signal);
    if (auto* real = dynamic_cast<RealSignal*>(signal.get()); real != nullptr)
        setValueType(*real, *scanned);
    return true;
}

void DbcReader::setValueType(RealSignal& signal, const DbcValueTypeLine& line) {
    if (options_.tolerant) {
        if (!signal.setFloatOfWidth(line.type == kDoubleType ? 64 : 32))
            note(DefinitionFault::kBadValueType,
                 format("%s: a float of %u bits", signal.name.c_str(), signal.bitLength));
        else if (line.type == kDoubleType)
            note(DefinitionFault::kDoubleSignal, signal.name);
        return;
    }
    if (!signal.byteAligned || signal.bitLength != 32)
        note(DefinitionFault::kBadValueType,
             format("%s: a float must be 32 bits on 4 whole bytes", signal.name.c_str()), true);
    signal.setFloat();
}

// ---- value tables

// The look-ups throw for what is not there; read tolerantly they give an empty pointer.
std::shared_ptr<Signal> DbcReader::findSignal(std::uint32_t id, std::string_view name) {
    try {
        return store_.getMessage(interfaceNumber_, id)->getSignal(toValidUtf8(name));
    } catch (const std::exception& error) {  // std::invalid_argument or SignalNotFoundException
        note(DefinitionFault::kUnknownTarget, error.what(), !options_.tolerant);
        if (!options_.tolerant) throw;
        return nullptr;
    }
}

void DbcReader::readValueTable() {
    const auto table = scanDbcValueTable(line_, options_.tolerant ? line_.size() : kLongestText);
    if (!table) return;
    const auto signal = findSignal(table->id, table->signal);
    if (!signal) return;
    for (const auto& [value, label] : table->labels)
        signal->valueLabels[value] = takeText(label);
}

// A text cut in the middle of a UTF-8 character loses the half.
std::string DbcReader::takeText(std::string_view text) const {
    std::string valid = toValidUtf8(text);
    if (options_.tolerant || text.size() < kLongestText) return valid;
    for (std::size_t lost = 0; lost < 4 && lost < text.size(); ++lost) {
        const std::string_view shorter = text.substr(0, text.size() - lost);
        if (toValidUtf8(shorter) == shorter) return std::string(shorter);
    }
    return valid;
}

// ---- comments

void DbcReader::readDbcComment(bool isMessage) {
    std::string_view rest = line_;
    rest.remove_prefix(std::min(rest.find_first_of("0123456789"), rest.size()));
    const std::uint32_t id = takeDbcDigits(rest);
    std::string* comment = nullptr;
    std::shared_ptr<Message> message = interface_->findById(id);
    std::shared_ptr<Signal> signal;
    if (!isMessage && message) {
        std::string_view name;
        FieldScanner(rest).word(name);
        rest.remove_prefix(static_cast<std::size_t>(name.end() - rest.begin()));
        const auto found = message->signalsByName.find(toValidUtf8(name));
        if (found != message->signalsByName.end()) comment = &found->second->comment;
    } else if (message) {
        comment = &message->comment;
    }
    if (comment == nullptr) {
        note(DefinitionFault::kUnknownComment, takeText(line_));
        return;
    }
    const auto opening = rest.find('"');
    if (opening == std::string_view::npos) return;
    rest.remove_prefix(opening + 1);
    std::string text;
    for (;;) {
        const auto closing = rest.find('"');
        text.append(rest.substr(0, closing));
        if (closing != std::string_view::npos) break;
        text.push_back('\n');
        if (!nextLine()) {
            const std::string told = format("Reached end of DBC file before %s comment ended",
                                            isMessage ? "message" : "signal");
            note(DefinitionFault::kOpenComment, told);
            report(Level::kWarning, told);
            return;
        }
        rest = line_;
    }
    *comment = toValidUtf8(text);
}

}  // namespace

void readDbcFile(Store& store, const std::string& path, std::uint32_t interfaceNumber,
                 const std::string& interfaceName, const DbcReadOptions& options) {
    DbcReader(store, path, interfaceNumber, options).read(interfaceName);
}

void readDbcFile(Store& store, const std::string& path, std::uint32_t interfaceNumber,
                 const std::string& interfaceName) {
    readDbcFile(store, path, interfaceNumber, interfaceName,
                DbcReadOptions{.tolerant = store.tolerantDefinitions, .sink = {}});
}

}  // namespace trelis
