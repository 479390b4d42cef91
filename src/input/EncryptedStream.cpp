#include "input/EncryptedStream.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <span>

#include "app/diagnostics/Report.h"
#include "input/stream/LittleEndian.h"
#include "input/stream/StreamCodec.h"

namespace trelis {
namespace {

// Loggers count a key in characters but hash bytes, so of a key with characters beyond ASCII they
// take fewer bytes than it has.
std::size_t keyLength(const std::string& text) {
    const auto characters = g_utf8_strlen(text.data(), static_cast<gssize>(text.size()));
    return std::min(static_cast<std::size_t>(std::max(characters, glong{0})), text.size());
}

}  // namespace

EncryptedStream::EncryptedStream()
    : plainBuffer_(kLongestFrame), cipherBuffer_(kLongestFrame + kTagSize) {}

int EncryptedStream::readHead(StreamCodec& codec, int socket, const std::string& keyText) {
    plainHead_ = plainTail_ = 0;
    std::array<std::uint8_t, kCipherUnit> iv{};
    const int code = readFully(codec, socket, iv);
    if (code != kStreamDone) return code;
    if (initCrypt(&crypt_) != 0) reportFatal("Decryption initialization failed");
    if (startDecryption(&crypt_, keyText.data(), keyLength(keyText), iv.data()) != 0)
        reportFatal("Failed to start decryption");
    needStreamHead_ = false;
    return kStreamDone;
}

void EncryptedStream::makeRoom(std::size_t length) {
    const std::size_t limit = plainBuffer_.size() - 1;
    if (plainTail_ + length <= limit) return;
    const auto begin = plainBuffer_.begin();
    std::copy(begin + static_cast<std::ptrdiff_t>(plainHead_),
              begin + static_cast<std::ptrdiff_t>(plainTail_), begin);
    plainTail_ -= plainHead_;
    plainHead_ = 0;
    if (plainTail_ + length > limit) reportFatal("Decryption buffer overflow");
}

int EncryptedStream::readFrame(StreamCodec& codec, int socket, const std::string& keyText) {
    if (needStreamHead_) {
        const int code = readHead(codec, socket, keyText);
        if (code != kStreamDone) return code;
    }
    std::array<std::uint8_t, 4> word{};
    int code = readFully(codec, socket, word);
    if (code != kStreamDone) return code;
    const std::size_t length = loadLittleEndian<std::uint32_t>(word.data());
    if (length > kLongestFrame) reportFatal("Got invalid data length when decrypting");

    const auto frame = std::span(cipherBuffer_).first(length + hmacSize(crypt_));
    code = readFully(codec, socket, frame);
    if (code != kStreamDone) return code;
    makeRoom(length);
    if (cryptData(crypt_, frame.data(), plainBuffer_.data() + plainTail_,
                  static_cast<std::int32_t>(length), true) != 0)
        reportFatal("Decryption failed");
    plainTail_ += length;
    if (verifyHmac(crypt_, frame.first(length), frame.data() + length) == 0) return kStreamDone;
    report(Level::kWarning, "Message could not be authenticated, wrong key or data corrupted");
    return kStreamError;
}

int EncryptedStream::unpackNext(StreamCodec& codec) {
    std::int32_t consumed = 0;
    const auto waiting = std::span(plainBuffer_).subspan(plainHead_, plainTail_ - plainHead_);
    const int code = unpackBlock(codec, waiting, consumed);
    plainHead_ += static_cast<std::size_t>(consumed);
    return code;
}

}  // namespace trelis
