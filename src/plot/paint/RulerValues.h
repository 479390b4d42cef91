// A signal's values at the rulers.
#pragma once

#include <cstdint>

#include "plot/paint/RulerLayout.h"

namespace trelis {

class Signal;

/// The signal's row with its values at both ruler times (ms; negative while unset). Never waits: if
/// the samples are locked by somebody who writes or paints, the row comes back with `known` false.
[[nodiscard]] RulerRow readRulerRow(const Signal& signal, std::int64_t left, std::int64_t right);

}  // namespace trelis
