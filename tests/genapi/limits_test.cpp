#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

const std::string limitedNodes =
    Element("Integer", "Two", "<Value>2</Value>") + Element("Float", "Big", "<Value>9.5</Value>") +
    Register("IntReg", "Reg", 0, 1) +
    Element("Integer", "Inner", "<pValue>Reg</pValue><Min>10</Min><Max>50</Max><Inc>5</Inc>");

Limits<int64_t> IntegerLimits(const std::string &content)
{
    RegisterDevice device(limitedNodes + Element("Integer", "F", content));
    return device.features.LimitsOf<int64_t>("F");
}

TEST(LimitsOfAnInteger, AreItsOwnElseThoseBehindElseOfItsType)
{
    struct Case
    {
        const char *content;
        Limits<int64_t> limits;
    };
    const Case cases[] = {
        {"<Value>0</Value>", {INT64_MIN, INT64_MAX, {}}},
        {"<Value>0</Value><Min>-3</Min><Max>0xF</Max><Inc>3</Inc>", {-3, 15, 3}},
        {"<Value>0</Value><pMin>Two</pMin><pMax>Big</pMax><pInc>Two</pInc>", {2, 10, 2}},
        {"<pValue>Reg</pValue>", {0, 255, {}}},
        {"<pValue>Reg</pValue><Max>100</Max>", {0, 100, {}}},
        {"<pValue>Inner</pValue>", {10, 50, 5}},
        {"<pValue>Inner</pValue><Min>20</Min>", {20, 50, 5}},
        {"<Value>0</Value><Max>9223372036854775808</Max>", {INT64_MIN, INT64_MAX, {}}},
        {"<pValue>Big</pValue>", {INT64_MIN, INT64_MAX, {}}},
    };
    for (const auto &[content, limits] : cases)
    {
        EXPECT_EQ(IntegerLimits(content), limits) << content;
    }
}

TEST(LimitsOfAFloat, AreItsOwnElseThoseBehindElseOfItsType)
{
    constexpr double most = std::numeric_limits<double>::max();
    struct Case
    {
        const char *content;
        Limits<double> limits;
    };
    const Case cases[] = {
        {"<Value>0</Value>", {-most, most, {}}},
        {"<Value>0</Value><Min>-1.5</Min><Max>1e3</Max><Inc>0.5</Inc>", {-1.5, 1000, 0.5}},
        {"<Value>0</Value><pMin>Two</pMin><pMax>Big</pMax>", {2, 9.5, {}}},
        {"<pValue>Inner</pValue><Max>40.5</Max>", {10, 40.5, 5}},
    };
    for (const auto &[content, limits] : cases)
    {
        RegisterDevice device(limitedNodes + Element("Float", "F", content));
        EXPECT_EQ(device.features.LimitsOf<double>("F"), limits) << content;
    }
    RegisterDevice wide(Element("Float", "F", "<Value>0</Value><Min>-1e30</Min><Max>2.5</Max>"));
    EXPECT_EQ(wide.features.LimitsOf<int64_t>("F"), (Limits<int64_t>{INT64_MIN, 3, {}}));
    constexpr double mostOfFour = std::numeric_limits<float>::max();
    RegisterDevice device(Register("FloatReg", "F", 0, 4));
    EXPECT_EQ(device.features.LimitsOf<double>("F"), (Limits<double>{-mostOfFour, mostOfFour, {}}));
}

TEST(LimitsOfOtherKinds, FollowTheirValues)
{
    RegisterDevice device(Element("Boolean", "B", "<Value>1</Value>") +
                          Element("Enumeration", "E",
                                  "<EnumEntry Name=\"A\"><Value>7</Value></EnumEntry>"
                                  "<EnumEntry Name=\"B\"><Value>-2</Value></EnumEntry><Value>7</Value>") +
                          "<Category Name=\"C\"/>" + Element("IntSwissKnife", "K", "<Formula>1</Formula>"));
    EXPECT_EQ(device.features.LimitsOf<int64_t>("B"), (Limits<int64_t>{0, 1, {}}));
    EXPECT_EQ(device.features.LimitsOf<int64_t>("E"), (Limits<int64_t>{-2, 7, {}}));
    EXPECT_EQ(device.features.LimitsOf<int64_t>("K"), (Limits<int64_t>{INT64_MIN, INT64_MAX, {}}));
    EXPECT_EQ(FailureOf([&] { device.features.LimitsOf<int64_t>("C"); }).text,
              "C: C.Min: a Category has no limits");
}

TEST(WriteOfAnInteger, ChecksLimitsAndIncrementFirst)
{
    RegisterDevice device(limitedNodes + Element("Integer", "F", "<pValue>Inner</pValue><Max>40</Max>"));
    struct Case
    {
        int64_t value;
        Failure failure;
    };
    const Case cases[] = {
        {10, {}},
        {40, {}},
        {9, {"F: 9 is less than the minimum 10", GC_ERR_INVALID_VALUE}},
        {45, {"F: 45 is greater than the maximum 40", GC_ERR_INVALID_VALUE}},
        {12, {"F: 12 is not 10 plus a multiple of 5", GC_ERR_INVALID_VALUE}},
    };
    for (const auto &[value, failure] : cases)
    {
        EXPECT_EQ(FailureOf([&, wanted = value] { device.features.WriteInteger("F", wanted); }), failure);
    }
    EXPECT_EQ(device.port.writes.size(), 2U);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(40));
}

TEST(WriteOfAnInteger, CountsStepsOverTheWholeRange)
{
    RegisterDevice device(
        Element("Integer", "F", "<Value>0</Value><Min>-9223372036854775807</Min><Inc>10</Inc>"));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("F", INT64_MAX); }).code, GC_ERR_INVALID_VALUE);
    // The distance is 18446744073709551610, beyond int64.
    device.features.WriteInteger("F", INT64_MAX - 4);
    EXPECT_EQ(device.features.ReadInteger("F"), INT64_MAX - 4);
}

TEST(WriteOfAFloat, ChecksLimitsAndIncrementFirst)
{
    RegisterDevice device(Element("Float", "F", "<Value>0</Value><Min>0.5</Min><Max>2</Max><Inc>0.1</Inc>"));
    struct Case
    {
        double value;
        Failure failure;
    };
    const Case cases[] = {
        {0.5, {}},
        {0.8, {}},
        {2, {}},
        {0.25, {"F: 0.25 is less than the minimum 0.5", GC_ERR_INVALID_VALUE}},
        {2.5, {"F: 2.5 is greater than the maximum 2", GC_ERR_INVALID_VALUE}},
        {0.75, {"F: 0.75 is not 0.5 plus a multiple of 0.1", GC_ERR_INVALID_VALUE}},
        {std::numeric_limits<double>::quiet_NaN(), {"F: the value is not a number", GC_ERR_INVALID_VALUE}},
    };
    for (const auto &[value, failure] : cases)
    {
        EXPECT_EQ(FailureOf([&, wanted = value] { device.features.WriteFloat("F", wanted); }), failure);
    }
    EXPECT_EQ(device.features.ReadFloat("F"), 2);
}

TEST(WriteOfAText, IsCheckedLikeItsNumber)
{
    RegisterDevice device(Element("Integer", "F", "<Value>0</Value><Max>5</Max>"));
    device.features.WriteText("F", "0x4");
    EXPECT_EQ(device.features.ReadInteger("F"), 4);
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("F", "6"); }).code, GC_ERR_INVALID_VALUE);
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("F", "four"); }),
              (Failure{"F: \"four\" is no number", GC_ERR_INVALID_VALUE}));
}

} // namespace
} // namespace GenTL::internal::genapi
