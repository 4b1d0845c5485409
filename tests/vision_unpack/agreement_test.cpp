#include "formats.h"

#include "vision/unpack_scalar.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <vector>

namespace tarn::vision
{

namespace
{

/// Whether both forms give the same image, with images at these distances from a cache line. Bytes around the
/// target must stay.
testing::AssertionResult Agree(PixelFormat from, common::Size size, size_t sourceOffset = 0,
                               size_t targetOffset = 0)
{
    constexpr size_t line = 64;
    constexpr uint8_t untouched = 0xA5;
    const auto to = UnpackedFormat(from);
    const auto sourceSize = GetSizeInBytes(from, size);
    const auto targetSize = GetSizeInBytes(to, size);
    const auto aligned = [](std::vector<uint8_t> &bytes, size_t offset)
    {
        const auto beyond = reinterpret_cast<uintptr_t>(bytes.data()) % line;
        return bytes.begin() + static_cast<ptrdiff_t>(line - beyond + offset);
    };
    auto sourceBytes = RandomBytes(sourceSize + 3 * line);
    std::vector<uint8_t> targetBytes(targetSize + 3 * line, untouched);
    const auto source = aligned(sourceBytes, sourceOffset);
    const auto target = aligned(targetBytes, targetOffset);
    const auto targetEnd = target + static_cast<ptrdiff_t>(targetSize);

    std::vector<uint8_t> expected(targetSize);
    UnpackScalar(Code(from), &*source, Code(to), expected.data(), size.width, size.height);
    Unpack(Code(from), &*source, Code(to), &*target, size.width, size.height);

    const auto [got, wanted] = std::mismatch(target, targetEnd, expected.begin());
    if (got != targetEnd)
    {
        return testing::AssertionFailure() << size.width << " x " << size.height << ", byte " << got - target
                                           << ": " << int{*got} << " instead of " << int{*wanted};
    }
    const auto isUntouched = [=](uint8_t byte) { return byte == untouched; };
    if (!std::all_of(targetBytes.begin(), target, isUntouched) ||
        !std::all_of(targetEnd, targetBytes.end(), isUntouched))
    {
        return testing::AssertionFailure()
               << size.width << " x " << size.height << ": bytes around are changed";
    }
    return testing::AssertionSuccess();
}

std::string FormatName(const testing::TestParamInfo<PixelFormat> &info)
{
    return PixelFormatName(info.param);
}

} // namespace

class UnpackOf : public testing::TestWithParam<PixelFormat>
{
};

TEST_P(UnpackOf, AgreesWithThePlainFormAtEverySizeWithEachInstructionSet)
{
    for (const auto set : hwy::SupportedAndGeneratedTargets())
    {
        hwy::SetSupportedTargetsForTest(set);
        for (uint32_t width = 1; width <= 300; ++width)
        {
            for (uint32_t height = 1; height <= 3; ++height)
            {
                ASSERT_TRUE(Agree(GetParam(), {width, height})) << hwy::TargetName(set);
            }
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST_P(UnpackOf, AgreesWithThePlainFormAtEveryAlignment)
{
    for (size_t offset = 0; offset < 64; ++offset)
    {
        ASSERT_TRUE(Agree(GetParam(), {173, 2}, offset, 0)) << "source at " << offset;
        ASSERT_TRUE(Agree(GetParam(), {173, 2}, 0, offset)) << "target at " << offset;
    }
}

TEST_P(UnpackOf, AgreesWithThePlainFormInLinesOfManyPieces)
{
    for (const uint32_t width : {2047U, 2048U, 2049U, 4097U, 6145U})
    {
        ASSERT_TRUE(Agree(GetParam(), {width, 3}));
    }
}

TEST_P(UnpackOf, AgreesWithThePlainFormInLargeImages)
{
    for (const size_t offset : {0U, 1U, 2U, 8U, 60U})
    {
        ASSERT_TRUE(Agree(GetParam(), {1531, 1409}, 3, offset)) << "target at " << offset;
    }
}

TEST_P(UnpackOf, GivesNothingForAnImageWithoutPixels)
{
    for (const common::Size size : {common::Size{0, 0}, common::Size{0, 3}, common::Size{3, 0}})
    {
        EXPECT_TRUE(Agree(GetParam(), size));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, UnpackOf, testing::ValuesIn(OfferedFormats()), FormatName);

} // namespace tarn::vision
