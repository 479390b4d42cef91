#include "input/LogFilter.h"

#include "app/store/Store.h"
#include "model/Frame.h"
#include "model/Message.h"

namespace trelis {

namespace {

// Up to here (16 KiB, half of the first cache) the table is sixteen times as long as it has
// entries: the first place then tells a record that nobody wants, which the processor foresees
// better than a walk of changing length.
constexpr unsigned kSparseBits = 11;

}  // namespace

LogFilter::LogFilter(const Store& store)
    : plain_(!store.wantErrors && !store.wantBitRates),
      wantErrors_(store.wantErrors),
      wantBitRates_(store.wantBitRates),
      interfaceMask_(store.interfaceMask) {
    std::size_t wanted = 0;
    for (const auto& [number, interface] : store.activeInterfaces)
        if (number <= kLoggerInterface) wanted += interface->activeMessages.size();
    unsigned bits = 4;
    while ((std::size_t{1} << bits) < wanted * (bits < kSparseBits ? 16 : 4))
        ++bits;
    hashShift_ = 64 - bits;
    placeMask_ = (std::size_t{1} << bits) - 1;
    table_.assign(placeMask_ + 1, kEmpty);
    for (const auto& [number, interface] : store.activeInterfaces) {
        if (number > kLoggerInterface) continue;
        const bool masked = number < kLoggerInterface &&
                            (number > 32 || (interfaceMask_ >> (number % 32) & 1U) == 0);
        if (masked) continue;
        for (const auto& [id, message] : interface->activeMessages) {
            const std::uint64_t key = keyOf(static_cast<std::uint32_t>(id), number);
            std::size_t place = hash(key);
            while (table_[place] != kEmpty)
                place = (place + 1) & placeMask_;
            table_[place] = std::uint64_t{groupCount_++} << kKeyBits | key;
        }
    }
}

LogFilter::Verdict LogFilter::checkOrdered(std::uint32_t id, std::uint32_t interface) const {
    const bool isError = (id & kErrorFrameFlag) != 0;
    const std::uint32_t group = find(id, interface);
    const bool grouped = group != kNoGroup;
    const bool masked = interface < kLoggerInterface &&
                        (interface > 32 || (interfaceMask_ >> (interface % 32) & 1U) == 0);
    const bool ordered = isError ? wantErrors_ : wantBitRates_ && !masked;
    if (grouped) return {ordered ? Keep::kGroupAndOrder : Keep::kGroup, group};
    return {ordered ? Keep::kOrder : Keep::kNothing, 0};
}

}  // namespace trelis
