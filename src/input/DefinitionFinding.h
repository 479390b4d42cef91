// What the readers of definitions pass over, for those who ask.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace trelis {

enum class DefinitionFault {
    kLongLine,          ///< a line too long to be a message, a signal or a value type
    kUnreadableLine,    ///< looks like one of them but does not fit the pattern
    kNoMessage,         ///< a signal in front of all messages
    kWideSignal,        ///< 33 to 64 bits, of which 32 are decoded
    kOverwideSignal,    ///< more than 64 bits
    kOutsideData,       ///< reaches beyond the eight data bytes
    kDuplicateMessage,  ///< an id for the second time
    kDuplicateSignal,
    kBadMultiplexMark,  ///< `m` without a number
    kBadValueType,      ///< a type that is no float, or a float that cannot be one
    kDoubleSignal,      ///< a 64-bit float
    kUnknownTarget,     ///< a value table or type of something that is not defined
    kUnknownComment,    ///< a comment on something that is not defined
    kEmptyLabel,        ///< a label without text cuts its list
    kOpenComment,       ///< a comment that runs to the end of the file
    kUnreadableFile,
    kDuplicateGroup,  ///< the keys of both are one group, or the later file's is not used
    kFailedGroup,     ///< a virtual signal that could not be made
    kBadGroupName,    ///< what stands behind it in the file is not read
    kBadSettings,
};

/// What such a fault is, in the words of a message.
std::string_view faultName(DefinitionFault fault);

/// What reading tolerantly does about a fault.
enum class TolerantMeans {
    kNothing,
    kCostsOnlyItself,  ///< what has the fault is lost, nothing else
    kCostsNothing,     ///< it is read as it was meant
};
TolerantMeans tolerantMeans(DefinitionFault fault);

struct DefinitionFinding {
    DefinitionFault fault = DefinitionFault::kUnreadableLine;
    std::string file;
    std::uint64_t line = 0;  ///< from 1; 0: the file as a whole
    std::string text;        ///< what exactly, valid UTF-8
    bool endsLoad = false;   ///< nothing behind it is read
    bool kept = false;       ///< read tolerantly, so that it cost nothing
};

/// Called on the thread that reads, in the order of reading.
using FindingSink = std::function<void(const DefinitionFinding&)>;

}  // namespace trelis
