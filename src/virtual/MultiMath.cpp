#include "virtual/MultiMath.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "virtual/Angles.h"
#include "virtual/KeyReading.h"

namespace trelis {
namespace {

// The C library's functions of these names have linkage and address; those of std are overloaded.
float sine(float x) {
    return std::sin(x);
}
float cosine(float x) {
    return std::cos(x);
}
float tangent(float x) {
    return std::tan(x);
}
float arcSine(float x) {
    return std::asin(x);
}
float arcCosine(float x) {
    return std::acos(x);
}
float arcTangent(float x) {
    return std::atan(x);
}

}  // namespace

const MultiMath::Operation MultiMath::kOperations[] = {
    {"sum", &MultiMath::run<&MultiMath::sum>},
    {"sub", &MultiMath::run<&MultiMath::sub>},
    {"mult", &MultiMath::run<&MultiMath::mult>},
    {"div", &MultiMath::run<&MultiMath::div>},
    {"avg", &MultiMath::run<&MultiMath::avg>},
    {"max", &MultiMath::run<&MultiMath::max>},
    {"min", &MultiMath::run<&MultiMath::min>},
    {"sin", &MultiMath::run<&MultiMath::forward<sine>>},
    {"cos", &MultiMath::run<&MultiMath::forward<cosine>>},
    {"tan", &MultiMath::run<&MultiMath::forward<tangent>>},
    {"asin", &MultiMath::run<&MultiMath::inverse<arcSine>>},
    {"acos", &MultiMath::run<&MultiMath::inverse<arcCosine>>},
    {"atan", &MultiMath::run<&MultiMath::inverse<arcTangent>>},
    {"inv", &MultiMath::run<&MultiMath::inv>},
    {"sqrt", &MultiMath::run<&MultiMath::sqrt>},
    {"sqr", &MultiMath::run<&MultiMath::sqr>},
    {"der", &MultiMath::run<&MultiMath::derive>},
    {"derive", &MultiMath::run<&MultiMath::derive>},
    {"fmod", &MultiMath::run<&MultiMath::fmod>},
};

const MultiMath::Operation* MultiMath::findOperation(const std::string& method) {
    const auto* found = std::find_if(std::begin(kOperations), std::end(kOperations),
                                     [&](const Operation& o) { return method == o.method; });
    return found == std::end(kOperations) ? nullptr : found;
}

bool MultiMath::isOperation(const std::string& method) {
    return findOperation(method) != nullptr;
}

MultiMath::MultiMath(const std::shared_ptr<Message>& owner, const std::string& group,
                     const Glib::KeyFile& keyFile)
    : CustomSignal(owner, group, keyFile), radians_(readFlag(keyFile, group, "radians")) {
    addInputList(keyFile, group);
    const std::string method = keyFile.get_string(group, "method");
    const Operation* operation = findOperation(method);
    if (operation == nullptr)
        throw std::invalid_argument("Unknown virtual signal method: " + method);
    operation_ = operation->loop;
    if (method != "fmod") return;
    if (!keyFile.has_key(group, "denom")) throw std::invalid_argument("Expected 'denom'");
    denominator_ = keyFile.get_double(group, "denom");
}

void MultiMath::calculate() {
    (this->*operation_)();
}

template <double (MultiMath::*kOperation)()>
void MultiMath::run() {
    runSteps([this] { output(curTime, (this->*kOperation)()); });
}

template <float (*kFunction)(float)>
double MultiMath::forward() {
    return kFunction(static_cast<float>(radians_ ? x1() : x1() * kRadiansPerDegree));
}

template <float (*kFunction)(float)>
double MultiMath::inverse() {
    const double angle = kFunction(static_cast<float>(x1()));
    return radians_ ? angle : angle * kDegreesPerRadian;
}

double MultiMath::sum() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result += inputs[i].heldValue;
    return result;
}

double MultiMath::sub() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result -= inputs[i].heldValue;
    return result;
}

double MultiMath::mult() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result *= inputs[i].heldValue;
    return result;
}

double MultiMath::div() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result /= inputs[i].heldValue;
    return result;
}

double MultiMath::avg() {
    return sum() / static_cast<double>(inputs.size());
}

double MultiMath::max() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result = std::max(result, inputs[i].heldValue);
    return result;
}

double MultiMath::min() {
    double result = x1();
    for (std::size_t i = 1; i < inputs.size(); ++i)
        result = std::min(result, inputs[i].heldValue);
    return result;
}

double MultiMath::inv() {
    return 1.0 / x1();
}

double MultiMath::sqrt() {
    return std::sqrt(static_cast<float>(x1()));
}

double MultiMath::sqr() {
    return x1() * x1();
}

double MultiMath::derive() {
    const double change = firstDerivative_ ? 0.0 : x1() - previous_;
    firstDerivative_ = false;
    previous_ = x1();
    return change * 1000.0 / step;
}

double MultiMath::fmod() {
    return std::fmod(x1(), denominator_);
}

}  // namespace trelis
