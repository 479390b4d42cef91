#include "virtual/KeyReading.h"

#include <cstdint>
#include <stdexcept>

#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"

namespace trelis {

std::string numberedKey(const char* stem, unsigned number) {
    return format("%s_%02u", stem, number);
}

double readNumber(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
                  double fallback) {
    return keyFile.has_key(group, key) ? keyFile.get_double(group, key) : fallback;
}

int readInteger(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
                int fallback) {
    return keyFile.has_key(group, key) ? keyFile.get_integer(group, key) : fallback;
}

bool readFlag(const Glib::KeyFile& keyFile, const std::string& group, const char* key,
              bool fallback) {
    return keyFile.has_key(group, key) ? keyFile.get_boolean(group, key) : fallback;
}

std::shared_ptr<Signal> readSignal(ModelContext& context, const Glib::KeyFile& keyFile,
                                   const std::string& group, const std::string& key) {
    return context.getSignal(keyFile.get_string(group, key));
}

std::shared_ptr<Signal> readSingleInput(ModelContext& context, const Glib::KeyFile& keyFile,
                                        const std::string& group) {
    for (const char* key : {"signal", "signal_01"})
        if (keyFile.has_key(group, key)) return readSignal(context, keyFile, group, key);
    throw std::invalid_argument("Missing signal_01");
}

std::uint32_t readStep(const Glib::KeyFile& keyFile, const std::string& group) {
    const int step = keyFile.get_integer(group, "step");
    if (step < 1)
        throw std::invalid_argument(
            format("step must be at least 1 ms for virtual signal %s, not %d",
                   signalNameOfGroup(group).c_str(), step));
    return static_cast<std::uint32_t>(step);
}

std::string signalNameOfGroup(const std::string& group) {
    return group.substr(group.rfind('.') + 1);  // npos + 1 is 0
}

}  // namespace trelis
