#pragma once
#include <mbedtls/aes.h>

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace trelis::sim {

/// The sending side of an encrypted connection: AES-128-CBC with HMAC-SHA1 of the cipher text, both
/// under the first 16 bytes of SHA-1 over the IV, 16 zero bytes and the user's key text.
class StreamCipher {
  public:
    static constexpr std::size_t kUnit = 16;
    static constexpr std::size_t kTagSize = 20;

    /// Throws std::runtime_error if the library refuses.
    StreamCipher(std::string_view keyText, const std::array<std::uint8_t, kUnit>& iv);
    StreamCipher(const StreamCipher&) = delete;
    StreamCipher& operator=(const StreamCipher&) = delete;
    ~StreamCipher();

    /// What the stream begins with.
    const std::array<std::uint8_t, kUnit>& head() const { return head_; }

    /// Length, cipher text and tag; `plain` is a whole number of units.
    std::vector<std::uint8_t> frame(std::span<const std::uint8_t> plain);

  private:
    std::array<std::uint8_t, kUnit> head_;
    std::array<std::uint8_t, kUnit> chain_;  // the last cipher block
    std::array<std::uint8_t, kUnit> key_{};
    mbedtls_aes_context aes_{};
};

}  // namespace trelis::sim
