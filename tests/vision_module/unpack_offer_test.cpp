#include "unpack_formats.h"

#include "common/exceptions.h"
#include "vision_module/unpack_scalar.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn::vision
{

namespace
{

bool IsInterleaved(PixelFormat format)
{
    const auto name = PixelFormatName(format);
    return name.ends_with("_I_A_B") || name.ends_with("_I_AB_CD");
}

} // namespace

TEST(UnpackOffer, PairsEachFormatWithItsUnpackedFormOnly)
{
    size_t offered = 0;
    for (const auto from : AllFormats())
    {
        for (const auto to : AllFormats())
        {
            const auto expected = to == UnpackedFormat(from) && (IsPackedFormat(from) || IsInterleaved(from));
            EXPECT_EQ(IsUnpackOffered(Code(from), Code(to)), expected)
                << PixelFormatName(from) << " to " << PixelFormatName(to);
            offered += expected ? 1 : 0;
        }
    }
    EXPECT_EQ(offered, 64U);
}

TEST(UnpackOffer, DoesNotHoldForUnknownCodes)
{
    EXPECT_FALSE(IsUnpackOffered(0, 0));
    EXPECT_FALSE(IsUnpackOffered(0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_FALSE(IsUnpackOffered(Code(PixelFormat::Mono10p), 0));
    EXPECT_FALSE(IsUnpackOffered(0, Code(PixelFormat::Mono10)));
}

TEST(UnpackOffer, EndsUnpackingOfAnyOtherPairBeforeMemoryIsTouched)
{
    const auto from = Code(PixelFormat::Mono10p);
    const auto to = Code(PixelFormat::Mono12);
    EXPECT_THROW(Unpack(from, nullptr, to, nullptr, 4, 4), common::InvalidParameterException);
    EXPECT_THROW(UnpackScalar(from, nullptr, to, nullptr, 4, 4), common::InvalidParameterException);
}

} // namespace tarn::vision
