// A signal from a formula.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "virtual/CustomSignal.h"
#include "virtual/ExpressionProgram.h"
#include "virtual/MathParser.h"

namespace trelis {

/// The inputs are the functions "$01", "$02" and so on up to "$99". An input that the formula does
/// not mention still takes part in the step loop. The formula is parsed, and tried out with all
/// inputs at 0, when the signal is made.
class CustomMath final : public CustomSignal, private MathParser {
  public:
    CustomMath(const std::shared_ptr<Message>& message, const std::string& group,
               const Glib::KeyFile& keyFile);

    /// Gathers the values of a block of steps, then computes them together.
    void calculate() override;

  private:
    /// The value of an input while the formula is tried out.
    double customFunction(const std::list<double>& arguments, void* userData) override;
    void parse(const std::string& expression);

    std::vector<std::uint32_t> inputIndices_;  ///< user data of the functions: their inputs
    ExpressionProgram program_;
};

}  // namespace trelis
