// The encrypted answers of a logger: a head of 16 bytes, the IV, once; then frames of a 4-byte
// little-endian length, that many bytes of AES-128-CBC cipher text, and their 20-byte HMAC-SHA1.
// The plain text of all frames, joined, is a stream of blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "input/stream/Crypt.h"

namespace trelis {

struct StreamCodec;

/// One connection. It holds at most two buffers of 2 MiB, whatever the peer sends. Its key material
/// is wiped when it ends. Store worker only.
class EncryptedStream {
  public:
    static constexpr std::size_t kLongestFrame = 0x200000;  ///< bytes of cipher text

    EncryptedStream();

    /// Reads one frame from the socket, decrypts it behind what waits, and checks its tag. The
    /// result is that of readFully, or kStreamError after a WRN if the tag is wrong. A frame that
    /// cannot be right is told at ERR and raises PrintMsgError. `keyText`: the user's key.
    int readFrame(StreamCodec& codec, int socket, const std::string& keyText);

    /// Unpacks the next block of the decrypted bytes: kStreamBlock, kStreamDone if none is whole,
    /// or kStreamError.
    int unpackNext(StreamCodec& codec);

  private:
    int readHead(StreamCodec& codec, int socket, const std::string& keyText);
    void makeRoom(std::size_t length);

    Crypt crypt_;
    bool needStreamHead_ = true;
    std::vector<std::uint8_t> plainBuffer_;
    std::size_t plainHead_ = 0;  // first byte that was not unpacked yet
    std::size_t plainTail_ = 0;  // end of the decrypted bytes
    std::vector<std::uint8_t> cipherBuffer_;
};

}  // namespace trelis
