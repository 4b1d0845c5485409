#include "support/failure.h"
#include "utils/checks.h"
#include "utils/info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>

namespace GenTL::internal::utils
{
namespace
{

TEST(CheckNotNull, NamesTheFirstNullArgument)
{
    int value = 0;
    EXPECT_NO_THROW(CheckNotNull({{"first", &value}, {"second", &value}}));
    EXPECT_EQ(FailureOf(
                  [&] {
                      CheckNotNull({{"first", &value}, {"second", nullptr}, {"third", nullptr}});
                  }),
              (Failure{"second must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST(CheckNotZero, NamesTheArgument)
{
    EXPECT_NO_THROW(CheckNotZero("iSize", 1));
    EXPECT_EQ(FailureOf([] { CheckNotZero("iSize", 0); }),
              (Failure{"iSize must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST(CheckBufferSize, TellsNeededThenGot)
{
    EXPECT_NO_THROW(CheckBufferSize(4, 4));
    EXPECT_EQ(FailureOf([] { CheckBufferSize(3, 4); }),
              (Failure{"Buffer is too small. Needed 4, got 3!", GC_ERR_BUFFER_TOO_SMALL}));
}

TEST(CheckIndex, RefusesTheCountItself)
{
    EXPECT_NO_THROW(CheckIndex(1, 2));
    EXPECT_EQ(FailureOf([] { CheckIndex(2, 2); }),
              (Failure{"Supplied index 2 is out of range", GC_ERR_INVALID_INDEX}));
}

TEST(RangeFits, HoldsNearTheLimitOfTheType)
{
    constexpr auto max = std::numeric_limits<uint64_t>::max();
    EXPECT_TRUE(RangeFits(0, 0, 0));
    EXPECT_TRUE(RangeFits(2, 2, 4));
    EXPECT_FALSE(RangeFits(2, 3, 4));
    EXPECT_FALSE(RangeFits(max, 2, 4));
    EXPECT_FALSE(RangeFits(2, max, 4));
    EXPECT_TRUE(RangeFits(max - 1, 1, max));
}

TEST(InfoQuery, GivesTypeAndSizeWithoutABuffer)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 12345;
    InfoQuery{&type, nullptr, &size}.AnswerInt32(7);
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(size, 4U);
}

TEST(InfoQuery, LeavesAShortBufferAlone)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    size_t size = buffer.size();
    EXPECT_EQ(FailureOf(
                  [&] {
                      WriteStringInfo("four", {&type, buffer.data(), &size});
                  }),
              (Failure{"Buffer is too small. Needed 5, got 4!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(buffer, testing::Each('x'));
}

TEST(InfoQuery, NeedsRoomForTheWholeNumber)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    size_t size = 3;
    EXPECT_EQ(FailureOf(
                  [&] {
                      InfoQuery{&type, buffer.data(), &size}.AnswerUint32(7);
                  }),
              (Failure{"Buffer is too small. Needed 4, got 3!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(type, INFO_DATATYPE_UINT32);
    EXPECT_EQ(size, 3U);
    EXPECT_THAT(buffer, testing::Each('x'));
}

TEST(InfoQuery, TellsTheSizeAlsoWithMoreRoomThanItNeeds)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 8> buffer{};
    buffer.fill('x');
    size_t size = buffer.size();
    InfoQuery{&type, buffer.data(), &size}.AnswerUint32(0x01020304);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(buffer, testing::ElementsAre(4, 3, 2, 1, 'x', 'x', 'x', 'x'));
}

TEST(InfoQuery, AnswersAnEmptyTextWithItsTerminator)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char end = 'x';
    size_t size = 1;
    WriteStringInfo("", {&type, &end, &size});
    EXPECT_EQ(size, 1U);
    EXPECT_EQ(end, '\0');
}

TEST(InfoQuery, TerminatesATextAndNotRawBytes)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 8> buffer{};
    size_t size = buffer.size();
    WriteStringInfo("four", {&type, buffer.data(), &size});
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 5U);
    EXPECT_STREQ(buffer.data(), "four");

    size = buffer.size();
    WriteBufferInfo("ab", 2, {&type, buffer.data(), &size});
    EXPECT_EQ(type, INFO_DATATYPE_BUFFER);
    EXPECT_EQ(size, 2U);
}

TEST(InfoQuery, NamesTheNullArgument)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(FailureOf(
                  [] {
                      WriteStringInfo("", {nullptr, nullptr, nullptr});
                  }),
              (Failure{"pType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf(
                  [&] {
                      InfoQuery{nullptr, nullptr, &size}.AnswerBool(true);
                  })
                  .text,
              "pType must not be NULL");
    EXPECT_EQ(FailureOf(
                  [&] {
                      InfoQuery{&type, nullptr, nullptr}.AnswerBool(true);
                  })
                  .text,
              "pSize must not be NULL");
}

} // namespace
} // namespace GenTL::internal::utils
