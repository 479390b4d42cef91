// Reading the keys of a group: short forms of what the key file offers.
#pragma once

#include <glibmm/keyfile.h>

#include <memory>
#include <string>

namespace trelis {

class ModelContext;
class Signal;

inline constexpr unsigned kMostNumberedKeys = 99;

/// "signal_01" from "signal" and 1.
std::string numberedKey(const char* stem, unsigned number);

/// The value of a key, or the fallback if the group has no such key. Glib::KeyFileError for a value
/// of another kind.
double readNumber(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
                  double fallback);
int readInteger(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
                int fallback);
bool readFlag(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
              bool fallback = false);

/// The signal that the reference under a key names; what ModelContext::getSignal throws.
std::shared_ptr<Signal> readSignal(ModelContext& context, const Glib::KeyFile& keyFile,
                                   const std::string& group, const std::string& key);
/// The same for the input of a method that has one: `signal`, else `signal_01`.
/// std::invalid_argument without either.
std::shared_ptr<Signal> readSingleInput(ModelContext& context, const Glib::KeyFile& keyFile,
                                        const std::string& group);

/// The mandatory key `step` in ms. std::invalid_argument if it is below 1: no loop over steps would
/// ever end.
std::uint32_t readStep(const Glib::KeyFile& keyFile, const std::string& group);

/// The text behind the last point of a group name, or all of it.
std::string signalNameOfGroup(const std::string& group);

}  // namespace trelis
