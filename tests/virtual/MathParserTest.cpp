#include "virtual/MathParser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "TestModel.h"

namespace trelis {
namespace {

using test::TestModel;

// The value, or the text of what went wrong.
std::string resultOf(const std::string& expression) {
    static_cast<void>(TestModel::messages());
    MathParser parser;
    try {
        return std::to_string(parser.evaluate(parser.toPostfix(parser.tokenize(expression))));
    } catch (const PrintMsgError&) {
        return "told: " + TestModel::messages().back();
    } catch (const std::exception& error) {
        return error.what();
    }
}

TEST(MathParserTest, computes) {
    struct Case {
        const char* expression;
        double value;
    };
    for (const auto& [expression, value] : {
             Case{"2+3*4", 14},
             {"2^3^2", 512},
             {"2*3^2", 18},
             {"10-4-3", 3},
             {"16/4/2", 2},
             {"-7%3", -1},
             {"1<2&&3>2", 1},
             {"1+1==2", 1},
             {"2<=1||3>=3", 1},
             {"1!=1", 0},
             {"4 -1", 3},
             {"2--3", 5},
             {"  ( 1 )\t", 1},
             {"(1+2)*max(-3,-4)", -9},
             {"sqrt(16)+abs(0-3)", 7},
             {"floor(2.7)+ceil(2.1)", 5},
             {"floor(4503599627370497)", 4503599627370497},
             {"sin(30)", 0.5},
             {"asin(1)", 90},
             {"atan(1)", 45},
             {"exp(0)", 1},
             {"1/0", INFINITY},
             {"0-sin(0)", 0},
             {"log(100)", 2},  // to base 10
             // The second argument is the y of the mathematics library.
             {"atan2(1,0)", 0},
             {"atan2(0,1)", 90},
             // A comma leaves the operators of its argument waiting.
             {"max(5-1,5)", 5},
             {"max(1+1,1)", 2},
             {"min(5-1,2)", -1},
             {"min((5-1),2)", 2},
             // Behind the second point the rest of a number is dropped; one at the end gets a 0.
             {"1.2.3", 1.2},
             {"1.", 1},
             // Six decimals, as "%f" prints.
             {"pi*1000000-3141593", 0},
         })
        EXPECT_EQ(resultOf(expression), std::to_string(value)) << expression;
    static_cast<void>(TestModel::messages());
    EXPECT_EQ(MathParser().tokenize("1.").front().text, "1.0");
    EXPECT_EQ(TestModel::messages(), test::Messages{"Missing decimal number(s) in '1.', adding 0"});
}

TEST(MathParserTest, tellsWhatIsWrong) {
    struct Case {
        const char* expression;
        const char* result;
    };
    const std::string huge(400, '9');
    for (const auto& [expression, result] : {
             Case{"2 3", "Invalid expression: Check for missing operators"},
             {"", "Invalid expression: Check for missing operators"},
             {"2+", "Invalid expression: not enough operands for operator: +"},
             {"max(1)", "Invalid expression, too few arguments to max"},
             {"sin 30", "Invalid expression, too few arguments to sin"},
             {"(1+2", "Expression has mismatched parentheses"},
             {"1+2)", "Expression has mismatched parentheses"},
             {"a+1", "Failed to parse expression, check for errors around character 0 (a)"},
             // A minus is a sign only right before a digit.
             {"-sin(1)", "told: Could not convert - to a number"},
             {"2=>1", "Failed to parse expression, check for errors around character 1 (=)"},
             {".5", "Failed to parse expression, check for errors around character 0 (.)"},
             {"$1+1", "Failed to parse expression, check for errors around character 0 ($)"},
             {"1 + \xC3\xA9",
              "Failed to parse expression, check for errors around character 4 "
              "(\xC3\xA9)"},
             {"1 + \xC3",
              "Failed to parse expression, check for errors around character 4 "
              "(\xC3\x83)"},
         })
        EXPECT_EQ(resultOf(expression), result) << expression;
    EXPECT_EQ(resultOf(huge), "told: Could not convert " + huge.substr(0, 60) + "... to a number");
}

TEST(MathParserTest, takesTheLongestSymbolAndFunctionsFirst) {
    MathParser parser;
    int data = 0;
    parser.registerFunction("sinus", 0, &data);
    parser.registerFunction("p", 0, &data);  // shorter than the constant
    std::string texts;
    for (const auto& token : parser.tokenize("sinus<=sin(pi)"))
        texts += token.text + " ";
    EXPECT_EQ(texts, "sinus ( ) <= sin ( 3.141593 ) ");
    EXPECT_THROW(static_cast<void>(parser.evaluate(parser.toPostfix(parser.tokenize("sinus")))),
                 std::runtime_error);
    for (const auto& [name, end] : {std::pair{"sinus", ""},
                                    {"sin", ""},
                                    {"pi", " as a constant"},
                                    {"&&", " as an operator"}}) {
        try {
            parser.registerFunction(name, 0, nullptr);
            ADD_FAILURE() << name;
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(error.what(),
                      std::string("Registered function '") + name + "' already exists" + end);
        }
    }
}

TEST(MathParserTest, survivesHugeExpressions) {
    const auto repeated = [](const char* part, std::size_t times) {
        std::string text;
        while (times-- > 0)
            text += part;
        return text;
    };
    EXPECT_EQ(resultOf(repeated("(", 10000) + "1"), "Expression has mismatched parentheses");
    EXPECT_EQ(resultOf(repeated("abs((", 10000) + "1" + repeated("))", 10000)), "1.000000");
    EXPECT_EQ(resultOf("1" + repeated("+1", 500'000)), "500001.000000");
    EXPECT_EQ(resultOf("1" + repeated("^1", 500'000)), "1.000000");

    TestModel model;
    model.feedSteps("s", {1.5});
    const std::string head = "method=expression\nstep=100\nsignal_01=Can.In.s\nexpr=$01";
    const auto sum = model.compute(head + repeated("+$01*1", 33'333));
    EXPECT_EQ(sum->valueAt(test::kStart), 1.5 * 33'334);
}

// ---- formulas over signals

// The block evaluator against the plain one, which gets the numbers of each step in the formula.
TEST(CustomMathTest, agreesWithThePlainEvaluator) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    constexpr std::size_t kSteps = 600;  // more than two blocks
    for (const std::string expression :
         {"$02", "7.5", "$01+$02*3.5-$03/7", "($01-$02)%($03+0.5)^2", "atan2($01,$02)^2-$01^3",
          "max(abs($01),min($02,$03))", "sin($01)*cos($02)+tan($03)",
          "asin($01/100)-acos($02/100)/atan($03)", "log(abs($01)+1)+sqrt($02)*exp($03/50)",
          "floor($01/3)+ceil($02/7)", "$01<$02&&$02<=$03||$01>$03", "($01>=$02)==($02!=$03)",
          "1+(2+(3+(4+(5+$01*($02-($03/(6+$01)))))))"}) {
        SCOPED_TRACE(expression);
        TestModel model;
        std::vector<std::vector<double>> columns(3, std::vector<double>(kSteps));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            for (double& value : columns[i])
                value = random.below(200) - 100.0;
            model.feedSteps(std::string(1, "abc"[i]), columns[i]);
        }
        const auto signal =
            model.compute(test::linesOf("expression a,b,c radians=true expr=" + expression));

        double held = std::nan("");
        for (std::size_t i = 0; i < kSteps; ++i) {
            std::string formula = expression;
            for (std::size_t at = formula.find('$'); at < formula.size(); at = formula.find('$')) {
                const auto input = static_cast<std::size_t>(formula.at(at + 2) - '1');
                formula.replace(at, 3, "(" + std::to_string(columns.at(input)[i]) + ")");
            }
            MathParser plain;
            plain.radians = true;
            const double value = plain.evaluate(plain.toPostfix(plain.tokenize(formula)));
            // The storage takes a NaN for unchanged, and the first value as it is.
            if (i == 0 || value < held || value > held) held = value;
            const double got = signal->valueAt(test::kStart + i * 100);
            ASSERT_TRUE(got == held || (std::isnan(got) && std::isnan(held)))
                << i << ": " << got << " " << held;
        }
    }
}

TEST(CustomMathTest, readsItsInputs) {
    test::check({
        {"expression a,b,c,a,b,c,a,b,c signal_10=Can.In.a signal_11=Can.In.b signal_12=Can.In.c "
         "expr=$01*2+$12",
         "a 1 2; b 0 0; c 5 7", "7 11"},
        {"expression a expression=sin($01*30)", "a 1", "0.49999999999999994"},
        {"expression a radians=true expr=sin($01) expression=1", "a 1", "0.8414709848078965"},
        // Deliberate: an input that the formula does not mention still says when there are steps.
        {"expression a,b expr=$01", "a 0:1 1000:2; b 500:1 1000:2", "400:0 500:1"},
    });
}

}  // namespace
}  // namespace trelis
