#include "nodemap/math_expression_parser.h"

#include "support/failure.h"
#include "support/sanitizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace GenTL::internal::nodemap
{
namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

double Compute(std::string_view formula, MathExpressionParser::Variables variables = {})
{
    MathExpressionParser parser(formula, std::move(variables));
    const double value = parser.Parse();
    parser.Expect(TokenType::End);
    return value;
}

Failure FailureFor(std::string_view formula)
{
    return FailureOf([&] { Compute(formula); });
}

std::vector<TokenType> TypesOf(std::string_view formula)
{
    std::vector<TokenType> types;
    for (const auto &token : Tokenize(formula))
    {
        types.push_back(token.Type);
    }
    return types;
}

struct Example
{
    std::string formula;
    double value;

    friend void PrintTo(const Example &example, std::ostream *stream) { *stream << example.formula; }
};

class Formula : public testing::TestWithParam<Example>
{
};

TEST_P(Formula, HasItsValue)
{
    EXPECT_EQ(Compute(GetParam().formula), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Literals, Formula,
                         testing::Values(Example{"42", 42}, Example{"0x1F", 31}, Example{"0Xff", 255},
                                         Example{"0x", 0}, Example{"007", 7},
                                         Example{"0xFFFFFFFFFFFFFFFF", -1},
                                         Example{"0x10000000000000001", 1}, // wraps at 64 bits
                                         Example{"18446744073709551617", 1}, Example{" \t\n\v\f\r7 ", 7}));

INSTANTIATE_TEST_SUITE_P(Ternary, Formula,
                         testing::Values(Example{"1 ? 2 : 3 ? 4 : 5", 2}, Example{"0 ? 1 : 0 ? 2 : 3", 3},
                                         Example{"1 ? 0 ? 4 : 5 : 6", 5}, Example{"0 - 1 ? 7 : 8", 7},
                                         Example{"5 / 0 ? 1 : 2", 2}, // an infinity counts as zero
                                         Example{"0 / 0 ? 1 : 2", 1}  // a NaN does not
                                         ));

INSTANTIATE_TEST_SUITE_P(Logic, Formula,
                         testing::Values(Example{"0 || 0", 0}, Example{"0 || 3", 1}, Example{"2 || 0", 1},
                                         Example{"2 && 3", 1}, Example{"2 && 0", 0}, Example{"0 && 2", 0},
                                         Example{"1 || 1 && 0", 1}, // && binds tighter
                                         Example{"!5", 0}, Example{"!0", 1}, Example{"!!7", 1},
                                         Example{"!(1/0)", 1}));

INSTANTIATE_TEST_SUITE_P(Bits, Formula,
                         testing::Values(Example{"5 | 2", 7}, Example{"7 ^ 2", 5}, Example{"6 & 3", 2},
                                         Example{"1 | 6 ^ 4 & 5", 3}, Example{"~0", -1}, Example{"~~5", 5},
                                         Example{"(0-7)/2 | 0", -3}, // toward zero
                                         Example{"(1/0) & (0-1)", 9223372036854775807.0},
                                         Example{"((0-1)/0) | 0", -9223372036854775808.0},
                                         Example{"(0/0) | 4", 4}));

INSTANTIATE_TEST_SUITE_P(Comparison, Formula,
                         testing::Values(Example{"2 = 2", 1}, Example{"2 == 2", 1}, Example{"2 = 3", 0},
                                         Example{"2 <> 3", 1}, Example{"2 <> 2", 0}, Example{"1 < 2", 1},
                                         Example{"2 < 2", 0}, Example{"2 > 1", 1}, Example{"2 <= 2", 1},
                                         Example{"3 <= 2", 0}, Example{"2 >= 3", 0}, Example{"2 >= 2", 1},
                                         Example{"1/10 + 2/10 = 3/10", 1}, // with tolerance
                                         Example{"1/10 + 2/10 > 3/10", 1}, // without
                                         Example{"3/10 < 1/10 + 2/10", 1}, Example{"1/10 + 2/10 <= 3/10", 0},
                                         Example{"3/10 >= 1/10 + 2/10", 0}, Example{"3 & 6 = 6", 1},
                                         Example{"1 < 2 = 1", 1}, Example{"3 > 2 > 1", 0},
                                         Example{"0/0 = 0/0", 0}));

INSTANTIATE_TEST_SUITE_P(Shift, Formula,
                         testing::Values(Example{"(1 << 63) >> 63", -1}, Example{"1 << 64", 1},
                                         Example{"1 << (0-63)", 2}, Example{"1 + 1 << 2", 8},
                                         Example{"1 << 2 > 3", 1}, Example{"256 >> 4 >> 2", 4},
                                         Example{"1 << 2 << 3", 32}, Example{"-8 >> 1", -4}));

INSTANTIATE_TEST_SUITE_P(Arithmetic, Formula,
                         testing::Values(Example{"10 - 3 - 2", 5}, Example{"2 + 3 * 4", 14},
                                         Example{"7 / 2", 3.5}, Example{"12 / 3 / 2", 2},
                                         Example{"1 / 0", infinity}, Example{"-1 / 0", -infinity},
                                         Example{"7 % 4", 3}, Example{"-7 % 4", -3}, Example{"7 % -4", 3},
                                         Example{"2 ** 10", 1024}, Example{"-2 ** 2", 4},
                                         Example{"2 ** 3 ** 2", 512}, Example{"2 ** -1", 0.5},
                                         Example{"2 * 3 ** 2", 18}, Example{"-+-3", 3}, Example{"- - 3", 3},
                                         Example{"+3", 3}, Example{"(1 + 2) * 3", 9},
                                         Example{"4 ** 1/2", 2}));

TEST(MathExpression, KnowsItsVariables)
{
    EXPECT_EQ(Compute("TYP = 0", {{"TYP", 0.0}}), 1.0);
    EXPECT_EQ(Compute("CNT - 1", {{"CNT", 0.0}}), -1.0);
    EXPECT_EQ(Compute("_a1 * A", {{"_a1", 1.5}, {"A", 4.0}}), 6.0);
    EXPECT_EQ(Compute("ABS + PI", {{"ABS", 1.0}, {"PI", 2.0}}), 3.0);
}

TEST(MathExpression, HasNoFunctionsAndNoConstants)
{
    EXPECT_EQ(FailureFor("ABS(1)"), (Failure{"Unknown variable: ABS", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor("PI"), (Failure{"Unknown variable: PI", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor("abs"), (Failure{"Unknown variable: abs", GC_ERR_ERROR}));
}

TEST(MathExpression, ComputesBothBranchesAndBothOperands)
{
    EXPECT_EQ(FailureFor("0 ? unknown : 1"), (Failure{"Unknown variable: unknown", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor("1 ? 1 : unknown"), (Failure{"Unknown variable: unknown", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor("1 || unknown"), (Failure{"Unknown variable: unknown", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor("0 && unknown"), (Failure{"Unknown variable: unknown", GC_ERR_ERROR}));
}

TEST(MathExpression, TakesTwoCharactersForOneTokenWhereItCan)
{
    using enum TokenType;
    EXPECT_EQ(TypesOf("<< >> <= >= <> == && || **"),
              (std::vector{ShiftLeft, ShiftRight, LessEqual, GreaterEqual, NotEqual, Equal, AndAnd, OrOr,
                           Power, End}));
    EXPECT_EQ(TypesOf("+-*/%&|^~!=<>?:()"),
              (std::vector{Plus, Minus, Multiply, Divide, Modulo, BitAnd, BitOr, BitXor, BitNot, Not, Equal,
                           NotEqual, Question, Colon, LeftParen, RightParen, End}));
    EXPECT_EQ(TypesOf("***"), (std::vector{Power, Multiply, End}));
    EXPECT_EQ(TypesOf("!="), (std::vector{Not, Equal, End}));
    EXPECT_EQ(TypesOf("<"), (std::vector{Less, End}));
    EXPECT_EQ(TypesOf(">"), (std::vector{Greater, End}));
    EXPECT_EQ(TypesOf("1e3"), (std::vector{Number, Identifier, End}));
    EXPECT_EQ(TypesOf(" "), (std::vector{End}));
}

TEST(MathExpression, RefusesCharactersOutsideOfTheLanguage)
{
    EXPECT_EQ(FailureFor("1.5"), PlainFailure("Unexpected char: ."));
    EXPECT_EQ(FailureFor("a.b"), PlainFailure("Unexpected char: ."));
    EXPECT_EQ(FailureFor("$"), PlainFailure("Unexpected char: $"));
    EXPECT_EQ(FailureFor("1 + \x7f"), PlainFailure("Unexpected char: \x7f"));
    EXPECT_EQ(FailureFor("\xe9"), PlainFailure("Unexpected char: \xe9"));
    EXPECT_EQ(FailureFor(std::string_view("\0", 1)), PlainFailure(std::string("Unexpected char: ")));
}

TEST(MathExpression, RefusesTokensOutOfPlace)
{
    for (const auto *formula :
         {"a != b", "1 != 2", "0xg", "1e3", "1 2", "(1", "1)", "1 ? 2", "1 ? 2 3", "(1 2)"})
    {
        const auto failure = FailureOf([&] { Compute(formula, {{"a", 1.0}, {"b", 1.0}}); });
        EXPECT_EQ(failure, (Failure{"Unexpected token in expression", GC_ERR_ERROR})) << formula;
    }
}

TEST(MathExpression, WantsAnOperand)
{
    for (const auto *formula : {"", " ", "1 +", "* 2", "()", "1 ? : 2", "-", ")", "2 ** ", "1 << <"})
    {
        EXPECT_EQ(FailureFor(formula), (Failure{"Expected number, variable, or '('", GC_ERR_ERROR}))
            << formula;
    }
}

TEST(MathExpression, ExpectsEndAlsoBehindTheEnd)
{
    MathExpressionParser parser("1", {});
    parser.Parse();
    parser.Expect(TokenType::End);
    EXPECT_NO_THROW(parser.Expect(TokenType::End));
    EXPECT_EQ(FailureOf([&] { parser.Expect(TokenType::Plus); }),
              (Failure{"Unexpected token in expression", GC_ERR_ERROR}));
}

std::string Repeat(std::string_view text, size_t count)
{
    std::string result;
    for (size_t i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

TEST(MathExpression, ComputesWhatHonestDescriptionsNest)
{
    constexpr size_t depth = 200;
    EXPECT_EQ(Compute(Repeat("(", depth) + "7" + Repeat(")", depth)), 7);
    // Generated descriptions choose a value by pixel format like this.
    EXPECT_EQ(Compute(Repeat("(0=1)?8:(", depth) + "16" + Repeat(")", depth)), 16);
    EXPECT_EQ(Compute(Repeat("0=1?8:", depth) + "16"), 16);
    EXPECT_EQ(Compute(Repeat("1 + ", 100000) + "1"), 100001);
}

TEST(MathExpression, RefusesHostileNesting)
{
    // Deep enough to overflow a stack. A sanitizer would take half a minute for the long formulas.
    constexpr size_t depth = hasSanitizer ? 20000 : 100000;
    for (const auto &formula :
         {Repeat("(", depth) + "1" + Repeat(")", depth), Repeat("(", depth), Repeat("-", depth) + "1",
          Repeat("+", depth) + "1", Repeat("~", depth) + "1", Repeat("!", depth) + "1",
          Repeat("1 ** ", depth) + "1", Repeat("1 ? ", depth) + "1" + Repeat(" : 1", depth),
          Repeat("1 ? 1 : ", depth) + "1", Repeat("-(", depth), Repeat("1 ? (", depth),
          Repeat("(0=1)?8:(", depth)})
    {
        const auto failure = FailureFor(formula);
        EXPECT_EQ(failure.text, "Expression is nested too deeply") << formula.substr(0, 20);
        EXPECT_EQ(failure.code, GC_ERR_ERROR);
        EXPECT_TRUE(failure.isGenTL);
    }
}

} // namespace
} // namespace GenTL::internal::nodemap
