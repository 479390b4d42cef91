#include "input/ImportPass.h"

#include <cmath>
#include <limits>

#include "app/store/Store.h"
#include "model/Message.h"

namespace trelis {

ImportPass::~ImportPass() {
    for (const auto& message : started_) {
        try {
            message->finish();
        } catch (...) {  // NOLINT(bugprone-empty-catch): the first exception is on its way
        }
    }
}

bool ImportPass::startMessages() {
    bool wanted = false;
    for (const auto& [number, interface] : store_.interfaces) {
        for (const auto& [id, message] : interface->messages) {
            if (message->usedCount == 0 || !message->startWorker()) continue;
            started_.push_back(message);
            wanted = true;
        }
    }
    return wanted;
}

void ImportPass::tellProgress(std::size_t done, std::size_t all) {
    constexpr std::size_t kWhole = 255;
    store_.progress = static_cast<std::int32_t>(all == 0 ? kWhole : done * kWhole / all);
    store_.emitStatus();
}

void ImportPass::finish() {
    for (const auto& [number, interface] : store_.interfaces)
        for (const auto& [id, message] : interface->messages)
            message->finish();
    started_.clear();
    store_.recount();
    store_.emitData();
}

std::optional<std::int64_t> toMilliseconds(double value, double scale) {
    constexpr double kMost = 2305843009213693952.0;  // 2^61
    constexpr double kRounding = 4 * std::numeric_limits<double>::epsilon();
    const double product = value * scale;
    if (!(std::abs(product) < kMost)) return std::nullopt;
    const double nearest = std::round(product);
    const bool isWhole = std::abs(product - nearest) <= std::abs(product) * kRounding;
    return static_cast<std::int64_t>(isWhole ? nearest : std::trunc(product));
}

}  // namespace trelis
