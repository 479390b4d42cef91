#include "model/builtin/ErrorMessage.h"

#include <algorithm>
#include <array>
#include <map>

#include "model/ModelContext.h"

namespace trelis {
namespace {

using Labels = std::map<std::int32_t, std::string>;

constexpr const char* kUnspecified = "Unspec";
constexpr std::uint32_t kTransmitTimeout = 1;  // flag of an error frame's id
constexpr std::uint32_t kFirstDropId = 0x20000100;
constexpr std::uint32_t kLastDropId = 0x20000102;

// A count, the comment on it, the data byte that describes the error (below 0: none), and the
// description made of it. Entry k counts the frames with bit k + 1 of the id.
struct Kind {
    const char* name;
    const char* comment;
    int describedBy = -1;
    const char* description = nullptr;
    const char* descriptionComment = nullptr;
};

constexpr std::array<Kind, 8> kKinds = {{
    {"CountLostArb", "Count of how many times arbitration was lost", 0, "LostArbPos",
     "Which bit arbitration was lost at"},
    {"CountCtrlErr", "Count of errors caused by controller problems", 1, "DescriptionCtrlErr",
     "Description of what caused last controller error"},
    {"CountProtErr", "Count of errors caused by CAN protocol violations", 2, "DescriptionProtErr",
     "Description of what caused last protocol error"},
    {"CountTrxErr", "Count of status errors from CAN transceiver", 4, "DescriptionTrxErr",
     "Description of what caused last transceiver error"},
    {"CountAckErr", "Count of errors caused by no ACK being received on transmission"},
    {"CountBusOff", "How many times the CAN controller has entered the 'bus off' state"},
    {"CountBusErr", "Count of errors on the bus"},
    {"CountCtrlRestart", "How many times the CAN controller has restarted"},
}};

// By the byte that describes, see Kind::describedBy.
Labels labelsOf(int describedBy) {
    switch (describedBy) {
        case 1:
            return {{0, kUnspecified}, {1, "RXOvf"},      {2, "TXOvf"},      {4, "RXWarn"},
                    {8, "TXWarn"},     {16, "RXPassive"}, {32, "TXPassive"}, {64, "ErrActive"}};
        case 2:
            return {{0, kUnspecified},  {1, "BitErr"},     {2, "FrameFormat"},
                    {4, "BitStuffErr"}, {8, "BitDomErr"},  {16, "BitRecErr"},
                    {32, "Overload"},   {64, "ActiveErr"}, {128, "TXErr"}};
        case 4:
            return {{0, kUnspecified},       {4, "No CANH wire"},    {5, "CANH short bat"},
                    {6, "CANH short VCC"},   {7, "CANH short GND"},  {64, "No CANL wire"},
                    {80, "CANL short bat"},  {96, "CANL short VCC"}, {112, "CANL short GND"},
                    {128, "CANL short CANH"}};
        default:
            return {{0, kUnspecified}};
    }
}

}  // namespace

ErrorMessage::ErrorMessage(const std::string& messageName,
                           const std::shared_ptr<CanIface>& interface)
    : Message(kId, messageName, interface) {}

std::shared_ptr<ErrorMessage> ErrorMessage::create(const std::string& name,
                                                   const std::shared_ptr<CanIface>& interface,
                                                   bool forLogger) {
    auto message = std::make_shared<ErrorMessage>(name, interface);
    forLogger ? message->addLoggerSignals() : message->addBusSignals();
    return message;
}

std::shared_ptr<ErrorSignal> ErrorMessage::addErrorSignal(const char* signalName,
                                                          const char* text) {
    auto signal = std::make_shared<ErrorSignal>(shared_from_this(), signalName);
    signal->comment = text;
    addSignal(signalName, signal);
    return signal;
}

void ErrorMessage::addBusSignals() {
    comment = "Bus errors reported by the CAN controller";
    for (const Kind& kind : kKinds) {
        auto count = addErrorSignal(kind.name, kind.comment);
        if (kind.description != nullptr) {
            count->description = addErrorSignal(kind.description, kind.descriptionComment);
            count->description->valueLabels = labelsOf(kind.describedBy);
        }
        counts_.push_back(std::move(count));
    }
}

void ErrorMessage::addLoggerSignals() {
    comment = "Errors reported by the logger";
    counts_.push_back(
        addErrorSignal("CountMsgDrop", "Count of dropped messages due to logger being overloaded"));
}

bool ErrorMessage::startWorker() {
    context().wantErrors = true;
    for (const auto& count : counts_)
        count->restart();
    return isWanted();
}

bool ErrorMessage::isWanted() const {
    return std::any_of(signals.begin(), signals.end(),
                       [](const auto& signal) { return signal->needsParse; });
}

void ErrorMessage::addErrorTo(ErrorSignal& signal, std::uint64_t time, std::int32_t what,
                              std::int64_t explicitCount) {
    if (signal.wantsEvents()) signal.addEvent(time, what, explicitCount);
}

void ErrorMessage::postFrame(const Frame& frame, std::uint64_t absoluteTime) {
    if (counts_.empty()) return;
    if (frame.interface == kLoggerInterface) {
        if (frame.dlc != 8 || frame.id < kFirstDropId || frame.id > kLastDropId) return;
        std::uint32_t dropped = 0;
        for (std::size_t i = 0; i < 4; ++i)
            dropped |= std::uint32_t{frame.data[4 + i]} << (8 * i);
        addErrorTo(*counts_.front(), absoluteTime, 0, dropped);
        return;
    }
    if ((frame.id & kTransmitTimeout) != 0) return;
    for (std::size_t kind = 0; kind < counts_.size(); ++kind) {
        if ((frame.id >> (kind + 1) & 1U) == 0) continue;
        const int byte = kKinds[kind].describedBy;
        const bool described = byte >= 0 && frame.dlc > byte;
        const std::int32_t what = described ? frame.data[static_cast<std::size_t>(byte)] : 0;
        addErrorTo(*counts_[kind], absoluteTime, what, -1);
    }
}

void ErrorMessage::clearMessage() {
    for (const auto& count : counts_)
        count->description.reset();
    counts_.clear();
    Message::clearMessage();
}

}  // namespace trelis
