#include "gentlctl/buffer_count.h"

#include <gtest/gtest.h>

namespace
{

using gentlctl::BufferCount;
using gentlctl::unlimited;

constexpr size_t mebibyte = size_t{1} << 20U;

TEST(BufferCount, HasSpareOnesAndOneForEachFrameThatWaits)
{
    EXPECT_EQ(BufferCount(0, mebibyte, 4), 16U);
    EXPECT_EQ(BufferCount(3, mebibyte, 4), 19U);
    EXPECT_EQ(BufferCount(100, mebibyte, 4), 116U);
}

TEST(BufferCount, TakesUpTo512Mebibytes)
{
    EXPECT_EQ(BufferCount(1000, mebibyte, 4), 512U);
    EXPECT_EQ(BufferCount(unlimited, mebibyte, 4), 512U);
    EXPECT_EQ(BufferCount(3, 64 * mebibyte, 4), 8U);
}

TEST(BufferCount, HasLimits)
{
    EXPECT_EQ(BufferCount(unlimited, 4096, 4), 1024U);
    EXPECT_EQ(BufferCount(unlimited, 0, 4), 1024U);
    EXPECT_EQ(BufferCount(3, 256 * mebibyte, 4), 4U);
    EXPECT_EQ(BufferCount(unlimited, 256 * mebibyte, 16), 16U);
}

} // namespace
