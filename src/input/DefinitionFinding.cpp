#include "input/DefinitionFinding.h"

namespace trelis {

std::string_view faultName(DefinitionFault fault) {
    switch (fault) {
        case DefinitionFault::kLongLine:
            return "line of 100 bytes or more";
        case DefinitionFault::kUnreadableLine:
            return "line that cannot be read";
        case DefinitionFault::kNoMessage:
            return "signal outside of a message";
        case DefinitionFault::kWideSignal:
            return "signal of more than 32 bits";
        case DefinitionFault::kOverwideSignal:
            return "signal of more than 64 bits";
        case DefinitionFault::kOutsideData:
            return "signal beyond the data bytes";
        case DefinitionFault::kDuplicateMessage:
            return "message defined twice";
        case DefinitionFault::kDuplicateSignal:
            return "signal defined twice";
        case DefinitionFault::kBadMultiplexMark:
            return "multiplex mark without a number";
        case DefinitionFault::kBadValueType:
            return "value type that does not fit";
        case DefinitionFault::kDoubleSignal:
            return "64-bit float";
        case DefinitionFault::kUnknownTarget:
            return "value table or type of an unknown signal";
        case DefinitionFault::kUnknownComment:
            return "comment on an unknown message or signal";
        case DefinitionFault::kEmptyLabel:
            return "labels cut by an empty text";
        case DefinitionFault::kOpenComment:
            return "comment without an end";
        case DefinitionFault::kUnreadableFile:
            return "file that cannot be read";
        case DefinitionFault::kDuplicateGroup:
            return "group defined twice";
        case DefinitionFault::kFailedGroup:
            return "virtual signal that cannot be made";
        case DefinitionFault::kBadGroupName:
            return "group name of a wrong form";
        case DefinitionFault::kBadSettings:
            return "settings that cannot be used";
    }
    return "unknown fault";
}

TolerantMeans tolerantMeans(DefinitionFault fault) {
    switch (fault) {
        case DefinitionFault::kLongLine:
        case DefinitionFault::kWideSignal:
        case DefinitionFault::kDoubleSignal:
        case DefinitionFault::kEmptyLabel:
            return TolerantMeans::kCostsNothing;
        case DefinitionFault::kDuplicateMessage:
        case DefinitionFault::kDuplicateSignal:
        case DefinitionFault::kBadMultiplexMark:
        case DefinitionFault::kBadValueType:
        case DefinitionFault::kUnknownTarget:
            return TolerantMeans::kCostsOnlyItself;
        default:
            return TolerantMeans::kNothing;
    }
}

}  // namespace trelis
