#include "guarded_memory.h"
#include "unpack_formats.h"

#include "common/format_table.h"
#include "vision_module/unpack_scalar.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <bit>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tarn::vision
{

namespace
{

using common::familyFormats;
using common::FormatInfo;
using common::wideFormats;

/// The formats outside of the family that Unpack converts.
std::vector<FormatInfo> PublishedOffers()
{
    std::vector<FormatInfo> offers;
    for (const auto &row : wideFormats.Formats())
    {
        if (familyFormats.Find(row.format) == nullptr &&
            IsUnpackOffered(Code(row.format), Code(row.unpacked)))
        {
            offers.push_back(row);
        }
    }
    return offers;
}

bool IsOfGigEVision(const FormatInfo &format)
{
    return format.name.ends_with("Packed");
}

uint32_t DepthOf(const FormatInfo &format)
{
    return static_cast<uint32_t>(std::bit_width(format.maximum));
}

uint64_t SampleCount(const FormatInfo &format, common::Size size)
{
    const auto storage = IsOfGigEVision(format) ? 12 : DepthOf(format);
    return uint64_t{size.width} * size.height * (format.bits / storage);
}

/// Samples one behind the other, the lowest bit of each first.
uint16_t StreamedSample(const std::vector<uint8_t> &source, uint32_t depth, uint64_t index)
{
    uint16_t sample = 0;
    for (uint32_t bit = 0; bit < depth; ++bit)
    {
        const auto place = index * depth + bit;
        const bool isSet = (source.at(place / 8) >> place % 8 & 1) != 0;
        sample = static_cast<uint16_t>(sample | (isSet ? 1U << bit : 0U));
    }
    return sample;
}

/// Two samples in three bytes: upper bits, lower bits of both, upper bits.
uint16_t PairedSample(const std::vector<uint8_t> &source, uint32_t depth, uint64_t index)
{
    const auto pair = index / 2 * 3;
    const bool isSecond = index % 2 == 1;
    const auto upper = source.at(isSecond ? pair + 2 : pair);
    const auto both = source.at(pair + 1);
    const auto lowerBits = depth - 8;
    const auto lower = (isSecond ? both >> 4 : both) % (1 << lowerBits);
    return static_cast<uint16_t>(upper << lowerBits | lower);
}

std::vector<uint8_t> Expected(const FormatInfo &format, const std::vector<uint8_t> &source, common::Size size)
{
    std::vector<uint8_t> bytes;
    const auto count = SampleCount(format, size);
    for (uint64_t i = 0; i < count; ++i)
    {
        const auto read = IsOfGigEVision(format) ? PairedSample : StreamedSample;
        const auto sample = read(source, DepthOf(format), i);
        bytes.push_back(static_cast<uint8_t>(sample));
        bytes.push_back(static_cast<uint8_t>(sample >> 8));
    }
    return bytes;
}

std::vector<uint8_t> Unpacked(const FormatInfo &format, const std::vector<uint8_t> &source, common::Size size,
                              decltype(Unpack) *unpack = Unpack)
{
    std::vector<uint8_t> target(GetSizeInBytes(*wideFormats.Find(format.unpacked), size), 0xA5);
    unpack(Code(format.format), source.data(), Code(format.unpacked), target.data(), size.width, size.height);
    return target;
}

std::vector<uint8_t> Unpacked(const char *name, const std::vector<uint8_t> &source, common::Size size)
{
    return Unpacked(*wideFormats.Find(name), source, size);
}

using Bytes = std::vector<uint8_t>;

} // namespace

void PrintTo(const FormatInfo &format, std::ostream *stream)
{
    *stream << format.name;
}

class UnpackPublished : public testing::TestWithParam<common::FormatInfo>
{
protected:
    Bytes Source(common::Size size) const { return RandomBytes(GetSizeInBytes(GetParam(), size)); }
};

TEST_P(UnpackPublished, MatchesAPlainLoopOnEachInstructionSet)
{
    for (const common::Size size : {common::Size{1, 1},
                                    {2, 1},
                                    {3, 1},
                                    {5, 1},
                                    {7, 3},
                                    {8, 2},
                                    {9, 5},
                                    {13, 7},
                                    {17, 3},
                                    {31, 3},
                                    {33, 5},
                                    {64, 3},
                                    {67, 9},
                                    {301, 3}})
    {
        const auto source = Source(size);
        const auto expected = Expected(GetParam(), source, size);
        EXPECT_EQ(Unpacked(GetParam(), source, size, UnpackScalar), expected);
        for (const auto set : hwy::SupportedAndGeneratedTargets())
        {
            hwy::SetSupportedTargetsForTest(set);
            ASSERT_EQ(Unpacked(GetParam(), source, size), expected)
                << hwy::TargetName(set) << ", " << size.width << " x " << size.height;
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST_P(UnpackPublished, MatchesThePlainFormInImagesLargerThanCaches)
{
    const common::Size size{1531, 1409};
    const auto source = Source(size);
    EXPECT_TRUE(Unpacked(GetParam(), source, size) == Unpacked(GetParam(), source, size, UnpackScalar));
}

TEST_P(UnpackPublished, StaysWithinTheImages)
{
    constexpr common::Size largest{150, 3};
    const auto &to = *wideFormats.Find(GetParam().unpacked);
    const auto capacity = GetSizeInBytes(GetParam(), largest);
    GuardedMemory source(capacity);
    GuardedMemory target(GetSizeInBytes(to, largest));
    source.ForbidWriting();
    for (uint32_t width = 1; width <= largest.width; ++width)
    {
        const common::Size size{width, width % largest.height + 1};
        const auto sourceSize = GetSizeInBytes(GetParam(), size);
        const auto targetSize = GetSizeInBytes(to, size);
        for (const auto unpack : {Unpack, UnpackScalar})
        {
            unpack(Code(GetParam().format), source.Front(), Code(to.format), target.Front(), size.width,
                   size.height);
            unpack(Code(GetParam().format), source.Back(sourceSize), Code(to.format), target.Back(targetSize),
                   size.width, size.height);
        }
    }
}

TEST_P(UnpackPublished, HasRoomForEachSampleInTheUnpackedForm)
{
    const common::Size size{11, 3};
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find(GetParam().unpacked), size),
              2 * SampleCount(GetParam(), size));
}

INSTANTIATE_TEST_SUITE_P(Formats, UnpackPublished, testing::ValuesIn(PublishedOffers()),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(UnpackPublishedOffer, HoldsMonoBayerAndColourOfEachPacking)
{
    std::set<std::string> names;
    for (const auto &row : PublishedOffers())
    {
        names.emplace(row.name);
    }
    for (const std::string name :
         {"Mono10Packed",    "Mono12Packed",    "Mono14p",         "RGB10p",          "RGB12p",
          "BGR10p",          "BGR12p",          "RGBa10p",         "BGRa12p",         "YCbCr422_10p",
          "YCbCr12p_CbYCr",  "BayerGR10Packed", "BayerRG10Packed", "BayerGB10Packed", "BayerBG10Packed",
          "BayerGR12Packed", "BayerRG12Packed", "BayerGB12Packed", "BayerBG12Packed", "BayerGR14p",
          "BayerRG14p",      "BayerGB14p",      "BayerBG14p"})
    {
        EXPECT_TRUE(names.contains(name)) << name;
    }
    EXPECT_EQ(names.size(), 59U);
}

TEST(UnpackPublishedOffer, LeavesOtherPackingsAlone)
{
    for (const char *name : {"RGB10V1Packed", "RGB12V1Packed", "R10_Deprecated", "Confidence1p", "Mono4p",
                             "RGB565p", "Coord3D_ABC10p_Planar", "CUSTOM"})
    {
        const auto *row = wideFormats.Find(name);
        ASSERT_NE(row, nullptr) << name;
        EXPECT_FALSE(IsUnpackOffered(Code(row->format), Code(row->unpacked))) << name;
    }
    EXPECT_FALSE(IsUnpackOffered(Code(PixelFormat::Mono12Packed), Code(PixelFormat::Mono10)));
    EXPECT_FALSE(IsUnpackOffered(Code(PixelFormat::BayerRG12Packed), Code(PixelFormat::BayerGR12)));
}

TEST(UnpackMono10Packed, TakesTheLowerBitsFromBothHalvesOfTheMiddleByte)
{
    // 123 = 0100 1000 and 11, 2AA = 1010 1010 and 10. The bits between belong to no sample.
    EXPECT_EQ(Unpacked("Mono10Packed", {0x48, 0xEF, 0xAA, 0xFF, 0x01}, {3, 1}),
              (Bytes{0x23, 0x01, 0xAA, 0x02, 0xFD, 0x03}));
}

TEST(UnpackMono12Packed, TakesTheLowerBitsFromBothHalvesOfTheMiddleByte)
{
    EXPECT_EQ(Unpacked("Mono12Packed", {0x12, 0xC3, 0xAB, 0x45, 0xF6}, {3, 1}),
              (Bytes{0x23, 0x01, 0xBC, 0x0A, 0x56, 0x04}));
}

TEST(UnpackMono14p, TakesFourteenBitsEachFromTheLowestOn)
{
    // 0123, 2AAA, 3FFF and 1001, as one number of 56 bits: 4007FFFAAA8123 in hexadecimal.
    EXPECT_EQ(Unpacked("Mono14p", {0x23, 0x81, 0xAA, 0xFA, 0xFF, 0x07, 0x40}, {4, 1}),
              (Bytes{0x23, 0x01, 0xAA, 0x2A, 0xFF, 0x3F, 0x01, 0x10}));
}

TEST(UnpackRGB10p, LetsAPixelBeginInMidByte)
{
    // Red, green and blue of two pixels: 001, 002, 003, 3FF, 000, 155.
    EXPECT_EQ(Unpacked("RGB10p", {0x01, 0x08, 0x30, 0xC0, 0xFF, 0x00, 0x54, 0x05}, {2, 1}),
              (Bytes{0x01, 0x00, 0x02, 0x00, 0x03, 0x00, 0xFF, 0x03, 0x00, 0x00, 0x55, 0x01}));
}

} // namespace tarn::vision
