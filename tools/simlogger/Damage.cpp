#include "Damage.h"

#include <lz4.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace trelis::sim {

namespace {

std::string readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::uint32_t lengthAt(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= std::uint32_t{static_cast<std::uint8_t>(bytes[at + i])} << (8 * i);
    return value;
}

std::string lengthBytes(std::uint32_t value) {
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i)));
    return bytes;
}

/// Where each block of a sound file begins.
std::vector<std::size_t> blocksOf(const std::string& bytes) {
    std::vector<std::size_t> blocks;
    std::size_t at = bytes.find('\n', bytes.find('\n') + 1) + 1;
    while (at + 8 <= bytes.size()) {
        blocks.push_back(at);
        at += 8 + lengthAt(bytes, at + 4);
    }
    return blocks;
}

/// The body of a block that unpacks to twice as much as the largest block a logger writes.
std::string oversizeBody() {
    const std::string raw(36000, '\x5A');
    std::string packed(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(raw.size()))),
                       '\0');
    const int size = LZ4_compress_default(raw.data(), packed.data(), static_cast<int>(raw.size()),
                                          static_cast<int>(packed.size()));
    packed.resize(static_cast<std::size_t>(size));
    return packed;
}

}  // namespace

void damageFile(const std::filesystem::path& path, Damage damage) {
    if (damage == Damage::kNone) return;
    std::string bytes = readFile(path);
    const std::vector<std::size_t> blocks = blocksOf(bytes);
    if (blocks.size() < 2) throw std::runtime_error(path.string() + " is too short to be damaged");
    const std::size_t middle = blocks[blocks.size() / 2];
    const std::size_t length = lengthAt(bytes, middle + 4);
    switch (damage) {
        case Damage::kNone:
            break;
        case Damage::kTorn:
            bytes.resize(bytes.size() - lengthAt(bytes, blocks.back() + 4) / 3);
            break;
        case Damage::kFlipped:
            bytes[middle + 8 + length / 2] =
                static_cast<char>(bytes[middle + 8 + length / 2] ^ 0x10);
            break;
        case Damage::kMagic:
            bytes[middle] = static_cast<char>(bytes[middle] ^ 0x01);
            break;
        case Damage::kZero:
            bytes.replace(middle + 4, 4, lengthBytes(0));
            break;
        case Damage::kLength:
            bytes.replace(middle + 4, 4, lengthBytes(0x7FFFFFF0));
            break;
        case Damage::kOversize: {
            const std::string body = oversizeBody();
            bytes.replace(middle + 8, length, body);
            bytes.replace(middle + 4, 4, lengthBytes(static_cast<std::uint32_t>(body.size())));
            break;
        }
        case Damage::kHeader:
            bytes.erase(bytes.find('\n') + 1, std::string("LOGSTART\n").size());
            break;
    }
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace trelis::sim
