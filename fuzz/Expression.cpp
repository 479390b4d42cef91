// Formulas: parsed as the method "expression" does it, then computed over a few samples. The first
// byte chooses the number of inputs.
#include <glibmm/init.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "virtual/ExpressionProgram.h"
#include "virtual/MathParser.h"

namespace {

class Formula : public trelis::MathParser {
  public:
    // What CustomMath makes of a postfix form, with all inputs at 1.
    void run(const std::string& text, int inputs) {
        for (int i = 1; i <= inputs; ++i) {
            const std::string number = std::to_string(i);
            registerFunction("$" + (i < 10 ? "0" + number : number), 0, nullptr);
        }
        const auto postfix = toPostfix(tokenize(text));
        static_cast<void>(evaluate(postfix));
        trelis::ExpressionProgram program;
        for (const Token& token : postfix) {
            if (token.type == TokenType::kNumber)
                program.addNumber(numbers()[static_cast<std::size_t>(token.index)]);
            else if (token.type == TokenType::kOperator)
                program.addOperator(token.index);
            else if (functionId(token) > kLastBuiltinId)
                program.addInput(static_cast<std::uint32_t>(functionId(token) - kLastBuiltinId));
            else
                program.addFunction(token.index);
        }
        trelis::ExpressionProgram::Block block(program);
        for (std::size_t i = 0; i < program.inputsRead().size(); ++i)
            for (std::size_t step = 0; step < block.capacity(); ++step)
                block.inputColumn(i)[step] = static_cast<double>(step) - 2.0;
        static_cast<void>(block.evaluate(block.capacity(), radians));
    }

  private:
    double customFunction(const std::list<double>& /*arguments*/, void* /*data*/) override {
        return 0.0;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = [] {
        Glib::init();
        return true;
    }();
    static_cast<void>(ready);
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    try {
        Formula().run(text, data[0] % 13);
    } catch (const trelis::PrintMsgError&) {
    } catch (const std::exception&) {
    }
    while (!trelis::MessageLog::instance().isEmpty())
        trelis::MessageLog::instance().pop();
    return 0;
}
