// Points that the producer makes of the depth camera's binned or decimated values lie on the camera's scene.

#include "chain/consumer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace chain
{
namespace
{

constexpr size_t buffersQueued = 4;
constexpr uint64_t coord3dAbc32f = 0x026000C0;

struct Point
{
    float x;
    float y;
    float z;
};

/// Without the lens's distortion the pixels look to evenly spaced directions.
std::vector<Point> GrabPoints(Camera &camera)
{
    camera.AnnounceAndQueue(buffersQueued);
    camera.RegisterEvent();
    camera.Start();
    auto *const buffer = camera.Take(60000);
    EXPECT_EQ(camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT), coord3dAbc32f);
    const auto filled = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
    std::vector<Point> points(filled / sizeof(Point));
    std::memcpy(points.data(), camera.BufferInfo<void *>(buffer, BUFFER_INFO_BASE),
                points.size() * sizeof(Point));
    camera.Stop(ACQ_STOP_FLAGS_DEFAULT);
    return points;
}

void ExpectPointsOnTheScene(const std::vector<Point> &points, size_t width, size_t height, double binning)
{
    ASSERT_EQ(points.size(), width * height);
    size_t ofPlane = 0;
    size_t ofSphere = 0;
    double missedPlane = 0;
    for (size_t i = 0; i < points.size(); ++i)
    {
        const Point &point = points[i];
        // From the middle of the first pixel of the sensor to that of the pixels that make this one.
        const double column = binning * static_cast<double>(i % width) + (binning - 1) / 2;
        const double row = binning * static_cast<double>(i / width) + (binning - 1) / 2;
        const double directionX = (column - 322.75) / 525.5;
        const double directionY = (row - 238.5) / 524.25;
        const double a = directionX * directionX + directionY * directionY + 1;
        const double b = directionX * -250 + directionY * -120 + 1150;
        const double missed = std::sqrt(250.0 * 250 + 120.0 * 120 + 1150.0 * 1150 - b * b / a);
        if (missed < 120) // far enough from the sphere's edge
        {
            ++ofSphere;
            ASSERT_NEAR(std::hypot(point.x + 250.0, point.y + 120.0, point.z - 1150.0), 180.0, 2.0 * binning)
                << i;
        }
        else if (missed > 190 && column > 20 && column < 380 && row > 20 && row < 330)
        {
            ++ofPlane;
            const double depth = point.z - 0.25 * point.x - 0.10 * point.y;
            ASSERT_NEAR(depth, 1500.0, 1.0 * binning) << i;
            missedPlane += depth - 1500.0;
        }
        else
        {
            continue;
        }
        ASSERT_NEAR(point.x, directionX * point.z, 0.01) << i;
        ASSERT_NEAR(point.y, directionY * point.z, 0.01) << i;
    }
    // The nearest pixel is as often on this side as on that; one place off in all pixels would add up.
    EXPECT_NEAR(missedPlane / static_cast<double>(ofPlane), 0.0, 0.1);
    EXPECT_GT(static_cast<double>(ofPlane) * binning * binning, 50000.0);
    EXPECT_GT(static_cast<double>(ofSphere) * binning * binning, 5000.0);
}

TEST(DepthOfBinnedPixels, GivesPointsOnTheScene)
{
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-D1");
    camera.Remote().Set("BinningHorizontal", "2");
    camera.Remote().Set("BinningVertical", "2");
    ExpectPointsOnTheScene(GrabPoints(camera), 320, 240, 2);
}

TEST(DepthOfDecimatedPixels, GivesPointsOnTheScene)
{
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-D1");
    camera.Remote().Set("DecimationHorizontal", "4");
    camera.Remote().Set("DecimationVertical", "4");
    ExpectPointsOnTheScene(GrabPoints(camera), 160, 120, 4);
}

} // namespace
} // namespace chain
