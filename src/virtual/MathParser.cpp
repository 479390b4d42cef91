#include "virtual/MathParser.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "app/diagnostics/Report.h"
#include "virtual/ExpressionOperations.h"

namespace trelis {
namespace {

struct Operator {
    std::string_view name;
    int precedence;  ///< a greater one binds tighter
    bool leftAssociative;
};

// The index is the id.
constexpr std::array<Operator, 14> kOperators = {{{"+", 2, true},
                                                  {"-", 2, true},
                                                  {"/", 3, true},
                                                  {"*", 3, true},
                                                  {"^", 4, false},
                                                  {"%", 3, true},
                                                  {"<", 1, true},
                                                  {"<=", 1, true},
                                                  {">", 1, true},
                                                  {">=", 1, true},
                                                  {"==", 1, true},
                                                  {"!=", 1, true},
                                                  {"&&", 0, true},
                                                  {"||", 0, true}}};
constexpr std::array<std::string_view, 15> kFunctions = {"sin",  "cos", "tan",   "asin", "acos",
                                                         "atan", "log", "sqrt",  "max",  "min",
                                                         "abs",  "exp", "floor", "ceil", "atan2"};
constexpr std::string_view kPi = "pi";
constexpr std::string_view kPiText = "3.141593";  // deliberately no more digits than "%f" prints
constexpr std::size_t kLongestOperator = 2;
constexpr std::size_t kLongestBuiltin = 5;

template <typename Table, typename Name>
std::int32_t indexOf(const Table& table, std::string_view text, Name name) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const auto& entry) { return name(entry) == text; });
    return found == table.end() ? -1 : static_cast<std::int32_t>(found - table.begin());
}

std::int32_t findOperator(std::string_view text) {
    return indexOf(kOperators, text, [](const Operator& o) { return o.name; });
}

bool isSpace(char c) {
    return std::string_view(" \t\n\v\f\r").find(c) != std::string_view::npos;
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The whole character at a position of a UTF-8 text.
std::string characterAt(std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position, 4);
    std::size_t length = 1;
    while (length < rest.size() && (static_cast<unsigned char>(rest[length]) & 0xC0U) == 0x80U)
        ++length;
    return toValidUtf8(rest.substr(0, length));
}

// A number of a megabyte must not become a message of a megabyte.
std::string shortened(const std::string& text) {
    constexpr std::size_t kMost = 60;
    return text.size() <= kMost ? text : text.substr(0, kMost) + "...";
}

bool isOpening(const MathParser::Token& token) {
    return token.type == MathParser::TokenType::kPunctuation && token.text == "(";
}

bool isClosing(const MathParser::Token& token) {
    return token.type == MathParser::TokenType::kPunctuation && token.text == ")";
}

int precedenceOf(const MathParser::Token& token) {
    const std::int32_t index = findOperator(token.text);
    if (index >= 0) return kOperators[static_cast<std::size_t>(index)].precedence;
    report(Level::kWarning,
           format("Failed to find precedence: Could not find %s", token.text.c_str()));
    return -1;
}

bool isLeftAssociative(const MathParser::Token& token) {
    const std::int32_t index = findOperator(token.text);
    if (index >= 0) return kOperators[static_cast<std::size_t>(index)].leftAssociative;
    report(Level::kWarning,
           format("Failed to find associativity: Could not find %s", token.text.c_str()));
    return true;
}

MathParser::Token punctuation(std::string text) {
    return {std::move(text), MathParser::TokenType::kPunctuation, -1};
}

}  // namespace

MathParser::MathParser() : longestFunction_(kLongestBuiltin) {}
MathParser::~MathParser() = default;

void MathParser::registerFunction(const std::string& name, std::int32_t arity, void* userData) {
    const auto refuse = [&](const char* reason) {
        throw std::invalid_argument("Registered function '" + name + "' already exists" + reason);
    };
    if (findFunction(name) >= 0) refuse("");
    if (name == kPi) refuse(" as a constant");
    if (findOperator(name) >= 0) refuse(" as an operator");
    customIndices_.emplace(name,
                           static_cast<std::int32_t>(kFunctions.size() + customFunctions_.size()));
    customFunctions_.push_back({name, arity, userData});
    longestFunction_ = std::max(longestFunction_, name.size());
}

std::int32_t MathParser::findFunction(std::string_view name) const {
    if (const auto found = customIndices_.find(name); found != customIndices_.end())
        return found->second;
    return indexOf(kFunctions, name, [](std::string_view entry) { return entry; });
}

// A function wins over a constant of the same length, and both over an operator.
MathParser::Symbol MathParser::identifySymbol(std::string_view text) const {
    Symbol best;
    const auto search = [&](TokenType type, std::size_t longest, auto find) {
        for (std::size_t length = std::min(longest, text.size()); length > best.length; --length) {
            const std::int32_t index = find(text.substr(0, length));
            if (index >= 0) best = {type, index, length};
        }
    };
    search(TokenType::kFunction, longestFunction_,
           [this](std::string_view name) { return findFunction(name); });
    search(TokenType::kNumber, kPi.size(),
           [](std::string_view name) { return name == kPi ? 0 : -1; });
    search(TokenType::kOperator, kLongestOperator,
           [](std::string_view name) { return findOperator(name); });
    return best;
}

std::list<MathParser::Token> MathParser::tokenize(std::string_view text) {
    std::list<Token> tokens;
    for (std::size_t position = 0; position < text.size();) {
        const char c = text[position];
        if (isSpace(c)) {
            ++position;
            continue;
        }
        const bool operandExpected = tokens.empty() || tokens.back().type == TokenType::kOperator ||
                                     tokens.back().text == "(" || tokens.back().text == ",";
        if (isDigit(c) || (c == '-' && operandExpected)) {
            tokens.push_back(readNumber(text, position));
        } else if (c == ',' || c == '(' || c == ')') {
            tokens.push_back(punctuation(std::string(1, c)));
            ++position;
        } else {
            tokens.push_back(readSymbol(text, position));
        }
    }
    // A call without parentheses is complete: a call of no arguments.
    for (auto token = tokens.begin(); token != tokens.end();) {
        const bool isFunction = token->type == TokenType::kFunction;
        ++token;
        if (!isFunction || (token != tokens.end() && isOpening(*token))) continue;
        tokens.insert(token, punctuation("("));
        tokens.insert(token, punctuation(")"));
    }
    return tokens;
}

MathParser::Token MathParser::readNumber(std::string_view text, std::size_t& position) {
    const std::size_t start = position++;  // a minus or a digit
    while (position < text.size() && (isDigit(text[position]) || text[position] == '.'))
        ++position;
    std::string number(text.substr(start, position - start));
    if (number.back() == '.') {
        report(Level::kWarning,
               format("Missing decimal number(s) in '%s', adding 0", shortened(number).c_str()));
        number += '0';
    }
    return numberToken(std::move(number));
}

MathParser::Token MathParser::numberToken(std::string text) {
    double value = 0.0;
    // Behind a second point nothing counts.
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        reportFatal(format("Could not convert %s to a number", shortened(text).c_str()));
    numbers_.push_back(value);
    return {std::move(text), TokenType::kNumber, static_cast<std::int32_t>(numbers_.size() - 1)};
}

MathParser::Token MathParser::readSymbol(std::string_view text, std::size_t& position) {
    const Symbol symbol = identifySymbol(text.substr(position));
    if (symbol.length == 0)
        throw std::invalid_argument(
            format("Failed to parse expression, check for errors around character %zu (%s)",
                   position, characterAt(text, position).c_str()));
    std::string name(text.substr(position, symbol.length));
    position += symbol.length;
    if (symbol.type == TokenType::kNumber) return numberToken(std::string(kPiText));
    return {std::move(name), symbol.type, symbol.index};
}

std::vector<MathParser::Token> MathParser::toPostfix(const std::list<Token>& tokens) {
    const auto mismatch = [] {
        throw std::invalid_argument("Expression has mismatched parentheses");
    };
    std::vector<Token> postfix;
    std::vector<Token> stack;
    const auto moveTop = [&] {
        postfix.push_back(std::move(stack.back()));
        stack.pop_back();
    };
    for (const Token& token : tokens) {
        if (token.text == ",") continue;  // deliberately leaves operators on the stack
        if (token.type == TokenType::kNumber) {
            postfix.push_back(token);
        } else if (token.type == TokenType::kOperator) {
            while (!stack.empty() && !isOpening(stack.back())) {
                const int top = precedenceOf(stack.back());
                const int own = precedenceOf(token);
                if (top < own || (top == own && !isLeftAssociative(token))) break;
                moveTop();
            }
            stack.push_back(token);
        } else if (!isClosing(token)) {
            stack.push_back(token);
        } else {
            while (!stack.empty() && !isOpening(stack.back()))
                moveTop();
            if (stack.empty()) mismatch();
            stack.pop_back();
            if (!stack.empty() && stack.back().type == TokenType::kFunction) moveTop();
        }
    }
    while (!stack.empty()) {
        if (isOpening(stack.back())) mismatch();
        moveTop();
    }
    valueStack_.reserve(postfix.size());
    return postfix;
}

double MathParser::evaluate(const std::vector<Token>& postfix) {
    valueStack_.clear();
    for (const Token& token : postfix) {
        if (token.type == TokenType::kNumber)
            valueStack_.push_back(numbers_.at(static_cast<std::size_t>(token.index)));
        else
            applyToken(token);
    }
    if (valueStack_.size() != 1)
        throw std::invalid_argument("Invalid expression: Check for missing operators");
    return valueStack_.front();
}

double MathParser::pop() {
    const double value = valueStack_.back();
    valueStack_.pop_back();
    return value;
}

void MathParser::applyToken(const Token& token) {
    if (token.type == TokenType::kFunction) {
        applyFunction(token);
        return;
    }
    if (token.type != TokenType::kOperator)
        throw std::invalid_argument("Unexpected operator " + token.text);
    if (valueStack_.size() < 2)
        throw std::invalid_argument("Invalid expression: not enough operands for operator: " +
                                    token.text);
    const double right = pop();
    const double left = pop();
    withOperator(token.index, [&](auto apply) { valueStack_.push_back(apply(left, right)); });
}

void MathParser::applyFunction(const Token& token) {
    const std::int32_t id = functionId(token);
    if (static_cast<std::int64_t>(valueStack_.size()) < arityOf(id))
        throw std::invalid_argument("Invalid expression, too few arguments to " + token.text);
    if (id > kLastBuiltinId) {
        std::list<double> arguments;
        for (std::int32_t i = 0; i < arityOf(id); ++i)
            arguments.push_back(pop());
        valueStack_.push_back(customFunction(arguments, userData(token)));
    } else if (takesTwoArguments(id)) {
        const double second = pop();
        const double first = pop();
        withBinaryFunction(id, radians,
                           [&](auto apply) { valueStack_.push_back(apply(first, second)); });
    } else {
        withUnaryFunction(id, radians,
                          [&, x = pop()](auto apply) { valueStack_.push_back(apply(x)); });
    }
}

std::int32_t MathParser::functionId(const Token& token) const {
    const auto known = static_cast<std::int32_t>(kFunctions.size() + customFunctions_.size());
    if (token.index < 0 || token.index >= known) throw std::invalid_argument("Invalid function ID");
    return token.index;
}

std::int32_t MathParser::arityOf(std::int32_t functionIndex) const {
    if (functionIndex <= kLastBuiltinId) return takesTwoArguments(functionIndex) ? 2 : 1;
    return customFunctions_[static_cast<std::size_t>(functionIndex) - kFunctions.size()].arity;
}

void* MathParser::userData(const Token& token) const {
    return customFunctions_.at(static_cast<std::size_t>(functionId(token)) - kFunctions.size())
        .userData;
}

double MathParser::customFunction(const std::list<double>& /*arguments*/, void* /*data*/) {
    throw std::runtime_error("Custom function registered but not implemented");
}

void MathParser::forgetExpression() {
    numbers_ = {};
    valueStack_ = {};
    customFunctions_ = {};
    customIndices_.clear();
}

}  // namespace trelis
