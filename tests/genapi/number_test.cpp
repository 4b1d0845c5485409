#include "genapi/number.h"

#include "support/decimal_comma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace GenTL::internal::genapi
{
namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(ParseInteger, ReadsDecimalAndHexadecimal)
{
    struct Case
    {
        std::string_view text;
        std::optional<int64_t> value;
    };
    constexpr Case cases[] = {
        {"0", 0},
        {" 42\n", 42},
        {"+7", 7},
        {"-7", -7},
        {"0x1F", 31},
        {"0Xff", 255},
        {"-0x10", -16},
        {"010", 10},
        {"0xFFFFFFFFFFFFFFFF", -1},
        {"0x8000000000000000", INT64_MIN},
        {"9223372036854775807", INT64_MAX},
        {"-9223372036854775808", INT64_MIN},
        {"9223372036854775808", INT64_MAX},
        {"18446744073709551616", INT64_MAX},
        {"-99999999999999999999", INT64_MIN},
        {"0x10000000000000000", {}},
        {"", {}},
        {"-", {}},
        {"0x", {}},
        {"--1", {}},
        {"1.0", {}},
        {"1 2", {}},
        {"12a", {}},
    };
    for (const auto &[text, value] : cases)
    {
        EXPECT_EQ(ParseInteger(text), value) << text;
    }
}

TEST(ParseFloat, ReadsAllForms)
{
    struct Case
    {
        std::string_view text;
        std::optional<double> value;
    };
    constexpr Case cases[] = {
        {"1.5", 1.5},
        {" -2.5e-3 ", -0.0025},
        {"+.5", 0.5},
        {"3.", 3},
        {"7", 7},
        {"0x10", 16},
        {"INF", infinity},
        {"-INF", -infinity},
        {"1.8E+308", infinity},
        {"-1e999", -infinity},
        {"1e-999", 0},
        {"0.1e999", infinity},
        {"-0.01e+999", -infinity},
        {"100.5e-999", 0},
        {".1e-99999999999999999999", 0},
        {"", {}},
        {"1,5", {}},
        {"abc", {}},
        {"1.5 m", {}},
        {"+-1", {}},
    };
    for (const auto &[text, value] : cases)
    {
        EXPECT_EQ(ParseFloat(text), value) << text;
    }
    EXPECT_TRUE(std::isnan(ParseFloat("NaN").value_or(0)));
}

TEST(ParseFloat, ReadsAndPrintsAPointInEveryLocale)
{
    const DecimalComma locale;
    EXPECT_EQ(ParseFloat("1.5"), 1.5);
    EXPECT_EQ(ParseFloat("1,5"), std::nullopt);
    EXPECT_EQ(Number(1.5).Text(), "1.5");
}

TEST(Number, RoundsHalfAwayFromZero)
{
    EXPECT_EQ(Number(2.5).Integer(), 3);
    EXPECT_EQ(Number(-2.5).Integer(), -3);
    EXPECT_EQ(Number(2.4999).Integer(), 2);
    EXPECT_EQ(Number(9.2e18).Integer(), 9200000000000000000);
    EXPECT_EQ(Number(-9223372036854775808.0).Integer(), INT64_MIN);
    EXPECT_EQ(Number(9223372036854775808.0).Integer(), std::nullopt);
    EXPECT_EQ(Number(std::nan("")).Integer(), std::nullopt);
}

TEST(Number, PrintsWhatReadsBack)
{
    EXPECT_EQ(Number(int64_t{-5}).Text(), "-5");
    EXPECT_EQ(Number(0.1).Text(), "0.1");
    EXPECT_EQ(Number(3.0).Text(), "3");
    EXPECT_EQ(Number(1e300).Text(), "1e+300");
}

} // namespace
} // namespace GenTL::internal::genapi
