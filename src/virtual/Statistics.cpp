#include "virtual/Statistics.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace trelis {

Statistics::Statistics(const std::shared_ptr<Message>& owner, const std::string& group,
                       const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile) {
    addSingleInput(keyFile, group);
    const std::string type = keyFile.get_string(group, "type");
    if (type == "min") {
        value_ = std::numeric_limits<double>::max();
        update_ = &Statistics::takeMin;
    } else if (type == "max") {
        value_ = std::numeric_limits<double>::min();
        update_ = &Statistics::takeMax;
    } else if (type == "average" || type == "avg") {
        update_ = &Statistics::takeSum;
    } else {
        throw std::invalid_argument("Invalid statistics type '" + type + "'");
    }
}

void Statistics::takeMin(double x) {
    value_ = std::min(value_, x);
}

void Statistics::takeMax(double x) {
    value_ = std::max(value_, x);
}

void Statistics::takeSum(double x) {
    value_ += x;
    count_ += 1.0;
}

void Statistics::calculateStep() {
    (this->*update_)(inputs.front().heldValue);
}

void Statistics::flushSamples() {
    if (count_ >= 1.0) value_ /= count_;
}

bool Statistics::summaryValue(double& out) const {
    out = value_ * factor + offset;
    return true;
}

}  // namespace trelis
