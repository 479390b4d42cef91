// A formula in a flat form that is computed for many steps at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trelis {

/// The postfix form without names. Each instruction runs over a whole block of steps before the
/// next one, so that choosing what to do costs once a block instead of once a step.
class ExpressionProgram {
  public:
    void addNumber(double value);
    void addInput(std::uint32_t input);
    /// Ids are those of MathParser. The operands must have been added.
    void addOperator(std::int32_t id);
    void addFunction(std::int32_t id);

    /// The inputs that the formula reads, each once.
    [[nodiscard]] const std::vector<std::uint32_t>& inputsRead() const { return inputs_; }

    /// The columns that a program computes in, one value a step.
    class Block {
      public:
        explicit Block(const ExpressionProgram& program);

        /// Most steps at once, at least 1: fewer for a formula that needs many columns.
        [[nodiscard]] std::size_t capacity() const { return capacity_; }
        /// Where the values of inputsRead()[i] go.
        [[nodiscard]] double* inputColumn(std::size_t i) { return column(i); }
        /// The results of the first `count` steps; valid until the next change.
        [[nodiscard]] std::span<const double> evaluate(std::size_t count, bool radians);

      private:
        double* column(std::size_t index) { return values_.data() + index * capacity_; }

        const ExpressionProgram& program_;
        std::size_t capacity_;
        std::vector<double> values_;  ///< inputs, then numbers, then intermediate results
        std::vector<const double*> operands_;
    };

  private:
    enum class Kind : std::uint8_t { kNumber, kInput, kOperator, kUnary, kBinary };
    struct Instruction {
        Kind kind = Kind::kNumber;
        std::uint32_t operand = 0;  ///< a number's or input's place, or an id
    };

    void push(Kind kind, std::size_t operand);
    void apply(Kind kind, std::int32_t id, std::size_t operandCount);

    std::vector<Instruction> instructions_;
    std::vector<double> numbers_;
    std::vector<std::uint32_t> inputs_;
    std::size_t depth_ = 0;
    std::size_t deepest_ = 0;
};

}  // namespace trelis
