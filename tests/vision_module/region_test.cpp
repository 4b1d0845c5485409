#include "pixels.h"

#include <cmath>
#include <limits>

namespace GenTL::internal
{

class VisionRegion : public VisionTest
{
protected:
    VisionRegion() { vision.Region_Create(&region); }
    ~VisionRegion() override { EXPECT_EQ(vision.Region_Destroy(region), TARN_CVL_SUCCESS); }

    Answered Threshold(Pixels &pixels, tarn_cvl_Range range)
    {
        const ImageHandle image(vision, pixels);
        void *handle = region;
        const auto answered = AnswerOf(vision.Threshold_Process(image, &range, sizeof range, &handle));
        EXPECT_EQ(handle, region);
        return answered;
    }

    Answered Draw(Pixels &pixels, tarn_cvl_Colour colour)
    {
        const ImageHandle image(vision, pixels);
        const auto answered = AnswerOf(vision.Region_Draw(image, region, &colour));
        EXPECT_TRUE(pixels.FencesStand());
        return answered;
    }

    /// An image with 1 for each pixel of the region.
    std::vector<uint8_t> Mask(uint32_t width, uint32_t height)
    {
        Pixels mask(PixelFormat::Mono8, width, height);
        EXPECT_EQ(Draw(mask, {{1, 0, 0}}), Answered{});
        return mask.As<uint8_t>();
    }

    void *region = nullptr;
};

TEST_F(VisionRegion, IsEmptyAtFirst)
{
    EXPECT_EQ(Mask(3, 1), (Bytes{0, 0, 0}));
}

TEST_F(VisionRegion, HoldsThePixelsWithinBothEnds)
{
    Pixels pixels(PixelFormat::Mono8, 4, 2,
                  {uint8_t{9}, uint8_t{10}, uint8_t{15}, uint8_t{20}, //
                   uint8_t{21}, uint8_t{20}, uint8_t{0}, uint8_t{10}});
    EXPECT_EQ(Threshold(pixels, {10, 20}), Answered{});
    EXPECT_EQ(Mask(4, 2), (Bytes{0, 1, 1, 1, 0, 1, 0, 1}));
}

TEST_F(VisionRegion, HoldsOnlyThePixelsOfTheLastThreshold)
{
    Pixels pixels(PixelFormat::Mono8, 2, 1, {uint8_t{1}, uint8_t{2}});
    EXPECT_EQ(Threshold(pixels, {1, 1}), Answered{});
    EXPECT_EQ(Threshold(pixels, {2, 2}), Answered{});
    EXPECT_EQ(Mask(2, 1), (Bytes{0, 1}));
}

TEST_F(VisionRegion, IsEmptyForARangeFromMoreToLess)
{
    Pixels pixels(PixelFormat::Mono8, 2, 1, {uint8_t{1}, uint8_t{2}});
    EXPECT_EQ(Threshold(pixels, {2, 1}), Answered{});
    EXPECT_EQ(Mask(2, 1), (Bytes{0, 0}));
}

TEST_F(VisionRegion, TakesSixteenBitSamples)
{
    Pixels pixels(PixelFormat::Coord3D_C16, 3, 1, {uint16_t{0}, uint16_t{256}, uint16_t{65535}});
    EXPECT_EQ(Threshold(pixels, {256, 70000}), Answered{});
    EXPECT_EQ(Mask(3, 1), (Bytes{0, 1, 1}));
    EXPECT_EQ(Threshold(pixels, {-5, 0}), Answered{});
    EXPECT_EQ(Mask(3, 1), (Bytes{1, 0, 0}));
}

TEST_F(VisionRegion, TakesFloatsAndNoNumberThatIsNone)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    Pixels pixels(PixelFormat::Coord3D_C32f, 5, 1, {-1.0F, -1.01F, nan, 2.0F, infinity});
    EXPECT_EQ(Threshold(pixels, {-1, INT32_MAX}), Answered{});
    EXPECT_EQ(Mask(5, 1), (Bytes{1, 0, 0, 1, 0}));
}

TEST_F(VisionRegion, ComesFromFormatsOfOneWholeSampleOnly)
{
    for (const auto format : {PixelFormat::Mono10p, PixelFormat::RGB8, PixelFormat::Mono8_AB,
                              PixelFormat::YUV422_8_UYVY, PixelFormat::YUV420_8_YY_UV_SemiplanarQVR})
    {
        Pixels pixels(format, 2, 2);
        EXPECT_EQ(
            Threshold(pixels, {0, 1}),
            (Answered{TARN_CVL_NOT_SUPPORTED, "The image is of " + tarn::common::PixelFormatName(format) +
                                                  ", expected a format of one whole sample for each "
                                                  "pixel"}));
    }
}

TEST_F(VisionRegion, RefusesBadArgumentsOfTheThreshold)
{
    Pixels pixels(PixelFormat::Mono8, 1, 1);
    const ImageHandle image(vision, pixels);
    const tarn_cvl_Range range{};
    EXPECT_EQ(AnswerOf(vision.Threshold_Process(image, nullptr, sizeof range, &region)),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the range is null"}));
    EXPECT_EQ(AnswerOf(vision.Threshold_Process(image, &range, sizeof range + 1, &region)),
              (Answered{TARN_CVL_MISMATCH, "The size of the range is given as 9 bytes, expected 8"}));
    EXPECT_EQ(AnswerOf(vision.Threshold_Process(image, &range, sizeof range, nullptr)),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the region's handle is null"}));
    EXPECT_EQ(AnswerOf(vision.Region_Draw(image, region, nullptr)),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the colour is null"}));
}

TEST_F(VisionRegion, IsDrawnOnlyWhereTheImageIs)
{
    Pixels pixels(PixelFormat::Mono8, 4, 3);
    EXPECT_EQ(Threshold(pixels, {0, 0}), Answered{});
    EXPECT_EQ(Mask(2, 2), (Bytes{1, 1, 1, 1}));
    EXPECT_EQ(Mask(6, 1), (Bytes{1, 1, 1, 1, 0, 0}));
}

TEST_F(VisionRegion, IsDrawnIntoColoursNotTransparency)
{
    Pixels mask(PixelFormat::Mono8, 2, 1, {uint8_t{0}, uint8_t{1}});
    EXPECT_EQ(Threshold(mask, {1, 1}), Answered{});

    Pixels colour(PixelFormat::RGB8, 2, 1);
    EXPECT_EQ(Draw(colour, {{1.4, 1.5, 300}}), Answered{});
    EXPECT_EQ(colour.As<uint8_t>(), (std::vector<uint8_t>{0, 0, 0, 1, 2, 255}));

    Pixels transparent(PixelFormat::BGRa10, 2, 1,
                       {uint16_t{1}, uint16_t{2}, uint16_t{3}, uint16_t{4}, //
                        uint16_t{5}, uint16_t{6}, uint16_t{7}, uint16_t{8}});
    EXPECT_EQ(Draw(transparent, {{-1, NAN, 5000}}), Answered{});
    EXPECT_EQ(transparent.As<uint16_t>(), (std::vector<uint16_t>{1, 2, 3, 4, 0, 0, 1023, 8}));

    Pixels coordinates(PixelFormat::Coord3D_ABC32f, 2, 1);
    EXPECT_EQ(Draw(coordinates, {{-1.5, 0.25, 1e6}}), Answered{});
    EXPECT_EQ(coordinates.As<float>(), (std::vector<float>{0, 0, 0, -1.5F, 0.25F, 1e6F}));
}

TEST_F(VisionRegion, IsNotDrawnIntoSharedOrTooManySamples)
{
    for (const auto format : {PixelFormat::Mono12p, PixelFormat::Mono8_ABCD, PixelFormat::YUV422_8_UYVY})
    {
        Pixels pixels(format, 2, 2);
        EXPECT_EQ(Draw(pixels, {}), (Answered{TARN_CVL_NOT_SUPPORTED,
                                              "The image is of " + tarn::common::PixelFormatName(format) +
                                                  ", expected a format of up to three whole samples for "
                                                  "each pixel"}));
    }
}

} // namespace GenTL::internal
