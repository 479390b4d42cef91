#include "input/stream/Crypt.h"

#include <mbedtls/platform_util.h>

#include <algorithm>

#include "input/stream/StreamLog.h"

namespace trelis {
namespace {

using Digest = std::array<std::uint8_t, MBEDTLS_MD_MAX_SIZE>;

bool deriveKey(Crypt& crypt, std::span<const std::uint8_t> keyText) {
    std::array<std::uint8_t, 2 * kCipherUnit> salt{};
    std::copy(crypt.iv.begin(), crypt.iv.end(), salt.begin());
    Digest digest{};
    const bool derived = mbedtls_md_starts(&crypt.digest) == 0 &&
                         mbedtls_md_update(&crypt.digest, salt.data(), salt.size()) == 0 &&
                         mbedtls_md_update(&crypt.digest, keyText.data(), keyText.size()) == 0 &&
                         mbedtls_md_finish(&crypt.digest, digest.data()) == 0;
    if (derived) std::copy_n(digest.begin(), crypt.key.size(), crypt.key.begin());
    mbedtls_platform_zeroize(digest.data(), digest.size());
    return derived;
}

/// The tag of the data; says by a diagnostic which step failed.
bool computeTag(Crypt& crypt, std::span<const std::uint8_t> data, Digest& tag) {
    if (mbedtls_md_hmac_starts(&crypt.digest, crypt.key.data(), crypt.key.size()) != 0) {
        streamLog(StreamLevel::kError, "Failed to initialize HMAC computation");
        return false;
    }
    if (mbedtls_md_hmac_update(&crypt.digest, data.data(), data.size()) != 0) {
        streamLog(StreamLevel::kError, "Failed to update HMAC");
        return false;
    }
    if (mbedtls_md_hmac_finish(&crypt.digest, tag.data()) != 0) {
        streamLog(StreamLevel::kError, "Failed to store HMAC");
        return false;
    }
    return true;
}

}  // namespace

Crypt::~Crypt() {
    freeCrypt(this);
}

int initCrypt(Crypt* crypt) {
    if (crypt == nullptr) {
        streamLog(StreamLevel::kError, "Crypt is null");
        return 1;
    }
    freeCrypt(crypt);
    mbedtls_aes_init(&crypt->aes);
    mbedtls_md_init(&crypt->digest);
    crypt->digestInfo = mbedtls_md_info_from_string("SHA1");
    if (crypt->digestInfo == nullptr) {
        streamLog(StreamLevel::kError, "Message Digest not found\n");
        return -1;
    }
    if (mbedtls_md_setup(&crypt->digest, crypt->digestInfo, 1) != 0) {
        streamLog(StreamLevel::kError, "mbedtls_md_setup failed\n");
        return -1;
    }
    crypt->state = 1;
    return 0;
}

int startDecryption(Crypt* crypt, const char* key, std::size_t keyLength, const std::uint8_t* iv) {
    if (crypt == nullptr || key == nullptr || iv == nullptr) {
        streamLog(StreamLevel::kError, "null ptr");
        return 1;
    }
    if (crypt->state != 1) {
        streamLog(StreamLevel::kError, "aes init has not been run");
        return 1;
    }
    std::copy_n(iv, crypt->iv.size(), crypt->iv.begin());
    if (!deriveKey(*crypt, {reinterpret_cast<const std::uint8_t*>(key), keyLength}) ||
        mbedtls_aes_setkey_dec(&crypt->aes, crypt->key.data(), 8 * kCipherUnit) != 0) {
        streamLog(StreamLevel::kError, "Failed to derive the key of the connection");
        return 1;
    }
    crypt->keySet = true;
    return 0;
}

int cryptData(Crypt& crypt, const std::uint8_t* input, std::uint8_t* output, std::int32_t length,
              bool decrypt) {
    if (length < 0 || length % static_cast<std::int32_t>(kCipherUnit) != 0) {
        streamLog(StreamLevel::kError, "Length: %d is not divisible by %zu", length, kCipherUnit);
        return 1;
    }
    if (!crypt.keySet) {
        streamLog(StreamLevel::kError, "aes init has not been run");
        return 1;
    }
    const int result =
        mbedtls_aes_crypt_cbc(&crypt.aes, decrypt ? MBEDTLS_AES_DECRYPT : MBEDTLS_AES_ENCRYPT,
                              static_cast<std::size_t>(length), crypt.iv.data(), input, output);
    if (result != 0) streamLog(StreamLevel::kError, "Error encrypting data");
    return result;
}

std::size_t hmacSize(const Crypt& crypt) {
    return mbedtls_md_get_size(crypt.digestInfo);
}

int verifyHmac(Crypt& crypt, std::span<const std::uint8_t> data, const std::uint8_t* tag) {
    Digest computed{};
    if (!computeTag(crypt, data, computed)) {
        streamLog(StreamLevel::kError, "HMAC verification failed");
        return -1;
    }
    unsigned difference = 0;
    for (std::size_t i = 0; i < hmacSize(crypt); ++i)
        difference |= static_cast<unsigned>(computed[i] ^ tag[i]);
    return static_cast<int>(difference);
}

void freeCrypt(Crypt* crypt) {
    if (crypt == nullptr) return;
    // Both contexts are all zero before the first initCrypt, which their free functions accept.
    mbedtls_aes_free(&crypt->aes);
    mbedtls_md_free(&crypt->digest);
    mbedtls_platform_zeroize(crypt->key.data(), crypt->key.size());
    mbedtls_platform_zeroize(crypt->iv.data(), crypt->iv.size());
    crypt->digestInfo = nullptr;
    crypt->state = 0;
    crypt->keySet = false;
}

}  // namespace trelis
