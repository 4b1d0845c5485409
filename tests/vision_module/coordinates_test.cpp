#include "undistorter.h"

#include <cmath>
#include <limits>

namespace GenTL::internal
{

namespace
{

struct Coordinates
{
    float x;
    float y;
    float z;

    bool IsNone() const { return std::isnan(x) && std::isnan(y) && z == 0; }
};

} // namespace

class VisionCoordinates : public VisionTest
{
protected:
    Answered Make(void *depth, const tarn_cvl_CalibrationParameters &camera, Pixels &target)
    {
        const ImageHandle to(vision, target);
        const auto answered =
            AnswerOf(vision.Transform_DepthMap_To_XYZImage(to, &camera, TARN_CVL_CAMERA_SIZE, depth));
        EXPECT_TRUE(target.FencesStand());
        return answered;
    }

    /// Gives an image the region of the pixels that are 1 in a mask.
    void Limit(void *image, Pixels &mask)
    {
        void *region = nullptr;
        const tarn_cvl_Range ones{1, 1};
        const ImageHandle from(vision, mask);
        EXPECT_EQ(vision.Region_Create(&region), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Threshold_Process(from, &ones, sizeof ones, &region), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Image_SetRegion(image, region), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Region_Destroy(region), TARN_CVL_SUCCESS);
    }

    static std::vector<Coordinates> PointsOf(Pixels &target)
    {
        std::vector<Coordinates> points(target.Size() / sizeof(Coordinates));
        std::memcpy(points.data(), target.Data(), target.Size());
        return points;
    }
};

TEST_F(VisionCoordinates, AreTheDepthAlongTheRayOfEachPixel)
{
    // Widths below, at and next to vector widths.
    for (const uint32_t width : {1U, 3U, 4U, 7U, 8U, 9U, 16U, 31U, 64U, 67U})
    {
        const auto camera = Camera(width, 5, 410.5F, 377.25F, 3.25F, 1.75F);
        Pixels depth(PixelFormat::Coord3D_C32f, width, 5);
        std::vector<float> depths;
        for (uint32_t i = 0; i < width * 5; ++i)
        {
            depths.push_back(100 + static_cast<float>(i) * 1.375F);
        }
        depth.Set(depths);
        Pixels target(PixelFormat::Coord3D_ABC32f, width, 5);
        const ImageHandle image(vision, depth);
        ASSERT_EQ(Make(image, camera, target), Answered{});
        const auto points = PointsOf(target);
        for (uint32_t i = 0; i < width * 5; ++i)
        {
            // Two roundings, each of up to half a unit in the last place.
            constexpr double rounding = std::numeric_limits<float>::epsilon();
            const double z = depths[i];
            const double x = (i % width - 3.25) * z / 410.5;
            const double y = (i / width - 1.75) * z / 377.25;
            ASSERT_NEAR(points[i].x, x, std::abs(x) * rounding) << i << " of " << width;
            ASSERT_NEAR(points[i].y, y, std::abs(y) * rounding) << i << " of " << width;
            ASSERT_EQ(points[i].z, depths[i]);
        }
    }
}

TEST_F(VisionCoordinates, OfDepthZeroWithoutARegionAreZero)
{
    Pixels depth(PixelFormat::Coord3D_C32f, 2, 1);
    Pixels target(PixelFormat::Coord3D_ABC32f, 2, 1);
    const ImageHandle image(vision, depth);
    EXPECT_EQ(Make(image, Camera(2, 1, 1, 1, 0, 0), target), Answered{});
    EXPECT_EQ(target.As<float>(), std::vector<float>(6, 0.0F));
}

TEST_F(VisionCoordinates, AreNotNumbersAtDepthZeroOutsideOfTheRegion)
{
    Pixels depth(PixelFormat::Coord3D_C32f, 3, 2, {1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F});
    // A region larger than the image.
    Pixels mask(PixelFormat::Mono8, 4, 3,
                {uint8_t{0}, uint8_t{1}, uint8_t{1}, uint8_t{1}, //
                 uint8_t{0}, uint8_t{1}, uint8_t{0}, uint8_t{1}, //
                 uint8_t{1}, uint8_t{1}, uint8_t{1}, uint8_t{1}});
    Pixels target(PixelFormat::Coord3D_ABC32f, 3, 2);
    const ImageHandle image(vision, depth);
    Limit(image, mask);
    EXPECT_EQ(Make(image, Camera(3, 2, 1, 1, 0, 0), target), Answered{});
    const auto points = PointsOf(target);
    for (size_t i = 0; i < points.size(); ++i)
    {
        const bool isIn = i == 1 || i == 2 || i == 4;
        EXPECT_EQ(points[i].IsNone(), !isIn) << i;
    }
    EXPECT_EQ(points[2].x, 6);
    EXPECT_EQ(points[4].z, 5);
    EXPECT_EQ(depth.As<float>(), (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

/// Fills a depth image with small depths where the mask is 1, and with 1000 elsewhere.
void FillMasked(Pixels &depth, Pixels &mask)
{
    std::vector<float> depths;
    std::vector<uint8_t> ones;
    for (uint32_t i = 0; i < 640 * 480; ++i)
    {
        const bool isValid = (i % 640 / 5 + i / 640 / 7) % 3 != 0;
        ones.push_back(isValid ? 1 : 0);
        depths.push_back(isValid ? static_cast<float>(1 + i % 3) : 1000.0F);
    }
    depth.Set(depths);
    mask.Set(ones);
}

TEST_F(VisionCoordinates, FollowTheRegionThroughTheUndistortion)
{
    const auto camera = DistortingCamera();
    const Undistorter undistorter(vision, camera);
    ASSERT_EQ(vision.Transform_Undistortion_SetInterpolation(undistorter, nearest), TARN_CVL_SUCCESS);
    Pixels depth(PixelFormat::Coord3D_C32f, 640, 480);
    Pixels mask(PixelFormat::Mono8, 640, 480);
    FillMasked(depth, mask);
    const ImageHandle source(vision, depth);
    Limit(source, mask);
    Pixels undistorted(PixelFormat::Coord3D_C32f, 640, 480);
    const ImageHandle rectified(vision, undistorted);
    ASSERT_EQ(AnswerOf(vision.Transform_Undistortion_Process(undistorter, source, rectified)), Answered{});
    Pixels target(PixelFormat::Coord3D_ABC32f, 640, 480);
    ASSERT_EQ(Make(rectified, undistorter.Adjusted(), target), Answered{});

    // The mask is undistorted like the depth.
    Pixels rectifiedMask(PixelFormat::Mono8, 640, 480);
    ASSERT_EQ(undistorter.Process(mask, rectifiedMask, nearest), TARN_CVL_SUCCESS);
    const auto isValid = rectifiedMask.As<uint8_t>();
    const auto rectifiedDepths = undistorted.As<float>();
    const auto points = PointsOf(target);
    size_t valid = 0;
    for (size_t i = 0; i < points.size(); ++i)
    {
        ASSERT_EQ(points[i].IsNone(), isValid[i] == 0) << i;
        ASSERT_LT(rectifiedDepths[i], 4) << i;
        if (isValid[i] == 0)
        {
            ASSERT_EQ(rectifiedDepths[i], 0) << i;
        }
        else
        {
            ASSERT_EQ(points[i].z, rectifiedDepths[i]) << i;
            ++valid;
        }
    }
    EXPECT_GT(valid, points.size() / 2);
    EXPECT_LT(valid, points.size() * 3 / 4);
}

TEST_F(VisionCoordinates, AreNoneWhereTheUndistortionFoundNothing)
{
    const Undistorter undistorter(vision, Camera(64, 48, 40, 40, 31.5F, 23.5F, {0.4F}));
    Pixels depth(PixelFormat::Coord3D_C32f, 64, 48);
    depth.Set(std::vector<float>(64 * 48, 2.0F));
    const ImageHandle source(vision, depth);
    Pixels undistorted(PixelFormat::Coord3D_C32f, 64, 48);
    const ImageHandle rectified(vision, undistorted);
    ASSERT_EQ(vision.Transform_Undistortion_SetInterpolation(undistorter, nearest), TARN_CVL_SUCCESS);
    ASSERT_EQ(vision.Transform_Undistortion_Process(undistorter, source, rectified), TARN_CVL_SUCCESS);
    Pixels target(PixelFormat::Coord3D_ABC32f, 64, 48);
    ASSERT_EQ(Make(rectified, undistorter.Adjusted(), target), Answered{});
    const auto points = PointsOf(target);
    EXPECT_TRUE(points.front().IsNone());
    EXPECT_TRUE(points.back().IsNone());
    EXPECT_EQ(points.at(24 * 64 + 32).z, 2);

    // With interpolation 0 and no region, the result has no region, not even the previous one.
    ASSERT_EQ(vision.Transform_Undistortion_SetInterpolation(undistorter, bilinear), TARN_CVL_SUCCESS);
    ASSERT_EQ(vision.Transform_Undistortion_Process(undistorter, source, rectified), TARN_CVL_SUCCESS);
    ASSERT_EQ(Make(rectified, undistorter.Adjusted(), target), Answered{});
    EXPECT_EQ(PointsOf(target).front().z, 0);
}

TEST_F(VisionCoordinates, RefuseBadArguments)
{
    const auto camera = Camera(2, 1, 1, 1, 0, 0);
    Pixels depth(PixelFormat::Coord3D_C32f, 2, 1);
    Pixels target(PixelFormat::Coord3D_ABC32f, 2, 1);
    const ImageHandle from(vision, depth);
    const ImageHandle to(vision, target);
    const auto make = [&](void *result, const tarn_cvl_CalibrationParameters *with, size_t size, void *source)
    { return AnswerOf(vision.Transform_DepthMap_To_XYZImage(result, with, size, source)); };
    const Answered noImage{TARN_CVL_NULL_POINTER, "The handle is null, expected one of an image"};
    EXPECT_EQ(make(nullptr, &camera, TARN_CVL_CAMERA_SIZE, from), noImage);
    EXPECT_EQ(make(to, &camera, TARN_CVL_CAMERA_SIZE, nullptr), noImage);
    EXPECT_EQ(make(to, nullptr, TARN_CVL_CAMERA_SIZE, from),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the camera is null"}));
    EXPECT_EQ(make(to, &camera, TARN_CVL_CALIBRATION_SIZE, from),
              (Answered{TARN_CVL_MISMATCH, "The size of the camera is given as 176 bytes, expected 144"}));
    const auto flat = Camera(2, 1, 1, 0, 0, 0);
    EXPECT_EQ(make(to, &flat, TARN_CVL_CAMERA_SIZE, from).status, TARN_CVL_OUT_OF_RANGE);
    const auto other = Camera(1, 2, 1, 1, 0, 0);
    EXPECT_EQ(make(to, &other, TARN_CVL_CAMERA_SIZE, from),
              (Answered{TARN_CVL_MISMATCH, "The camera has 1 x 2 pixels, expected 2 x 1"}));
    EXPECT_EQ(make(from, &camera, TARN_CVL_CAMERA_SIZE, from),
              (Answered{TARN_CVL_MISMATCH, "The target is of Coord3D_C32f, expected Coord3D_ABC32f"}));
    EXPECT_EQ(make(to, &camera, TARN_CVL_CAMERA_SIZE, to),
              (Answered{TARN_CVL_MISMATCH, "The depth image is of Coord3D_ABC32f, expected Coord3D_C32f"}));
    Pixels small(PixelFormat::Coord3D_ABC32f, 1, 1);
    const ImageHandle smaller(vision, small);
    EXPECT_EQ(make(smaller, &camera, TARN_CVL_CAMERA_SIZE, from),
              (Answered{TARN_CVL_MISMATCH, "The target has 1 x 1 pixels, expected 2 x 1"}));
    auto inside = depth.Info();
    inside.data = target.Data() + 12;
    const ImageHandle shared(vision, inside);
    EXPECT_EQ(make(to, &camera, TARN_CVL_CAMERA_SIZE, shared),
              (Answered{TARN_CVL_NOT_POSSIBLE,
                        "The target shares memory with the depth image; expected memory of its own"}));
}

} // namespace GenTL::internal
