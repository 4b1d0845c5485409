#include "common/pixel_format.h"

#include "common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace tarn::common
{
namespace
{

struct Row
{
    PixelFormat format;
    std::string name;
    uint64_t code;
};

const std::vector<Row> allFormats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) Row{PixelFormat::name, #name, code},
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
};

constexpr Size megapixel{1000, 1000};

std::string TextOf(auto action)
{
    try
    {
        action();
    }
    catch (const InvalidParameterException &exception)
    {
        return exception.what();
    }
    return "nothing thrown";
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

std::string BaseOf(const std::string &name)
{
    return name.substr(0, name.find("_I_A"));
}

// The name says what a format is; the table must agree with it, row by row.

bool IsPackedByName(const std::string &name)
{
    const auto base = BaseOf(name);
    return base.ends_with("p") || base.ends_with("p32") || base.ends_with("g40QVR") ||
           base.ends_with("g24QVR");
}

std::string UnpackedByName(const std::string &name)
{
    auto base = BaseOf(name);
    for (const std::string mark : {"p32", "p", "g40QVR", "g24QVR"})
    {
        if (IsPackedByName(name) && base.ends_with(mark))
        {
            base.erase(base.size() - mark.size());
            break;
        }
    }
    if (name.ends_with("_I_AB_CD"))
    {
        return base + "_ABCD";
    }
    return name.ends_with("_I_A_B") ? base + "_AB" : base;
}

TEST(PixelFormat, Has123Formats)
{
    EXPECT_EQ(allFormats.size(), 123U);
    std::set<uint64_t> codes;
    std::set<std::string> names;
    for (const auto &row : allFormats)
    {
        codes.insert(row.code);
        names.insert(row.name);
    }
    EXPECT_EQ(codes.size(), 123U);
    EXPECT_EQ(names.size(), 123U);
}

TEST(PixelFormat, HasTheCodesOfTheConvention)
{
    // Bits 16 to 23 of a published code are the bits per pixel.
    for (const auto &row : allFormats)
    {
        const auto family = row.code >> 24U;
        if (family == 1 || family == 2)
        {
            const auto bits = (row.code >> 16U) & 0xFFU;
            EXPECT_EQ(GetSizeInBytes(row.format, {8, 1}), bits) << row.name;
        }
    }
}

TEST(PixelFormat, OfAnInterleavedImageHasItsBaseInTheLowBits)
{
    for (const auto &row : allFormats)
    {
        const auto base = BaseOf(row.name);
        if (base == row.name)
        {
            continue;
        }
        const auto entry = std::ranges::find(allFormats, base, &Row::name);
        ASSERT_NE(entry, allFormats.end()) << row.name;
        const uint64_t family = row.name.ends_with("_I_A_B") ? 0x92000000 : 0xB2000000;
        EXPECT_EQ(row.code, family | (entry->code & 0xFFFFFFU)) << row.name;
        EXPECT_EQ(GetSizeInBytes(row.format, megapixel), GetSizeInBytes(entry->format, megapixel))
            << row.name;
    }
}

TEST(PixelFormatName, IsThePublishedOne)
{
    for (const auto &row : allFormats)
    {
        EXPECT_EQ(PixelFormatName(row.format), row.name);
    }
}

TEST(GetSizeInBytes, RoundsUpToWholeBytes)
{
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono10p, {1, 1}), 2U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono10p, megapixel), 1250000U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono12g24QVR, megapixel), 1500000U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::YUV420_8_YY_UV_SemiplanarQVR, megapixel), 1500000U);
}

TEST(GetSizeInBytes, TakesStorageFromTheTableNotFromTheCode)
{
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono12_AB, megapixel), 4000000U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono8_AB, megapixel), 2000000U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono10_ABCD, megapixel), 8000000U);
}

TEST(GetSizeInBytes, OfAnInterleavedImageIsThatOfItsBase)
{
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono10_I_A_B, megapixel), 2000000U);
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono10_AB, megapixel), 4000000U);
}

TEST(GetSizeInBytes, OfAnEmptyImageIsZeroForEveryFormat)
{
    for (const auto &row : allFormats)
    {
        EXPECT_EQ(GetSizeInBytes(row.format, {0, 100}), 0U) << row.name;
        EXPECT_EQ(GetSizeInBytes(row.format, {100, 0}), 0U) << row.name;
    }
}

TEST(GetSizeInBytes, CountsIn64Bits)
{
    EXPECT_EQ(GetSizeInBytes(PixelFormat::Mono8, {0xFFFFFFFFU, 0xFFFFU}), 0xFFFFFFFFULL * 0xFFFFULL);
}

TEST(MaximumPixelValue, FollowsFromTheDepthInTheName)
{
    for (const auto &row : allFormats)
    {
        if (Contains(row.name, "32f"))
        {
            continue;
        }
        const uint64_t expected = Contains(row.name, "16")   ? 65535
                                  : Contains(row.name, "12") ? 4095
                                  : Contains(row.name, "10") ? 1023
                                                             : 255;
        EXPECT_EQ(MaximumPixelValue(row.format), expected) << row.name;
    }
}

TEST(MaximumPixelValue, DoesNotExistForTheSixFloatFormats)
{
    int count = 0;
    for (const auto &row : allFormats)
    {
        if (Contains(row.name, "32f"))
        {
            ++count;
            EXPECT_EQ(TextOf([&] { MaximumPixelValue(row.format); }),
                      "The template does not match the data type of pixel format " + row.name +
                          "! Use float as template argument.");
        }
    }
    EXPECT_EQ(count, 6);
    EXPECT_EQ(MaximumPixelValue(PixelFormat::Coord3D_C16), 65535U);
}

TEST(IsPackedFormat, IsTrueForThe46FormatsWithAPackingMark)
{
    int count = 0;
    for (const auto &row : allFormats)
    {
        EXPECT_EQ(IsPackedFormat(row.format), IsPackedByName(row.name)) << row.name;
        count += IsPackedFormat(row.format) ? 1 : 0;
    }
    EXPECT_EQ(count, 46);
    EXPECT_FALSE(IsPackedFormat(PixelFormat::Mono8_I_A_B));
}

TEST(UnpackedFormat, RemovesPackingAndTurnsInterleavingIntoSamples)
{
    for (const auto &row : allFormats)
    {
        EXPECT_EQ(PixelFormatName(UnpackedFormat(row.format)), UnpackedByName(row.name));
    }
    EXPECT_EQ(UnpackedFormat(PixelFormat::Mono8_I_A_B), PixelFormat::Mono8_AB);
}

TEST(PixelFormat, ThatIsUnknownIsRefusedByEveryFunction)
{
    const auto unknown = static_cast<PixelFormat>(0);
    const std::string text = "The given pixel format with the integer value of 0 is unknown!";
    EXPECT_EQ(TextOf([&] { GetSizeInBytes(unknown, megapixel); }), text);
    EXPECT_EQ(TextOf([&] { PixelFormatName(unknown); }), text);
    EXPECT_EQ(TextOf([&] { MaximumPixelValue(unknown); }), text);
    EXPECT_EQ(TextOf([&] { IsPackedFormat(unknown); }), text);
    EXPECT_EQ(TextOf([&] { UnpackedFormat(unknown); }), text);
    EXPECT_EQ(TextOf([&] { IsPackedFormat(static_cast<PixelFormat>(-5)); }),
              "The given pixel format with the integer value of -5 is unknown!");
}

} // namespace
} // namespace tarn::common
