// A pixel has the same depth in each pixel format that the camera sends, also after changes of settings.

#include "depth_axis.h"
#include "depth_points.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace chain
{
namespace
{

constexpr size_t imageWidth = 640;

void LoadUserSet(Camera &camera, const std::string &set)
{
    camera.Remote().Set("UserSetSelector", set);
    camera.Remote().Execute("UserSetLoad");
}

double DepthAt(const ShotPart &image, size_t pixel)
{
    switch (image.pixelFormat)
    {
    case coord3dC8:
        return ValueAt<uint8_t>(image, pixel);
    case coord3dC16:
        return ValueAt<uint16_t>(image, pixel);
    case coord3dC32f:
        return static_cast<double>(ValueAt<float>(image, pixel));
    default:
        EXPECT_EQ(image.pixelFormat, coord3dAbc32f);
        return static_cast<double>(ValueAt<float>(image, 3 * pixel + 2));
    }
}

/// Compares a frame of the mode with the plane; `step` is the depth from one raw value to the next.
void ExpectPlane(Camera &camera, const std::string &mode, double step)
{
    SCOPED_TRACE(mode);
    camera.Remote().Set("Scan3dOutputMode", mode);
    const bool isRaw = mode == "UncalibratedC";
    const Axis axis(camera.Remote(), "CoordinateC");
    const auto shot = TakeShot(camera);
    const auto &image = shot.parts.at(0);
    size_t compared = 0;
    for (size_t row = 300; row < 330; ++row) // these rows show the plane alone
    {
        for (size_t column = 20; column < 620; ++column)
        {
            const SensorPlace place{static_cast<double>(column), static_cast<double>(row)};
            const Point ray = RayOf(place);
            // A raw value is at the pixel where the lens shows the direction.
            const auto shown = isRaw ? Shown(ray) : place;
            const auto i = static_cast<size_t>(std::lround(shown.row)) * imageWidth +
                           static_cast<size_t>(std::lround(shown.column));
            const double value = DepthAt(image, i);
            const double known = OnPlane(ray).z;
            ASSERT_TRUE(axis.IsValid(value) && axis.Covers(value)) << column << ' ' << row;
            ASSERT_NEAR(axis.Of(value), known, step / 2 + 0.001 * known) << column << ' ' << row;
            ++compared;
        }
    }
    EXPECT_EQ(compared, 30U * 600U);
}

TEST(DepthFormats, OfEightBitsGiveTheSameDepthInEveryMode)
{
    const internal::EnvironmentVariable formats("QVR_SIM_PIXEL_FORMATS", "Coord3D_C8,Mono8,Confidence8");
    DepthCamera opened(proxyProducer);
    for (const auto *set : {"", "UserSet0", "Default", "UserSet1"})
    {
        SCOPED_TRACE(set);
        if (*set != '\0')
        {
            LoadUserSet(opened.camera, set);
        }
        for (const auto *mode : {"UncalibratedC", "CalibratedC", "CalibratedABC_Grid"})
        {
            ExpectPlane(opened.camera, mode, 8);
        }
    }
}

// The producer has the camera send the first of the formats that fit the mode.
TEST(DepthFormats, OfEightBitsAreNotSentWhereSixteenAreAvailable)
{
    DepthCamera opened(proxyProducer);
    const auto &remote = opened.camera.Remote();
    remote.Set("Scan3dOutputMode", "UncalibratedC");
    remote.Set("PixelFormat", "Coord3D_C8");
    EXPECT_EQ(remote.Get("PixelFormat"), "Coord3D_C16");
    ExpectPlane(opened.camera, "UncalibratedC", 0.5);
    LoadUserSet(opened.camera, "UserSet0");
    ExpectPlane(opened.camera, "UncalibratedC", 0.125);
    ExpectPlane(opened.camera, "CalibratedABC_Grid", 0.125);
}

// A user set also changes exposure, region, binning and the camera's format. The producer's mode, which the
// camera does not know, stays.
TEST(DepthFormats, AreRightAfterAUserSetThatChangesAll)
{
    DepthCamera opened(proxyProducer);
    const auto &remote = opened.camera.Remote();
    remote.Set("BinningHorizontal", "2");
    remote.Set("DecimationVertical", "2");
    remote.Set("Width", "100");
    remote.Set("OffsetX", "60");
    LoadUserSet(opened.camera, "Default");
    EXPECT_EQ(remote.GetInteger("Width"), 640);
    EXPECT_EQ(remote.GetInteger("BinningHorizontal"), 1);
    EXPECT_EQ(remote.Get("Scan3dOutputMode"), "CalibratedABC_Grid");
    ExpectPlane(opened.camera, "CalibratedABC_Grid", 0.5);
    ExpectPlane(opened.camera, "CalibratedC", 0.5);
}

} // namespace
} // namespace chain
