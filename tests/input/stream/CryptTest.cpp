#include "input/stream/Crypt.h"

#include <memory>
#include <optional>

#include "input/stream/BlockMaker.h"
#include "simlogger/StreamCipher.h"

namespace trelis::test {
namespace {

constexpr std::array<std::uint8_t, 16> kIv = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 11, 22, 33, 44, 55, 66};

std::unique_ptr<Crypt> started(std::string_view key, const std::array<std::uint8_t, 16>& iv = kIv) {
    auto crypt = std::make_unique<Crypt>();
    EXPECT_EQ(initCrypt(crypt.get()), 0);
    EXPECT_EQ(startDecryption(crypt.get(), key.data(), key.size(), iv.data()), 0);
    return crypt;
}

/// Opens a frame: its length, cipher text and tag. Nothing if the tag is wrong.
std::optional<Bytes> open(Crypt& crypt, const Bytes& frame) {
    const auto sealed = std::span(frame).subspan(4);
    Bytes plain(sealed.size() - hmacSize(crypt));
    EXPECT_EQ(cryptData(crypt, sealed.data(), plain.data(), static_cast<std::int32_t>(plain.size()),
                        true),
              0);
    if (verifyHmac(crypt, sealed.first(plain.size()), sealed.data() + plain.size()) != 0)
        return std::nullopt;
    return plain;
}

TEST(Crypt, FramesOfAConnectionAreChained) {
    for (const std::string_view key :
         {"secret", "", "a key that is a good deal longer than a digest"}) {
        sim::StreamCipher sender(key, kIv);
        const auto crypt = started(key);
        EXPECT_EQ(hmacSize(*crypt), kTagSize);
        for (const std::size_t units : {1U, 0U, 5U, 1000U, 0U, 1U}) {
            const Bytes plain = payload(16 * units, static_cast<std::uint32_t>(units));
            EXPECT_EQ(open(*crypt, sender.frame(plain)), plain) << units;
        }
    }
}

TEST(Crypt, WrongKeyOrDamageShowsInTheTag) {
    sim::StreamCipher sender("secret", kIv);
    const Bytes sealed = sender.frame(payload(64));
    EXPECT_FALSE(open(*started("Secret"), sealed));
    EXPECT_FALSE(open(*started("secret", {}), sealed));
    for (std::size_t i = 4; i < sealed.size(); ++i) {
        Bytes damaged = sealed;
        damaged[i] ^= 0x80U;
        EXPECT_FALSE(open(*started("secret"), damaged)) << i;
    }
}

TEST(Crypt, MisuseIsRefusedWithItsText) {
    Crypt crypt;
    Bytes bytes(32);
    testing::internal::CaptureStderr();
    EXPECT_EQ(initCrypt(nullptr), 1);
    EXPECT_EQ(startDecryption(&crypt, "k", 1, kIv.data()), 1);  // not initialised
    EXPECT_EQ(cryptData(crypt, bytes.data(), bytes.data(), 16, true), 1);
    EXPECT_EQ(verifyHmac(crypt, bytes, bytes.data()), -1);
    EXPECT_EQ(initCrypt(&crypt), 0);
    EXPECT_EQ(cryptData(crypt, bytes.data(), bytes.data(), 16, true), 1);  // no key yet
    EXPECT_EQ(startDecryption(&crypt, nullptr, 1, kIv.data()), 1);
    EXPECT_EQ(startDecryption(nullptr, "k", 1, kIv.data()), 1);
    EXPECT_EQ(startDecryption(&crypt, "k", 1, nullptr), 1);
    EXPECT_EQ(startDecryption(&crypt, "k", 1, kIv.data()), 0);
    EXPECT_EQ(cryptData(crypt, bytes.data(), bytes.data(), 17, true), 1);
    EXPECT_EQ(cryptData(crypt, bytes.data(), bytes.data(), -16, true), 1);
    expectInOrder(
        testing::internal::GetCapturedStderr(),
        {"ERR Crypt is null", "ERR aes init has not been run", "ERR HMAC verification failed",
         "ERR null ptr", "ERR Length: 17 is not divisible by 16"});
}

TEST(Crypt, ReleaseWipesTheKey) {
    const auto crypt = started("secret");
    constexpr std::array<std::uint8_t, 16> kWiped{};
    EXPECT_NE(crypt->key, kWiped);
    freeCrypt(crypt.get());
    EXPECT_EQ(crypt->key, kWiped);
    EXPECT_EQ(crypt->iv, kWiped);
    freeCrypt(crypt.get());
    freeCrypt(nullptr);
    // A record can serve another connection.
    sim::StreamCipher sender("next", kIv);
    ASSERT_EQ(initCrypt(crypt.get()), 0);
    ASSERT_EQ(startDecryption(crypt.get(), "next", 4, kIv.data()), 0);
    EXPECT_EQ(open(*crypt, sender.frame(payload(16))), payload(16));
}

}  // namespace
}  // namespace trelis::test
