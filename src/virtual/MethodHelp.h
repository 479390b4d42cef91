// What every method and its keys mean: one table for the help text, the help pages and the editor.
#pragma once

#include <span>
#include <string_view>

namespace trelis {

/// What the value of a key is.
enum class KeyKind {
    kSignal,      ///< a reference <interface>.<message>.<signal>
    kSignalList,  ///< one reference a key, numbered from 01 up to the first missing number
    kNumber,
    kNumberList,  ///< numbered like kSignalList
    kInteger,
    kFlag,  ///< true or false
    kText,
    kChoice,  ///< one of the words in KeyHelp::choices
    kPoint,   ///< latitude;longitude in decimal degrees
    kPath,
};

struct KeyHelp {
    std::string_view key;          ///< of a numbered key the first one
    std::string_view alternative;  ///< second spelling, only looked at without the first; or empty
    KeyKind kind = KeyKind::kText;
    std::string_view unit;  ///< of the value, or empty
    bool mandatory = false;
    std::string_view fallback;  ///< value without the key; empty: none, or mandatory
    std::string_view help;      ///< one line
    std::string_view choices;   ///< words with a blank between them
};

struct MethodHelp {
    std::string_view method;  ///< value of the key `method`
    std::string_view help;    ///< one line
    std::span<const KeyHelp> keys;
    std::string_view example;  ///< a whole group with comments
};

/// All methods.
std::span<const MethodHelp> methodKeys();

/// The options that every group may hold besides the keys of its method.
std::span<const KeyHelp> commonKeys();

/// The keys of the group `settings`; N in a key stands for an interface number.
std::span<const KeyHelp> settingsKeys();

/// The word for a kind, such as "signal" or "true|false".
std::string_view kindWord(KeyKind kind);

}  // namespace trelis
