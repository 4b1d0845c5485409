#include "support/sanitizer.h"
#include "unpack_formats.h"

#include "vision_module/unpack_scalar.h"

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

/// An image and the result of UnpackScalar.
struct Sample
{
    Sample(PixelFormat from, common::Size itsSize)
        : format(from), size(itsSize), source(RandomBytes(GetSizeInBytes(from, itsSize))),
          expected(GetSizeInBytes(UnpackedFormat(from), itsSize))
    {
        UnpackScalar(Code(from), source.data(), Code(UnpackedFormat(from)), expected.data(), size.width,
                     size.height);
    }

    PixelFormat format;
    common::Size size;
    std::vector<uint8_t> source;
    std::vector<uint8_t> expected;
};

/// Whether Unpack gives the same result, with images at these offsets from a cache line. Bytes around the
/// target must not change.
testing::AssertionResult Agrees(const Sample &sample, size_t sourceOffset = 0, size_t targetOffset = 0)
{
    constexpr size_t line = 64;
    constexpr uint8_t untouched = 0xA5;
    const auto aligned = [](std::vector<uint8_t> &bytes, size_t offset)
    {
        const auto beyond = reinterpret_cast<uintptr_t>(bytes.data()) % line;
        return bytes.begin() + static_cast<ptrdiff_t>(line - beyond + offset);
    };
    std::vector<uint8_t> sourceBytes(sample.source.size() + 3 * line);
    std::vector<uint8_t> targetBytes(sample.expected.size() + 3 * line, untouched);
    const auto source = aligned(sourceBytes, sourceOffset);
    const auto target = aligned(targetBytes, targetOffset);
    const auto targetEnd = target + static_cast<ptrdiff_t>(sample.expected.size());
    std::ranges::copy(sample.source, source);

    Unpack(Code(sample.format), &*source, Code(UnpackedFormat(sample.format)), &*target, sample.size.width,
           sample.size.height);

    if (!std::equal(target, targetEnd, sample.expected.begin()))
    {
        const auto [got, wanted] = std::mismatch(target, targetEnd, sample.expected.begin());
        return testing::AssertionFailure()
               << sample.size.width << " x " << sample.size.height << ", byte " << got - target << ": "
               << int{*got} << " instead of " << int{*wanted};
    }
    const auto isUntouched = [=](uint8_t byte) { return byte == untouched; };
    if (!std::all_of(targetBytes.begin(), target, isUntouched) ||
        !std::all_of(targetEnd, targetBytes.end(), isUntouched))
    {
        return testing::AssertionFailure()
               << sample.size.width << " x " << sample.size.height << ": bytes around are changed";
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

TEST_P(UnpackOf, MatchesThePlainFormOnEachInstructionSet)
{
    for (uint32_t width = 1; width <= 300; ++width)
    {
        for (uint32_t height = 1; height <= 3; ++height)
        {
            const Sample sample(GetParam(), {width, height});
            for (const auto set : hwy::SupportedAndGeneratedTargets())
            {
                hwy::SetSupportedTargetsForTest(set);
                ASSERT_TRUE(Agrees(sample)) << hwy::TargetName(set);
            }
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST_P(UnpackOf, AgreesWithThePlainFormAtEveryAlignment)
{
    const Sample sample(GetParam(), {173, 2});
    for (size_t offset = 0; offset < 64; ++offset)
    {
        ASSERT_TRUE(Agrees(sample, offset, 0)) << "source at " << offset;
        ASSERT_TRUE(Agrees(sample, 0, offset)) << "target at " << offset;
    }
}

TEST_P(UnpackOf, AgreesWithThePlainFormInLinesOfManyPieces)
{
    for (const uint32_t width : {2047U, 2048U, 2049U, 4097U, 6145U})
    {
        ASSERT_TRUE(Agrees({GetParam(), {width, 3}}));
    }
}

TEST_P(UnpackOf, AgreesWithThePlainFormInLargeImages)
{
    const Sample sample(GetParam(), {1531, 1409});
    const auto offsets = hasSanitizer ? std::vector<size_t>{60} : std::vector<size_t>{0, 1, 2, 8, 60};
    for (const size_t offset : offsets)
    {
        ASSERT_TRUE(Agrees(sample, 3, offset)) << "target at " << offset;
    }
}

TEST_P(UnpackOf, GivesNothingForAnImageWithoutPixels)
{
    for (const common::Size size : {common::Size{0, 0}, common::Size{0, 3}, common::Size{3, 0}})
    {
        EXPECT_TRUE(Agrees({GetParam(), size}));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, UnpackOf, testing::ValuesIn(OfferedFormats()), FormatName);

} // namespace tarn::vision
