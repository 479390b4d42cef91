// An encrypted stream in memory: its head, then frames, decrypted, checked and unpacked. The tag is
// computed for every frame, but a wrong one does not end the run, so that the unpacking behind it
// is reached.
#include <cstdlib>
#include <span>
#include <vector>

#include "input/stream/Crypt.h"
#include "input/stream/LittleEndian.h"
#include "input/stream/StreamCodec.h"

namespace {

constexpr std::size_t kLongestFrame = 0x200000;

void unpackAll(trelis::StreamCodec& codec, std::span<const std::uint8_t> plain) {
    std::int32_t consumed = 0;
    while (trelis::unpackBlock(codec, plain, consumed) == trelis::kStreamBlock)
        plain = plain.subspan(static_cast<std::size_t>(consumed));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace trelis;
    std::span<const std::uint8_t> rest(data, size);
    Crypt crypt;
    if (rest.size() < kCipherUnit || initCrypt(&crypt) != 0) return 0;
    if (startDecryption(&crypt, "fuzz", 4, rest.data()) != 0) std::abort();
    rest = rest.subspan(kCipherUnit);

    StreamCodec codec;
    if (initNetworkStreamCodec(codec) != 0) std::abort();
    std::vector<std::uint8_t> plain;
    while (rest.size() >= 4) {
        const std::size_t length = loadLittleEndian<std::uint32_t>(rest.data());
        rest = rest.subspan(4);
        // An uneven length is refused with an error, whose sync() would slow the run to a crawl.
        if (length > kLongestFrame || length % kCipherUnit != 0) break;
        if (rest.size() < length + hmacSize(crypt)) break;
        const std::size_t at = plain.size();
        plain.resize(at + length);
        if (cryptData(crypt, rest.data(), plain.data() + at, static_cast<std::int32_t>(length),
                      true) != 0)
            break;
        if (verifyHmac(crypt, rest.first(length), rest.data() + length) < 0) std::abort();
        rest = rest.subspan(length + hmacSize(crypt));
    }
    unpackAll(codec, plain);
    unpackAll(codec, rest);
    return 0;
}
