#include "virtual/CustomMath.h"

#include "app/diagnostics/Report.h"
#include "virtual/KeyReading.h"

namespace trelis {

CustomMath::CustomMath(const std::shared_ptr<Message>& owner, const std::string& group,
                       const Glib::KeyFile& keyFile)
    : CustomSignal(owner, group, keyFile) {
    addInputList(keyFile, group,
                 "At least one signal_XX= must be defined\n\tYou don't have to use the signal in "
                 "the expression, but Sigmira\n\tneeds it to know when to plot the expression.");
    radians = readFlag(keyFile, group, "radians");
    const char* key = keyFile.has_key(group, "expr") ? "expr" : "expression";
    parse(keyFile.get_string(group, key));
}

void CustomMath::parse(const std::string& expression) {
    for (std::uint32_t i = 0; i < inputs.size(); ++i)
        inputIndices_.push_back(i);
    for (std::uint32_t& index : inputIndices_)
        registerFunction(format("$%02u", index + 1), 0, &index);
    const std::vector<Token> postfix = toPostfix(tokenize(expression));
    static_cast<void>(evaluate(postfix));  // throws whatever is wrong
    for (const Token& token : postfix) {
        if (token.type == TokenType::kNumber)
            program_.addNumber(numbers()[static_cast<std::size_t>(token.index)]);
        else if (token.type == TokenType::kOperator)
            program_.addOperator(token.index);
        else if (functionId(token) > kLastBuiltinId)
            program_.addInput(*static_cast<const std::uint32_t*>(userData(token)));
        else
            program_.addFunction(token.index);
    }
    forgetExpression();
    inputIndices_ = {};
}

double CustomMath::customFunction(const std::list<double>& /*arguments*/, void* /*index*/) {
    return 0.0;
}

void CustomMath::calculate() {
    if (!inputsReady()) return;
    ExpressionProgram::Block block(program_);
    std::vector<std::uint64_t> times(block.capacity());
    std::size_t count = 0;
    const auto write = [&] {
        const auto values = block.evaluate(count, radians);
        for (std::size_t i = 0; i < count; ++i)
            output(times[i], values[i]);
        count = 0;
    };
    const std::vector<std::uint32_t>& read = program_.inputsRead();
    runSteps([&] {
        times[count] = curTime;
        for (std::size_t i = 0; i < read.size(); ++i)
            block.inputColumn(i)[count] = inputs[read[i]].heldValue;
        if (++count == times.size()) write();
    });
    const std::lock_guard lock(*mutex);
    write();
}

}  // namespace trelis
