// The operators and built-in functions of expressions, for both evaluators: one value at a time, or
// a block of steps.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "virtual/Angles.h"

namespace trelis {

/// Calls `use` with the operation of a binary operator, by its id.
template <typename Use>
void withOperator(std::int32_t id, Use&& use) {
    const auto truth = [](bool value) { return value ? 1.0 : 0.0; };
    switch (id) {
        case 0:
            return use([](double a, double b) { return a + b; });
        case 1:
            return use([](double a, double b) { return a - b; });
        case 2:
            return use([](double a, double b) { return a / b; });
        case 3:
            return use([](double a, double b) { return a * b; });
        case 4:
            return use([](double a, double b) { return std::pow(a, b); });
        case 5:
            return use([](double a, double b) { return std::fmod(a, b); });
        case 6:
            return use([=](double a, double b) { return truth(a < b); });
        case 7:
            return use([=](double a, double b) { return truth(a <= b); });
        case 8:
            return use([=](double a, double b) { return truth(a > b); });
        case 9:
            return use([=](double a, double b) { return truth(a >= b); });
        case 10:
            return use([=](double a, double b) { return truth(a == b); });
        case 11:
            return use([=](double a, double b) { return truth(a != b); });
        case 12:
            return use([=](double a, double b) { return truth(a != 0.0 && b != 0.0); });
        case 13:
            return use([=](double a, double b) { return truth(a != 0.0 || b != 0.0); });
        default:
            throw std::invalid_argument("Invalid operator ID");
    }
}

/// Ids of the functions with two arguments; all others have one.
inline constexpr std::int32_t kMaxId = 8;
inline constexpr std::int32_t kMinId = 9;
inline constexpr std::int32_t kAtan2Id = 14;
constexpr bool takesTwoArguments(std::int32_t id) {
    return id == kMaxId || id == kMinId || id == kAtan2Id;
}

/// The same for a built-in function of two arguments, in the order of the expression.
template <typename Use>
void withBinaryFunction(std::int32_t id, bool radians, Use&& use) {
    const double scale = radians ? 1.0 : kDegreesPerRadian;
    switch (id) {
        case kMaxId:
            return use([](double a, double b) { return std::max(a, b); });
        case kMinId:
            return use([](double a, double b) { return std::min(a, b); });
        // Deliberately the second argument first: it is the y of the mathematics library.
        case kAtan2Id:
            return use([=](double a, double b) { return std::atan2(b, a) * scale; });
        default:
            throw std::invalid_argument("Invalid function ID");
    }
}

/// The same for a built-in function of one argument.
template <typename Use>
void withUnaryFunction(std::int32_t id, bool radians, Use&& use) {
    const double in = radians ? 1.0 : kRadiansPerDegree;
    const double out = radians ? 1.0 : kDegreesPerRadian;
    switch (id) {
        case 0:
            return use([=](double x) { return std::sin(x * in); });
        case 1:
            return use([=](double x) { return std::cos(x * in); });
        case 2:
            return use([=](double x) { return std::tan(x * in); });
        case 3:
            return use([=](double x) { return std::asin(x) * out; });
        case 4:
            return use([=](double x) { return std::acos(x) * out; });
        case 5:
            return use([=](double x) { return std::atan(x) * out; });
        case 6:
            return use([](double x) { return std::log10(x); });
        case 7:
            return use([](double x) { return std::sqrt(x); });
        case 10:
            return use([](double x) { return std::fabs(x); });
        case 11:
            return use([](double x) { return std::exp(x); });
        case 12:
            return use([](double x) { return std::floor(x); });
        case 13:
            return use([](double x) { return std::ceil(x); });
        default:
            throw std::invalid_argument("Invalid function ID");
    }
}

}  // namespace trelis
