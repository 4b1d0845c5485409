#include "genapi/expression.h"

#include "genapi/formula_error.h"
#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <numbers>
#include <string>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

/// Names with values; records which of them a formula asks for.
class Table final : public Expression::Symbols
{
public:
    explicit Table(std::map<std::string, Number, std::less<>> values) : m_values(std::move(values)) {}

    Number ValueOf(std::string_view name) override
    {
        asked.emplace_back(name);
        const auto found = m_values.find(name);
        return found != m_values.end() ? found->second : throw FormulaError("no " + std::string(name));
    }

    std::vector<std::string> asked;

private:
    std::map<std::string, Number, std::less<>> m_values;
};

Table Values()
{
    return Table(
        {{"A", int64_t{3}}, {"B", int64_t{-7}}, {"F", 2.5}, {"Zero", int64_t{0}}, {"X.Y1", int64_t{9}}});
}

int64_t Integer(const std::string &formula)
{
    auto table = Values();
    const auto value = Expression(formula, NumberKind::Integer).Evaluate(table);
    EXPECT_FALSE(value.IsFloat());
    return value.Integer().value_or(INT64_MIN);
}

double Float(const std::string &formula)
{
    auto table = Values();
    const auto value = Expression(formula, NumberKind::Float).Evaluate(table);
    EXPECT_TRUE(value.IsFloat());
    return value.Float();
}

std::string FailureText(const std::string &formula, NumberKind kind = NumberKind::Integer)
{
    auto table = Values();
    return FailureOf([&] { Expression(formula, kind).Evaluate(table); }).text;
}

struct IntegerCase
{
    const char *formula;
    int64_t value;
};

TEST(ExpressionOfIntegers, HasTheValue)
{
    constexpr IntegerCase cases[] = {
        // Each row holds only if the two operators bind in this order.
        {"1 + 2 * 3", 7},
        {"10 - 4 - 3", 3},
        {"100 / 10 / 5", 2},
        {"1 << 2 + 1", 8},
        {"1 << 2 << 1", 8},
        {"3 < 1 << 2", 1},
        {"2 = 1 < 5", 0},
        {"(2 = 1) < 5", 1},
        {"6 & 2 = 2", 0},
        {"(6 & 2) = 2", 1},
        {"1 ^ 3 & 2", 3},
        {"1 | 3 ^ 1", 3},
        {"(1 | 3) ^ 1", 2},
        {"0 && 1 | 2", 0},
        {"1 || 0 && 0", 1},
        {"1 ? 2 : 3 || 4", 2},
        {"0 || 0 ? 2 : 3", 3},
        {"0 ? 1 : 0 ? 2 : 3", 3},
        {"1 ? 0 ? 4 : 5 : 6", 5},
        {"2 ** 3 ** 2", 512},
        {"2 * 3 ** 2", 18},
        // As in mathematics and most languages: the power binds closer than the sign.
        {"-2 ** 2", -4},
        {"(-2) ** 2", 4},
        {"2 ** +2", 4},
        {"-~5", 6},
        {"~0 & 0xFF", 255},
        {"- - 5", 5},
        // Comparison and logic give 1 or 0, and anything but 0 is true.
        {"5 <> 4", 1},
        {"5 >= 5", 1},
        {"4 > 5", 0},
        {"-3 && 2", 1},
        {"-3 || 0", 1},
        {"-1 ? 10 : 20", 10},
        // The sign of a remainder is that of the dividend, so that a = a / b * b + a % b.
        {"-7 % 3", -1},
        {"7 % -3", 1},
        {"-7 / 3", -2},
        {"7 / -3", -2},
        // Numbers.
        {"0xFFFFFFFFFFFFFFFF", -1},
        {"0x10", 16},
        {"1e2", 100},
        {"2.5", 3},
        {"-2.5", -3},
        {"F", 3},
        {"9223372036854775807 + 1", INT64_MIN},
        {"(-9223372036854775807 - 1) / -1", INT64_MIN},
        {"(-9223372036854775807 - 1) % -1", 0},
        {"1 << 63", INT64_MIN},
        {"-8 >> 1", -4},
        {"(-1) ** 1000000000001", -1},
        {"(-1) ** 1000000000000", 1},
        {"0 ** 0", 1},
        {"2 ** 62", int64_t{1} << 62},
        // Functions.
        {"ABS(-5) + SGN(-5) + NEG(2)", 2},
        {"SQRT(16)", 4},
        {"ROUND(1250, -2)", 1300},
        {"ROUND(17, 2)", 17},
        {"TRUNC(7) + FLOOR(7) + CEIL(7)", 21},
        // Names.
        {"A + B", -4},
        {"X.Y1", 9},
        {" A\n+\t1 ", 4},
        // A guarded division is safe.
        {"Zero = 0 ? 5 : 1 / Zero", 5},
        {"Zero <> 0 && 1 / Zero > 0", 0},
        {"Zero = 0 || 1 / Zero > 0", 1},
    };
    for (const auto &[formula, value] : cases)
    {
        EXPECT_EQ(Integer(formula), value) << formula;
    }
}

struct FloatCase
{
    const char *formula;
    double value;
};

TEST(ExpressionOfFloats, HasTheValue)
{
    constexpr FloatCase cases[] = {
        {"7 / 2", 3.5},
        {"-7 % 3", -1},
        {"5.5 % 2", 1.5},
        {"-2 ** 2", -4},
        {"2 ** -1", 0.5},
        {".5 + 1.", 1.5},
        {"1.5e-3 * 1E3", 1.5},
        {"6 & 3 | 8", 10},
        // Rounded, not cut: a calculated 2.9999999999999996 means 3.
        {"2.9999999999999996 & 7", 3},
        {"1 << 3", 8},
        {"~5", -6},
        {"0.5 ? 1 : 2", 1},
        {"-0.5 && 1", 1},
        {"0.1 + 0.2 = 0.3", 0},
        {"SGN(-0.5)", -1},
        {"NEG(0.5)", -0.5},
        {"ABS(-0.5)", 0.5},
        {"SQRT(2.25)", 1.5},
        {"TRUNC(-1.7)", -1},
        {"FLOOR(-1.2)", -2},
        {"CEIL(-1.7)", -1},
        // Halves go away from zero, as people round, and as a floating value does that becomes an integer.
        {"ROUND(2.5, 0)", 3},
        {"ROUND(-2.5, 0)", -3},
        {"ROUND(0.125, 2)", 0.13},
        {"ROUND(1234.5, -2)", 1200},
        {"ROUND(2.5)", 3},
        {"EXP(0)", 1},
        {"LN(E())", 1},
        {"LG(1000)", 3},
        {"SIN(0) + COS(0)", 1},
        {"TAN(0)", 0},
        {"ASIN(1) * 2", std::numbers::pi},
        {"ACOS(1)", 0},
        {"ATAN(1) * 4", std::numbers::pi},
        {"PI()", std::numbers::pi},
        {"E()", std::numbers::e},
        {"F * 2", 5},
        {"1 / 0", std::numeric_limits<double>::infinity()},
    };
    for (const auto &[formula, value] : cases)
    {
        EXPECT_DOUBLE_EQ(Float(formula), value) << formula;
    }
    EXPECT_TRUE(std::isnan(Float("0 / 0")));
    EXPECT_TRUE(std::isnan(Float("SQRT(-1)")));
}

TEST(Expression, AsksForNamesOnlyWhenItMeetsThem)
{
    const Expression formula("A ? B : Missing", NumberKind::Integer);
    auto table = Values();
    EXPECT_EQ(formula.Evaluate(table), Number(int64_t{-7}));
    EXPECT_THAT(table.asked, testing::ElementsAre("A", "B"));
}

TEST(Expression, SaysWhatIsWrong)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "it ends too early"},
        {"1 +", "it ends too early"},
        {"(1", "it ends too early"},
        {"1 ? 2", "it ends too early"},
        {"1 2", "unexpected '2' at character 3"},
        {"1 + )", "unexpected ')' at character 5"},
        {"2 ? 3 ; 4", "unexpected ';' at character 7"},
        {"1 == 1", "unexpected '=' at character 4"},
        {"0x", "unexpected '0' at character 1"},
        {"12A", "unexpected '1' at character 1"},
        {"0x11112222333344445", "unexpected '0' at character 1"},
        {"LOG(1)", "there is no function LOG"},
        {"SIN(1, 2)", "unexpected ',' at character 6"},
        {"1 / Zero", "division by 0"},
        {"1 % Zero", "division by 0"},
        {"2 ** -1", "a power is negative or too large for an integer"},
        {"2 ** 63", "a power is negative or too large for an integer"},
        {"1 << 64", "a shift by less than 0 or more than 63 bits"},
        {"1 >> -1", "a shift by less than 0 or more than 63 bits"},
        {"1e30", "1e+30 does not fit an integer"},
        {"SQRT(-1)", "nan does not fit an integer"},
        {"C", "no C"},
    };
    for (const auto &[formula, text] : cases)
    {
        EXPECT_EQ(FailureText(formula), text) << formula;
    }
    EXPECT_EQ(FailureText("1 << 64", NumberKind::Float), "a shift by less than 0 or more than 63 bits");
    EXPECT_EQ(FailureText("1e30 & 1", NumberKind::Float), "1e+30 does not fit an integer");
}

TEST(Expression, IsNestedAtMost200Deep)
{
    EXPECT_EQ(Integer(Repeated("(", 200) + "1" + Repeated(")", 200)), 1);
    EXPECT_EQ(Integer(Repeated("-", 200) + "1"), 1);
    for (const auto &formula : {Repeated("(", 201) + "1" + Repeated(")", 201), Repeated("-", 201) + "1",
                                Repeated("ABS(", 201) + "1" + Repeated(")", 201), Repeated("2**", 201) + "1",
                                Repeated("1?", 201) + "1" + Repeated(":1", 201)})
    {
        EXPECT_EQ(FailureText(formula), "it is nested more than 200 deep");
    }
}

TEST(Expression, TakesLongChainsWithoutNesting)
{
    EXPECT_EQ(Integer(Repeated("A = 4 ? 1 : ", 1000) + "2"), 2);
    EXPECT_EQ(Integer(Repeated("1 + ", 5000) + "1"), 5001);
    EXPECT_EQ(Integer(Repeated("0 || ", 5000) + "1"), 1);
}

TEST(Expression, HasAtMost64KiB)
{
    const std::string longest = Repeated("1+", 32767) + "11";
    ASSERT_EQ(longest.size(), 65536U);
    EXPECT_EQ(Integer(longest), 32778);
    EXPECT_EQ(FailureText(longest + " "), "it has more than 65536 characters");
}

} // namespace
} // namespace GenTL::internal::genapi
