#include "unpack_formats.h"

#include "vision_module/unpack_scalar.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tarn::vision
{

namespace
{

/// The samples of an image, of one or two bytes.
template <class T>
std::vector<T> SamplesOf(PixelFormat from, const std::vector<uint8_t> &source, common::Size size)
{
    const auto to = UnpackedFormat(from);
    EXPECT_EQ(source.size(), GetSizeInBytes(from, size));
    std::vector<uint8_t> target(GetSizeInBytes(to, size));
    UnpackScalar(Code(from), source.data(), Code(to), target.data(), size.width, size.height);
    std::vector<T> samples;
    for (size_t i = 0; i < target.size(); i += sizeof(T))
    {
        samples.push_back(static_cast<T>(sizeof(T) == 1 ? target[i] : target[i] | target[i + 1] << 8));
    }
    return samples;
}

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

} // namespace

TEST(UnpackScalarOf10p, TakesTenBitsEachFromTheLowestOn)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono10p, {0x23, 0xAD, 0x1A, 0xC0, 0xFF, 0x55, 0x01}, {5, 1}),
              (Words{0x123, 0x2AB, 0x001, 0x3FF, 0x155}));
}

TEST(UnpackScalarOf10p, LetsARowBeginInMidByte)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::BayerGB10p, {0xFF, 0x03, 0xF0, 0x3F}, {1, 3}),
              (Words{0x3FF, 0x000, 0x3FF}));
}

TEST(UnpackScalarOf10p, LeavesTheBitsBehindTheLastSampleAlone)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono10p, {0x01, 0xFC}, {1, 1}), (Words{0x001}));
}

TEST(UnpackScalarOf12p, TakesTwelveBitsEachFromTheLowestOn)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::BayerRG12p, {0x23, 0xC1, 0xAB, 0x56, 0xF4}, {3, 1}),
              (Words{0x123, 0xABC, 0x456}));
}

TEST(UnpackScalarOf10g40, ReadsLowerBitsFromTheFifthByte)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono10g40QVR, {0x48, 0xAA, 0x00, 0xFF, 0xDB}, {2, 2}),
              (Words{0x123, 0x2AA, 0x001, 0x3FF}));
}

TEST(UnpackScalarOf10g40, ReadsLowerBitsOfAnIncompleteGroup)
{
    const Bytes whole{0x00, 0x00, 0x00, 0x00, 0x00};
    const auto lastOf = [&](Bytes group, uint32_t samples)
    {
        auto source = whole;
        source.insert(source.end(), group.begin(), group.end());
        const auto all = SamplesOf<uint16_t>(PixelFormat::BayerBG10g40QVR, source, {4 + samples, 1});
        return Words(all.begin() + 4, all.end());
    };
    EXPECT_EQ(lastOf({0x55, 0xFD}, 1), (Words{0x155}));
    EXPECT_EQ(lastOf({0x55, 0x99, 0xF9}, 2), (Words{0x155, 0x266}));
    EXPECT_EQ(lastOf({0x55, 0x99, 0xCC, 0xF9}, 3), (Words{0x155, 0x266, 0x333}));
}

TEST(UnpackScalarOf12g24, ReadsLowerBitsFromTheThirdByte)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono12g24QVR, {0x12, 0xAB, 0xC3}, {1, 2}),
              (Words{0x123, 0xABC}));
}

TEST(UnpackScalarOf12g24, ReadsLowerBitsOfAnIncompleteGroup)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::BayerGR12g24QVR, {0x12, 0xAB, 0xC3, 0x45, 0xF6}, {3, 1}),
              (Words{0x123, 0xABC, 0x456}));
}

TEST(UnpackScalarOf10p32, TakesThreeSamplesFromTheBitsOfAWord)
{
    const Bytes source{0x23, 0xA9, 0x5A, 0xF5, 0x00, 0x00, 0x00, 0xC0};
    const Words samples{0x123, 0x2AA, 0x355, 0x000, 0x000, 0x000};
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::RGB10p32, source, {2, 1}), samples);
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::BGR10p32, source, {2, 1}), samples);
}

TEST(UnpackScalarOfLines, GivesEachPixelBothLinesOfItsPair)
{
    EXPECT_EQ(SamplesOf<uint8_t>(PixelFormat::Mono8_I_A_B, {1, 2, 3, 11, 12, 13}, {3, 2}),
              (Bytes{1, 11, 2, 12, 3, 13, //
                     1, 11, 2, 12, 3, 13}));
}

TEST(UnpackScalarOfLines, RepeatsTheLastLineThatHasNoPartner)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono12_I_A_B, {1, 0, 2, 1, 3, 0, 4, 2, 5, 0, 6, 3}, {2, 3}),
              (Words{1, 3, 0x102, 0x204, //
                     1, 3, 0x102, 0x204, //
                     5, 5, 0x306, 0x306}));
}

TEST(UnpackScalarOfLines, UnpacksTheSamplesToo)
{
    EXPECT_EQ(SamplesOf<uint16_t>(PixelFormat::Mono10p_I_A_B,
                                  {0x01, 0x08, 0x30, 0x40, 0x40, 0x02, 0x0D, 0x04}, {3, 2}),
              (Words{0x001, 0x101, 0x002, 0x102, 0x003, 0x103, //
                     0x001, 0x101, 0x002, 0x102, 0x003, 0x103}));
}

TEST(UnpackScalarOfCells, GivesEveryPixelTheSamplesOfItsBlock)
{
    EXPECT_EQ(SamplesOf<uint8_t>(PixelFormat::Mono8_I_AB_CD, {1, 2, 3, 4, 11, 12, 13, 14}, {4, 2}),
              (Bytes{1, 2, 11, 12, 1, 2, 11, 12, 3, 4, 13, 14, 3, 4, 13, 14, //
                     1, 2, 11, 12, 1, 2, 11, 12, 3, 4, 13, 14, 3, 4, 13, 14}));
}

TEST(UnpackScalarOfCells, RepeatsAnUnpairedLastLineAndColumn)
{
    EXPECT_EQ(SamplesOf<uint8_t>(PixelFormat::Mono8_I_AB_CD, {1, 2, 3, 11, 12, 13, 21, 22, 23}, {3, 3}),
              (Bytes{1,  2,  11, 12, 1,  2,  11, 12, 3,  3,  13, 13, //
                     1,  2,  11, 12, 1,  2,  11, 12, 3,  3,  13, 13, //
                     21, 22, 21, 22, 21, 22, 21, 22, 23, 23, 23, 23}));
}

TEST(UnpackScalarOfCells, UnpacksTheSamplesToo)
{
    EXPECT_EQ(
        SamplesOf<uint16_t>(PixelFormat::Mono12g24QVR_I_AB_CD, {0x12, 0xAB, 0xC3, 0x45, 0x78, 0x96}, {2, 2}),
        (Words{0x123, 0xABC, 0x456, 0x789, 0x123, 0xABC, 0x456, 0x789, //
               0x123, 0xABC, 0x456, 0x789, 0x123, 0xABC, 0x456, 0x789}));
}

} // namespace tarn::vision
