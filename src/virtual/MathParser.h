// Parser and evaluator of formulas.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace trelis {

/// Tokens by longest match, postfix form by Dijkstra's shunting-yard method, evaluation on a stack;
/// none of it recurses. Deliberate peculiarities: `log` is to base 10; `pi` has six decimals; a
/// minus is a sign only before a digit and where no operand precedes it; a comma does not end the
/// operators of its argument, so that max(a + 1, b) is the greater of a and 1 + b, and an argument
/// with an operator needs parentheses of its own.
class MathParser {
  public:
    enum class TokenType { kOperator = 0, kFunction = 1, kNumber = 2, kPunctuation = 3 };

    struct Token {
        std::string text;
        TokenType type = TokenType::kPunctuation;
        std::int32_t index = -1;  ///< of the operator, function or number
    };

    MathParser();
    MathParser(const MathParser&) = delete;
    MathParser& operator=(const MathParser&) = delete;
    virtual ~MathParser();

    /// Adds a function that customFunction evaluates. std::invalid_argument if the name is taken.
    void registerFunction(const std::string& name, std::int32_t arity, void* userData);

    /// std::invalid_argument with the position of what cannot be read; ERR and PrintMsgError for a
    /// minus sign that stands before no number.
    [[nodiscard]] std::list<Token> tokenize(std::string_view text);
    /// std::invalid_argument for parentheses that do not match.
    [[nodiscard]] std::vector<Token> toPostfix(const std::list<Token>& tokens);
    /// std::invalid_argument if operands are missing or left over.
    [[nodiscard]] double evaluate(const std::vector<Token>& postfix);

    /// The value of a registered function; the last argument comes first. The base throws.
    virtual double customFunction(const std::list<double>& arguments, void* userData);

    bool radians = false;  ///< angles in radians instead of degrees

  protected:
    [[nodiscard]] const std::vector<double>& numbers() const { return numbers_; }
    /// Id of the function that a token calls: a built-in one, or one above kLastBuiltinId.
    [[nodiscard]] std::int32_t functionId(const Token& token) const;
    [[nodiscard]] void* userData(const Token& token) const;
    /// Forgets what only parsing and evaluate need.
    void forgetExpression();

    static constexpr std::int32_t kLastBuiltinId = 14;

  private:
    struct CustomFunction {
        std::string name;
        std::int32_t arity = 0;
        void* userData = nullptr;
    };
    struct Symbol {
        TokenType type = TokenType::kPunctuation;
        std::int32_t index = -1;
        std::size_t length = 0;  ///< 0: no symbol
    };

    [[nodiscard]] Symbol identifySymbol(std::string_view text) const;
    [[nodiscard]] std::int32_t findFunction(std::string_view name) const;
    [[nodiscard]] std::int32_t arityOf(std::int32_t functionIndex) const;
    [[nodiscard]] Token readNumber(std::string_view text, std::size_t& position);
    [[nodiscard]] Token readSymbol(std::string_view text, std::size_t& position);
    [[nodiscard]] Token numberToken(std::string text);
    void applyToken(const Token& token);
    void applyFunction(const Token& token);
    double pop();

    std::size_t longestFunction_;
    std::vector<CustomFunction> customFunctions_;  ///< their indices follow the built-in ones
    std::map<std::string, std::int32_t, std::less<>> customIndices_;
    std::vector<double> numbers_;
    std::vector<double> valueStack_;
};

}  // namespace trelis
