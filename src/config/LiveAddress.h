// A logger's address as users write it: <host> or <host>:<port>.
#pragma once

#include <cstdint>
#include <string>

namespace trelis {

inline constexpr const char* kDefaultPortText = "777";

struct LiveAddress {
    std::string host;
    std::string port;  ///< empty if the text names none
};

/// Splits at the first colon.
[[nodiscard]] LiveAddress splitAddress(const std::string& text);

/// The text for the user, without the default port.
[[nodiscard]] std::string joinAddress(const LiveAddress& address);

/// The number in a port text: decimal, or hexadecimal behind 0x, or octal behind 0. 777 for an
/// empty text, and with a message at WRN for one that is no port.
[[nodiscard]] std::int32_t readPort(const std::string& text);

}  // namespace trelis
