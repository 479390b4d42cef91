#include "model/SampleArray.h"

#include <limits>

namespace trelis {

void SampleArray::grow() {
    constexpr std::size_t kFirst = 16;
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / sizeof(Sample) / 2;
    if (capacity_ > kMost) throw std::bad_alloc();
    const std::size_t wanted = capacity_ < kFirst ? kFirst : capacity_ * 2;
    auto* memory = static_cast<Sample*>(std::realloc(storage_.get(), wanted * sizeof(Sample)));
    if (memory == nullptr) throw std::bad_alloc();
    static_cast<void>(storage_.release());  // realloc has taken it over
    storage_.reset(memory);
    capacity_ = wanted;
}

}  // namespace trelis
