#include "pixels.h"

#include <limits>
#include <numeric>

namespace GenTL::internal
{

using Words = std::vector<uint16_t>;
using Floats = std::vector<float>;

class VisionConversion : public ConversionTest
{
protected:
    template <typename To, typename From>
    std::vector<To> Converted(PixelFormat from, uint32_t width, const std::vector<From> &samples,
                              PixelFormat to)
    {
        Pixels source(from, width, 1);
        source.Set(samples);
        Pixels target(to, width, 1);
        EXPECT_EQ(Convert(source, target), Answered{});
        return target.template As<To>();
    }
};

TEST_F(VisionConversion, OfAFormatToItselfKeepsTheBytes)
{
    for (const auto format : allFormats)
    {
        Pixels source(format, 6, 4);
        std::iota(source.Data(), source.Data() + source.Size(), uint8_t{1});
        Pixels target(format, 6, 4);
        EXPECT_EQ(Convert(source, target), Answered{});
        EXPECT_EQ(target.As<uint8_t>(), source.As<uint8_t>());
    }
}

TEST_F(VisionConversion, BetweenDepthsShifts)
{
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono8, 3, Bytes{0, 1, 255}, PixelFormat::Mono10),
              (Words{0, 4, 1020}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono8, 3, Bytes{0, 1, 255}, PixelFormat::Mono16),
              (Words{0, 256, 65280}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono12, 3, Words{1, 2048, 4095}, PixelFormat::Mono16),
              (Words{16, 32768, 65520}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono12, 3, Words{3, 4, 4095}, PixelFormat::Mono10),
              (Words{0, 1, 1023}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::Mono16, 3, Words{255, 256, 65535}, PixelFormat::Mono8),
              (Bytes{0, 1, 255}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::BayerGB12, 3, Words{15, 16, 4095}, PixelFormat::BayerGB8),
              (Bytes{0, 1, 255}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::BayerRG10, 2, Words{1, 1023}, PixelFormat::BayerRG12),
              (Words{4, 4092}));
}

TEST_F(VisionConversion, TakesASampleAboveItsDepthAsTheLargest)
{
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono10, 2, Words{1024, 65535}, PixelFormat::Mono16),
              (Words{65472, 65472}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::Mono12, 2, Words{4096, 65535}, PixelFormat::Mono8),
              (Bytes{255, 255}));
}

TEST_F(VisionConversion, OfColoursKeepsEachColourAndAddsOpaqueness)
{
    const Bytes rgb{1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::RGB8, 2, rgb, PixelFormat::BGR8), (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::RGB8, 2, rgb, PixelFormat::RGBa8),
              (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::BGR8, 2, rgb, PixelFormat::RGBa8),
              (Bytes{3, 2, 1, 255, 6, 5, 4, 255}));
    const Bytes transparent{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::RGBa8, 2, transparent, PixelFormat::BGRa8),
              (Bytes{3, 2, 1, 4, 7, 6, 5, 8}));
    EXPECT_EQ(Converted<uint8_t>(PixelFormat::BGRa8, 2, transparent, PixelFormat::RGB8),
              (Bytes{3, 2, 1, 7, 6, 5}));
}

TEST_F(VisionConversion, OfDeepColoursShiftsBetweenDepths)
{
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::RGB10, 1, Words{1, 2, 1023}, PixelFormat::BGR10),
              (Words{1023, 2, 1}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::RGB10, 1, Words{1, 2, 1023}, PixelFormat::RGB12),
              (Words{4, 8, 4092}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::BGR12, 1, Words{4, 8, 4095}, PixelFormat::RGBa10),
              (Words{1023, 2, 1, 1023}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::RGBa12, 1, Words{4, 8, 12, 16}, PixelFormat::BGRa10),
              (Words{3, 2, 1, 4}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::RGB12, 1, Words{4, 8, 12}, PixelFormat::BGRa12),
              (Words{12, 8, 4, 4095}));
}

TEST_F(VisionConversion, WidensDepthAndConfidenceUnchanged)
{
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Coord3D_C8, 3, Bytes{0, 1, 255}, PixelFormat::Coord3D_C16),
              (Words{0, 1, 255}));
    EXPECT_EQ(Converted<float>(PixelFormat::Coord3D_C8, 3, Bytes{0, 1, 255}, PixelFormat::Coord3D_C32f),
              (Floats{0, 1, 255}));
    EXPECT_EQ(Converted<float>(PixelFormat::Coord3D_C16, 3, Words{0, 256, 65535}, PixelFormat::Coord3D_C32f),
              (Floats{0, 256, 65535}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Confidence8, 2, Bytes{7, 255}, PixelFormat::Confidence16),
              (Words{7, 255}));
}

TEST_F(VisionConversion, Unpacks)
{
    // The first sample has the low bits.
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono12p, 2, Bytes{0x23, 0x61, 0x45}, PixelFormat::Mono12),
              (Words{0x123, 0x456}));
    EXPECT_EQ(Converted<uint16_t>(PixelFormat::Mono10p, 4, Bytes{0x01, 0x08, 0x30, 0x00, 0x01},
                                  PixelFormat::Mono10),
              (Words{1, 2, 3, 4}));
    EXPECT_EQ(
        Converted<uint16_t>(PixelFormat::RGB10p32, 1, Bytes{0x01, 0x08, 0x30, 0x00}, PixelFormat::RGB10),
        (Words{1, 2, 3}));
}

TEST_F(VisionConversion, PutsInterleavedLinesSideBySide)
{
    Pixels source(PixelFormat::Mono8_I_A_B, 2, 2, {uint8_t{1}, uint8_t{2}, uint8_t{3}, uint8_t{4}});
    Pixels target(PixelFormat::Mono8_AB, 2, 2);
    EXPECT_EQ(Convert(source, target), Answered{});
    EXPECT_EQ(target.As<uint8_t>(), (Bytes{1, 3, 2, 4, 1, 3, 2, 4}));
}

TEST_F(VisionConversion, MultipliesEachSampleAndKeepsItInRange)
{
    Pixels source(PixelFormat::Mono8, 5, 1);
    source.Set(Bytes{0, 1, 3, 100, 255});
    Pixels bytes(PixelFormat::Mono8, 5, 1);
    EXPECT_EQ(ConvertWithFactor(source, bytes, 2.5), Answered{});
    EXPECT_EQ(bytes.As<uint8_t>(), (Bytes{0, 3, 8, 250, 255}));
    EXPECT_EQ(ConvertWithFactor(source, bytes, -1), Answered{});
    EXPECT_EQ(bytes.As<uint8_t>(), (Bytes{0, 0, 0, 0, 0}));

    Pixels deeper(PixelFormat::Mono10, 5, 1);
    EXPECT_EQ(ConvertWithFactor(source, deeper, 2), Answered{});
    EXPECT_EQ(deeper.As<uint16_t>(), (Words{0, 8, 24, 800, 1023}));
}

TEST_F(VisionConversion, MultipliesInPlace)
{
    Pixels pixels(PixelFormat::Mono16, 2, 1, {uint16_t{3}, uint16_t{40000}});
    EXPECT_EQ(ConvertWithFactor(pixels, pixels, 2), Answered{});
    EXPECT_EQ(pixels.As<uint16_t>(), (Words{6, 65535}));
}

TEST_F(VisionConversion, MultipliesCoordinates)
{
    Pixels source(PixelFormat::Coord3D_C16, 3, 1, {uint16_t{0}, uint16_t{1000}, uint16_t{65535}});
    Pixels target(PixelFormat::Coord3D_C32f, 3, 1);
    EXPECT_EQ(ConvertWithFactor(source, target, 0.125), Answered{});
    EXPECT_EQ(target.As<float>(), (Floats{0, 125, 8191.875F}));
    EXPECT_EQ(ConvertWithFactor(source, target, -2), Answered{});
    EXPECT_EQ(target.As<float>(), (Floats{0, -2000, -131070}));
}

TEST_F(VisionConversion, TakesNoFactorThatIsNotFinite)
{
    Pixels pixels(PixelFormat::Mono8, 1, 1, {uint8_t{7}});
    EXPECT_EQ(ConvertWithFactor(pixels, pixels, std::numeric_limits<double>::infinity()),
              (Answered{TARN_CVL_OUT_OF_RANGE, "The factor is inf, expected a finite number"}));
    EXPECT_EQ(ConvertWithFactor(pixels, pixels, std::numeric_limits<double>::quiet_NaN()).status,
              TARN_CVL_OUT_OF_RANGE);
    EXPECT_EQ(pixels.As<uint8_t>(), Bytes{7});
}

TEST_F(VisionConversion, TakesNoFactorForPackedAndYuvTargets)
{
    for (const auto format : {PixelFormat::Mono10p, PixelFormat::YUV422_8_UYVY})
    {
        Pixels source(format, 4, 2);
        Pixels target(format, 4, 2);
        const auto name = tarn::common::PixelFormatName(format);
        EXPECT_EQ(ConvertWithFactor(source, target, 1),
                  (Answered{TARN_CVL_NOT_SUPPORTED, "The conversion from " + name + " to " + name +
                                                        " with a factor is not offered"}));
    }
}

TEST_F(VisionConversion, NeedsATargetOfTheFormat)
{
    Pixels source(PixelFormat::Mono8, 2, 1);
    Pixels other(PixelFormat::Mono12, 2, 1);
    const ImageHandle from(vision, source);
    const ImageHandle to(vision, other);
    const Answered expected{TARN_CVL_MISMATCH, "The target is of Mono12, expected Mono10"};
    EXPECT_EQ(AnswerOf(vision.Image_ConvertPixelFormat(from, Code(PixelFormat::Mono10), to)), expected);
    EXPECT_EQ(AnswerOf(vision.Image_ConvertPixelFormatWithFactor(from, Code(PixelFormat::Mono10), to, 1)),
              expected);
}

TEST_F(VisionConversion, NeedsATargetOfTheSize)
{
    Pixels source(PixelFormat::Mono8, 2, 3);
    Pixels turned(PixelFormat::Mono8, 3, 2);
    EXPECT_EQ(Convert(source, turned),
              (Answered{TARN_CVL_MISMATCH, "The target has 3 x 2 pixels, expected 2 x 3"}));
    Pixels higher(PixelFormat::Mono8, 2, 4);
    EXPECT_EQ(Convert(source, higher),
              (Answered{TARN_CVL_MISMATCH, "The target has 2 x 4 pixels, expected 2 x 3"}));
}

TEST_F(VisionConversion, ToAnotherFormatNeedsMemoryOfItsOwn)
{
    std::array<uint8_t, 12> memory{};
    const auto convert = [&](size_t source, size_t target)
    {
        const ImageHandle from(vision,
                               tarn_cvl_ImageInfo{Code(PixelFormat::Mono8), 4, 1, 0, 4, &memory.at(source)});
        const ImageHandle to(vision,
                             tarn_cvl_ImageInfo{Code(PixelFormat::Mono10), 4, 1, 0, 8, &memory.at(target)});
        return AnswerOf(vision.Image_ConvertPixelFormat(from, Code(PixelFormat::Mono10), to));
    };
    const Answered shared{TARN_CVL_NOT_POSSIBLE,
                          "The target shares memory with the image; expected memory of "
                          "its own for Mono8 to Mono10"};
    EXPECT_EQ(convert(0, 0), shared);
    EXPECT_EQ(convert(0, 3), shared);
    EXPECT_EQ(convert(7, 0), shared);
    EXPECT_EQ(convert(0, 4), Answered{});
    EXPECT_EQ(convert(8, 0), Answered{});
}

TEST_F(VisionConversion, OfNoPixelsSucceeds)
{
    Pixels source(PixelFormat::BayerRG8, 0, 4);
    Pixels target(PixelFormat::RGB8, 0, 4);
    EXPECT_EQ(Convert(source, target), Answered{});
    EXPECT_EQ(ConvertWithFactor(source, target, 2), Answered{});
}

} // namespace GenTL::internal
