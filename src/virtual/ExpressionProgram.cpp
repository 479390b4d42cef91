#include "virtual/ExpressionProgram.h"

#include <algorithm>

#include "virtual/ExpressionOperations.h"

namespace trelis {

void ExpressionProgram::push(Kind kind, std::size_t operand) {
    instructions_.push_back({kind, static_cast<std::uint32_t>(operand)});
    deepest_ = std::max(deepest_, ++depth_);
}

void ExpressionProgram::addNumber(double value) {
    push(Kind::kNumber, numbers_.size());
    numbers_.push_back(value);
}

void ExpressionProgram::addInput(std::uint32_t input) {
    const auto found = std::find(inputs_.begin(), inputs_.end(), input);
    const auto place = static_cast<std::size_t>(found - inputs_.begin());
    if (found == inputs_.end()) inputs_.push_back(input);
    push(Kind::kInput, place);
}

void ExpressionProgram::apply(Kind kind, std::int32_t id, std::size_t operandCount) {
    instructions_.push_back({kind, static_cast<std::uint32_t>(id)});
    depth_ -= operandCount - 1;
}

void ExpressionProgram::addOperator(std::int32_t id) {
    apply(Kind::kOperator, id, 2);
}

void ExpressionProgram::addFunction(std::int32_t id) {
    if (takesTwoArguments(id))
        apply(Kind::kBinary, id, 2);
    else
        apply(Kind::kUnary, id, 1);
}

ExpressionProgram::Block::Block(const ExpressionProgram& program) : program_(program) {
    constexpr std::size_t kMostSteps = 256;
    constexpr std::size_t kUsualValues = 65536;
    const std::size_t columns = program.inputs_.size() + program.numbers_.size() + program.deepest_;
    capacity_ = std::clamp<std::size_t>(kUsualValues / columns, 1, kMostSteps);
    values_.resize(columns * capacity_);
    for (std::size_t i = 0; i < program.numbers_.size(); ++i)
        std::fill_n(column(program.inputs_.size() + i), capacity_, program.numbers_[i]);
    operands_.resize(program.deepest_);
}

std::span<const double> ExpressionProgram::Block::evaluate(std::size_t count, bool radians) {
    const std::size_t firstNumber = program_.inputs_.size();
    const std::size_t firstResult = firstNumber + program_.numbers_.size();
    std::size_t depth = 0;
    const auto binary = [&](auto operation) {
        --depth;
        double* result = column(firstResult + depth - 1);
        const double* left = operands_[depth - 1];
        const double* right = operands_[depth];
        for (std::size_t i = 0; i < count; ++i)
            result[i] = operation(left[i], right[i]);
        operands_[depth - 1] = result;
    };
    const auto unary = [&](auto operation) {
        double* result = column(firstResult + depth - 1);
        const double* argument = operands_[depth - 1];
        for (std::size_t i = 0; i < count; ++i)
            result[i] = operation(argument[i]);
        operands_[depth - 1] = result;
    };
    for (const Instruction& instruction : program_.instructions_) {
        const auto id = static_cast<std::int32_t>(instruction.operand);
        switch (instruction.kind) {
            case Kind::kNumber:
                operands_[depth++] = column(firstNumber + instruction.operand);
                break;
            case Kind::kInput:
                operands_[depth++] = column(instruction.operand);
                break;
            case Kind::kOperator:
                withOperator(id, binary);
                break;
            case Kind::kUnary:
                withUnaryFunction(id, radians, unary);
                break;
            case Kind::kBinary:
                withBinaryFunction(id, radians, binary);
                break;
        }
    }
    return {operands_.front(), count};
}

}  // namespace trelis
