// The encrypted layer of a network stream: AES-128-CBC (FIPS 197, NIST SP 800-38A) with
// HMAC-SHA1 (RFC 2104, FIPS 180-4) of the cipher text.
//
// A plain record with free functions that return 0 on success; nothing here throws. Key material is
// wiped when the record is freed or destroyed and never appears in a diagnostic. One thread.
#pragma once

#include <mbedtls/aes.h>
#include <mbedtls/md.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace trelis {

inline constexpr std::size_t kCipherUnit = 16;  ///< bytes of an AES block, of the key and the IV
inline constexpr std::size_t kTagSize = 20;     ///< bytes of a SHA-1 digest

/// The state of one encrypted connection. initCrypt makes it usable.
struct Crypt {
    Crypt() = default;
    Crypt(const Crypt&) = delete;
    Crypt& operator=(const Crypt&) = delete;
    ~Crypt();

    mbedtls_aes_context aes{};
    mbedtls_md_context_t digest{};
    const mbedtls_md_info_t* digestInfo = nullptr;
    std::array<std::uint8_t, kCipherUnit> iv{};   ///< running: the last cipher block seen
    std::array<std::uint8_t, kCipherUnit> key{};  ///< of cipher and tag
    std::int32_t state = 0;                       ///< 1 once initialised
    bool keySet = false;                          ///< startDecryption has run
};

/// 0, 1 for a null record, -1 if the digest is not to be had.
int initCrypt(Crypt* crypt);
/// Derives the key from the user's text and the connection's IV: the first 16 bytes of SHA-1 over
/// the IV, 16 zero bytes and the first `keyLength` bytes of `key`. 0 or 1.
int startDecryption(Crypt* crypt, const char* key, std::size_t keyLength, const std::uint8_t* iv);
/// Runs AES-CBC on from the running IV over `length` bytes, a multiple of 16, which may be 0.
/// `decrypt` is true for what startDecryption prepared.
int cryptData(Crypt& crypt, const std::uint8_t* input, std::uint8_t* output, std::int32_t length,
              bool decrypt);
/// Bytes of a tag.
std::size_t hmacSize(const Crypt& crypt);
/// 0 if the tag (hmacSize bytes) is that of the data, non-zero if not; takes the same time for any
/// wrong tag. -1 if it could not be computed.
int verifyHmac(Crypt& crypt, std::span<const std::uint8_t> data, const std::uint8_t* tag);
/// Wipes and gives back everything; null is fine.
void freeCrypt(Crypt* crypt);

}  // namespace trelis
