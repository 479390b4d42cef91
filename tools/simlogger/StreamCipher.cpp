#include "StreamCipher.h"

#include <mbedtls/md.h>
#include <mbedtls/platform_util.h>

#include <algorithm>
#include <stdexcept>

namespace trelis::sim {

namespace {

const mbedtls_md_info_t* sha1() {
    return mbedtls_md_info_from_type(MBEDTLS_MD_SHA1);
}

void check(int result) {
    if (result != 0) throw std::runtime_error("the cipher library failed");
}

}  // namespace

StreamCipher::StreamCipher(std::string_view keyText, const std::array<std::uint8_t, kUnit>& iv)
    : head_(iv), chain_(iv) {
    std::vector<std::uint8_t> salted(iv.begin(), iv.end());
    salted.resize(2 * kUnit, 0);
    salted.insert(salted.end(), keyText.begin(), keyText.end());
    std::array<std::uint8_t, kTagSize> digest{};
    check(mbedtls_md(sha1(), salted.data(), salted.size(), digest.data()));
    std::copy_n(digest.begin(), key_.size(), key_.begin());
    mbedtls_platform_zeroize(salted.data(), salted.size());
    mbedtls_platform_zeroize(digest.data(), digest.size());
    mbedtls_aes_init(&aes_);
    check(mbedtls_aes_setkey_enc(&aes_, key_.data(), 8 * kUnit));
}

StreamCipher::~StreamCipher() {
    mbedtls_aes_free(&aes_);
    mbedtls_platform_zeroize(key_.data(), key_.size());
}

std::vector<std::uint8_t> StreamCipher::frame(std::span<const std::uint8_t> plain) {
    std::vector<std::uint8_t> bytes(4 + plain.size() + kTagSize);
    for (std::size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(plain.size() >> (8 * i));
    std::uint8_t* cipher = bytes.data() + 4;
    check(mbedtls_aes_crypt_cbc(&aes_, MBEDTLS_AES_ENCRYPT, plain.size(), chain_.data(),
                                plain.data(), cipher));
    check(mbedtls_md_hmac(sha1(), key_.data(), key_.size(), cipher, plain.size(),
                          cipher + plain.size()));
    return bytes;
}

}  // namespace trelis::sim
