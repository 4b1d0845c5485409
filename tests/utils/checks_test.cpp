#include "support/failure.h"
#include "utils/checks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

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

} // namespace
} // namespace GenTL::internal::utils
