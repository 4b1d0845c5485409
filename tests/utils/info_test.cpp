#include "utils/info.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace GenTL::internal::utils
{
namespace
{

TEST(WriteInfo, GivesTypeAndSizeWithoutABuffer)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 12345;
    WriteInfo(Info::Int32(7), &type, nullptr, &size);
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(size, 4U);
}

TEST(WriteInfo, LeavesAShortBufferAlone)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    size_t size = buffer.size();
    EXPECT_EQ(FailureOf([&] { WriteStringInfo("four", &type, buffer.data(), &size); }),
              (Failure{"Buffer is too small. Needed 5, got 4!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(buffer, testing::Each('x'));
}

TEST(WriteInfo, NeedsRoomForTheWholeNumber)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    size_t size = 3;
    EXPECT_EQ(FailureOf([&] { WriteInfo(Info::Uint32(7), &type, buffer.data(), &size); }),
              (Failure{"Buffer is too small. Needed 4, got 3!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(type, INFO_DATATYPE_UINT32);
    EXPECT_EQ(size, 3U);
    EXPECT_THAT(buffer, testing::Each('x'));
}

TEST(WriteInfo, TellsTheSizeAlsoWithMoreRoomThanItNeeds)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 8> buffer{};
    buffer.fill('x');
    size_t size = buffer.size();
    WriteInfo(Info::Uint32(0x01020304), &type, buffer.data(), &size);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(buffer, testing::ElementsAre(4, 3, 2, 1, 'x', 'x', 'x', 'x'));
}

TEST(WriteInfo, AnswersAnEmptyTextWithItsTerminator)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char end = 'x';
    size_t size = 1;
    WriteStringInfo("", &type, &end, &size);
    EXPECT_EQ(size, 1U);
    EXPECT_EQ(end, '\0');
}

TEST(WriteInfo, TerminatesATextAndNotRawBytes)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 8> buffer{};
    size_t size = buffer.size();
    WriteStringInfo("four", &type, buffer.data(), &size);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 5U);
    EXPECT_STREQ(buffer.data(), "four");

    size = buffer.size();
    WriteBufferInfo("ab", &type, buffer.data(), &size);
    EXPECT_EQ(type, INFO_DATATYPE_BUFFER);
    EXPECT_EQ(size, 2U);
}

TEST(WriteInfo, NamesTheNullArgument)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(FailureOf([] { WriteStringInfo("", nullptr, nullptr, nullptr); }),
              (Failure{"pType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { WriteInfo(Info::Bool(true), nullptr, nullptr, &size); }).text,
              "pType must not be NULL");
    EXPECT_EQ(FailureOf([&] { WriteInfo(Info::Bool(true), &type, nullptr, nullptr); }).text,
              "pSize must not be NULL");
}

} // namespace
} // namespace GenTL::internal::utils
