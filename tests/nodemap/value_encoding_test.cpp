#include "nodemap/value_encoding.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::Each;
using testing::ElementsAre;

using Bytes = std::vector<uint8_t>;

constexpr auto unknownOrder = static_cast<Endianess>(7);

/// A register of `size` bytes, initially 0xEE.
Bytes Encoded(uint64_t value, size_t size, Endianess endianess)
{
    Bytes bytes(size, 0xEE);
    EncodeValue(value, bytes.data(), size, endianess);
    return bytes;
}

Bytes Leading(uint64_t value, size_t size, Endianess endianess)
{
    Bytes bytes(size + 1, 0xEE); // one more, so that a size of 0 has a buffer as well
    StoreLeadingBytes(value, bytes.data(), size, endianess);
    bytes.pop_back();
    return bytes;
}

TEST(EncodeValue, FailsWithFewerThanFourBytes)
{
    for (const size_t size : {0U, 1U, 2U, 3U})
    {
        for (const auto order : {Endianess::Little, Endianess::Big})
        {
            Bytes bytes(4, 0xEE);
            EXPECT_EQ(FailureOf([&] { EncodeValue(1, bytes.data(), size, order); }),
                      (Failure{"Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR}))
                << size;
            EXPECT_THAT(bytes, Each(0xEE));
        }
    }
}

TEST(EncodeValue, StoresTheLowHalfInFourBytes)
{
    EXPECT_THAT(Encoded(0x1122334455667788, 4, Endianess::Little), ElementsAre(0x88, 0x77, 0x66, 0x55));
    EXPECT_THAT(Encoded(0x1122334455667788, 4, Endianess::Big), ElementsAre(0x55, 0x66, 0x77, 0x88));
    EXPECT_THAT(Encoded(0x1122334455667788, 4, unknownOrder), ElementsAre(0x55, 0x66, 0x77, 0x88))
        << "anything but little-endian is swapped";
}

TEST(EncodeValue, WidensTheLowHalfToEightBytes)
{
    EXPECT_THAT(Encoded(0x1122334455667788, 8, Endianess::Little),
                ElementsAre(0x88, 0x77, 0x66, 0x55, 0, 0, 0, 0));
    EXPECT_THAT(Encoded(0x1122334455667788, 8, Endianess::Big),
                ElementsAre(0, 0, 0, 0, 0x55, 0x66, 0x77, 0x88));
    EXPECT_THAT(Encoded(0x1122334455667788, 8, unknownOrder),
                ElementsAre(0, 0, 0, 0, 0x55, 0x66, 0x77, 0x88));
}

TEST(EncodeValue, DropsTheUpperHalfOfTheHighestNumber)
{
    constexpr auto highest = std::numeric_limits<uint64_t>::max();
    EXPECT_THAT(Encoded(highest, 8, Endianess::Little), ElementsAre(0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0));
    EXPECT_THAT(Encoded(uint64_t{1} << 32U, 4, Endianess::Little), Each(0));
}

TEST(EncodeValue, StoresTheLowestByteFirstInAnyOtherSize)
{
    for (const size_t size : {5U, 6U, 7U, 9U, 16U})
    {
        for (const auto order : {Endianess::Little, Endianess::Big})
        {
            Bytes expected(size, 0xEE);
            expected.front() = 0x88;
            EXPECT_EQ(Encoded(0x1122334455667788, size, order), expected);
        }
    }
}

TEST(DecodeUnsigned, ReadsInTheByteOrder)
{
    const Bytes bytes{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 1, Endianess::Big), 1U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 3, Endianess::Little), 0x030201U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 3, Endianess::Big), 0x010203U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 8, Endianess::Little), 0x0807060504030201U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 8, Endianess::Big), 0x0102030405060708U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 2, unknownOrder), 0x0102U);
}

TEST(DecodeUnsigned, ReadsNothingFromNoBytesAndAtMostEight)
{
    const Bytes bytes{1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 0, Endianess::Big), 0U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), 9, Endianess::Big), 0x0102030405060708U);
    EXPECT_EQ(DecodeUnsigned(bytes.data(), std::numeric_limits<size_t>::max(), Endianess::Little),
              0x0807060504030201U);
}

TEST(DecodeSigned, ExtendsTheSignOfTheTopmostByte)
{
    const Bytes bytes{0x80, 0x01, 0x02, 0x83, 0x04, 0x05, 0x06, 0x87};
    EXPECT_EQ(DecodeSigned(bytes.data(), 1, Endianess::Little), -128);
    EXPECT_EQ(DecodeSigned(bytes.data(), 2, Endianess::Big), -0x7FFF);
    EXPECT_EQ(DecodeSigned(bytes.data(), 2, Endianess::Little), 0x0180);
    EXPECT_EQ(DecodeSigned(bytes.data(), 4, Endianess::Little), int32_t(0x83020180));
    EXPECT_EQ(DecodeSigned(bytes.data(), 8, Endianess::Little), int64_t(0x8706050483020180));
    EXPECT_EQ(DecodeSigned(bytes.data(), 0, Endianess::Little), 0);
}

TEST(DecodeSigned, KnowsTheLimits)
{
    const Bytes ones(9, 0xFF);
    for (size_t size = 1; size <= ones.size(); ++size)
    {
        EXPECT_EQ(DecodeSigned(ones.data(), size, Endianess::Big), -1) << size;
    }
    const Bytes lowest{0x80, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(DecodeSigned(lowest.data(), 8, Endianess::Big), std::numeric_limits<int64_t>::min());
}

TEST(StoreLeadingBytes, StoresAsManyOfTheEightBytesAsFit)
{
    EXPECT_THAT(Leading(0x1122334455667788, 4, Endianess::Little), ElementsAre(0x88, 0x77, 0x66, 0x55));
    EXPECT_THAT(Leading(0x1122334455667788, 4, Endianess::Big), ElementsAre(0x11, 0x22, 0x33, 0x44));
    EXPECT_THAT(Leading(0x1122334455667788, 1, unknownOrder), ElementsAre(0x11));
    EXPECT_THAT(Leading(0x1122334455667788, 9, Endianess::Big),
                ElementsAre(0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0xEE));
    EXPECT_THAT(Leading(0x1122334455667788, 0, Endianess::Big), ElementsAre());
}

} // namespace
} // namespace GenTL::internal::nodemap
