#include "config/LiveAddress.h"

#include <cstdlib>
#include <limits>

#include "app/diagnostics/Report.h"

namespace trelis {

LiveAddress splitAddress(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == std::string::npos) return {text, {}};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

std::string joinAddress(const LiveAddress& address) {
    const bool isDefault = address.port.empty() || address.port == kDefaultPortText;
    return isDefault ? address.host : address.host + ":" + address.port;
}

std::int32_t readPort(const std::string& text) {
    constexpr std::int32_t kDefaultPort = 777;
    if (text.empty()) return kDefaultPort;
    const long port = std::strtol(text.c_str(), nullptr, 0);
    if (port > 0 && port < std::numeric_limits<std::int32_t>::max())
        return static_cast<std::int32_t>(port);
    report(Level::kWarning, format("Invalid port '%s', using 777 (default)", text.c_str()));
    return kDefaultPort;
}

}  // namespace trelis
