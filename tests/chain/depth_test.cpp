// What the producer makes of the depth camera's range: points in space, where the scene is known.

#include "chain/depth_shot.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>

namespace chain
{
namespace
{

constexpr uint64_t coord3dAbc32f = 0x026000C0;
constexpr size_t sensorWidth = 640;
constexpr size_t sensorHeight = 480;
constexpr double allowedError = 0.002; // of the distance that is known

/// The camera's lens, without distortion as the grid is.
constexpr double focalLengthX = 525.5;
constexpr double focalLengthY = 524.25;
constexpr double middleX = 322.75;
constexpr double middleY = 238.5;

struct Point
{
    double x;
    double y;
    double z;
};

Point operator-(const Point &a, const Point &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double Length(const Point &point)
{
    return std::hypot(point.x, point.y, point.z);
}

constexpr Point sphereMiddle{-250, -120, 1150};
constexpr double sphereRadius = 180;

/// The direction that a pixel of the grid looks to, at depth 1.
Point RayOf(size_t column, size_t row)
{
    return {(static_cast<double>(column) - middleX) / focalLengthX,
            (static_cast<double>(row) - middleY) / focalLengthY, 1};
}

/// Where the plane lies in a direction of view.
Point OnPlane(const Point &ray)
{
    const double z = 1500 / (1 - 0.25 * ray.x - 0.10 * ray.y);
    return {ray.x * z, ray.y * z, z};
}

double DistanceFromSphereMiddle(const Point &ray)
{
    const double along = (ray.x * sphereMiddle.x + ray.y * sphereMiddle.y + sphereMiddle.z) /
                         (ray.x * ray.x + ray.y * ray.y + 1);
    return Length(Point{ray.x * along, ray.y * along, along} - sphereMiddle);
}

/// Whether nothing but the plane is in this direction and near it.
bool ShowsPlaneAlone(const Point &ray)
{
    constexpr double margin = 20;
    const double x = ray.x * 1000;
    const double y = ray.y * 1000;
    const bool isNearPlate = x > 150 - margin && x < 350 + margin && y > -150 - margin && y < 100 + margin;
    return !isNearPlate && DistanceFromSphereMiddle(ray) > sphereRadius + margin;
}

/// Distance from the middle of the band without depth; half of it is 35 wide.
double DistanceFromBand(const Point &ray)
{
    return std::abs(OnPlane(ray).y - 365);
}

constexpr double halfBand = 35;
constexpr double bandMargin = 6; // two pixels there

std::vector<Point> PointsOf(const ShotPart &part)
{
    std::vector<Point> points(part.bytes.size() / sizeof(std::array<float, 3>));
    for (size_t i = 0; i < points.size(); ++i)
    {
        std::array<float, 3> xyz{};
        std::memcpy(xyz.data(), part.bytes.data() + i * sizeof xyz, sizeof xyz);
        points[i] = {xyz[0], xyz[1], xyz[2]};
    }
    return points;
}

template <typename Use>
void ForEachPixel(Use use)
{
    for (size_t row = 0; row < sensorHeight; ++row)
    {
        for (size_t column = 0; column < sensorWidth; ++column)
        {
            use(row * sensorWidth + column, RayOf(column, row));
        }
    }
}

/// Middle and radius of the sphere with the least square error of |p|^2 = 2 middle p + rest.
std::pair<Point, double> FittedSphere(const std::vector<Point> &points)
{
    constexpr size_t unknowns = 4;
    std::array<std::array<double, unknowns + 1>, unknowns> m{};
    for (const auto &point : points)
    {
        const auto p = point - sphereMiddle; // near zero, to keep digits
        const std::array<double, unknowns + 1> row{p.x, p.y, p.z, 1, p.x * p.x + p.y * p.y + p.z * p.z};
        for (size_t i = 0; i < unknowns; ++i)
        {
            for (size_t j = 0; j <= unknowns; ++j)
            {
                m[i][j] += row[i] * row[j];
            }
        }
    }
    // Of a positive definite matrix no row needs another's place.
    for (size_t i = 0; i < unknowns; ++i)
    {
        for (size_t k = 0; k < unknowns; ++k)
        {
            const double factor = k != i ? m[k][i] / m[i][i] : 0;
            for (size_t j = i; j <= unknowns; ++j)
            {
                m[k][j] -= factor * m[i][j];
            }
        }
    }
    const auto solved = [&](size_t i) { return m[i][unknowns] / m[i][i]; };
    const Point middle{solved(0) / 2, solved(1) / 2, solved(2) / 2};
    const double radius =
        std::sqrt(solved(3) + middle.x * middle.x + middle.y * middle.y + middle.z * middle.z);
    return {{middle.x + sphereMiddle.x, middle.y + sphereMiddle.y, middle.z + sphereMiddle.z}, radius};
}

class Grid : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto shot = TakeShot(m_camera);
        ASSERT_EQ(shot.payloadType, static_cast<size_t>(PAYLOAD_TYPE_IMAGE));
        const auto &image = shot.parts.at(0);
        ASSERT_EQ(image.pixelFormat, coord3dAbc32f);
        ASSERT_EQ(image.width, sensorWidth);
        ASSERT_EQ(image.height, sensorHeight);
        m_points = PointsOf(image);
        ASSERT_EQ(m_points.size(), sensorWidth * sensorHeight);
    }

    double Invalid()
    {
        m_camera.Remote().Set("Scan3dCoordinateSelector", "CoordinateC");
        return m_camera.Remote().Get("Scan3dInvalidDataValue").get<double>();
    }

    DepthCamera m_opened{proxyProducer};
    Camera &m_camera{m_opened.camera};
    std::vector<Point> m_points;
};

TEST_F(Grid, PutsThePlaneWhereItIs)
{
    size_t compared = 0;
    double worst = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            if (ShowsPlaneAlone(ray) && DistanceFromBand(ray) > halfBand + bandMargin)
            {
                const auto &point = m_points[i];
                const double missing = std::abs(point.z - (1500 + 0.25 * point.x + 0.10 * point.y));
                const double sideways = Length(point - OnPlane(ray));
                worst = std::max({worst, missing / OnPlane(ray).z, sideways / OnPlane(ray).z});
                ++compared;
            }
        });
    EXPECT_GT(compared, 150000U);
    EXPECT_LT(worst, allowedError);
}

TEST_F(Grid, GivesTheSphereItsRadiusAndPlace)
{
    constexpr double inside = 0.9 * sphereRadius; // beside the rim, where depth is steep
    std::vector<Point> points;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            if (DistanceFromSphereMiddle(ray) < inside)
            {
                points.push_back(m_points[i]);
            }
        });
    ASSERT_GT(points.size(), 15000U);
    const auto [middle, radius] = FittedSphere(points);
    EXPECT_NEAR(radius, sphereRadius, allowedError * sphereRadius);
    EXPECT_LT(Length(middle - sphereMiddle), allowedError * sphereMiddle.z);
}

TEST_F(Grid, IsInvalidWhereThereIsNoDepthAndNowhereElse)
{
    const double invalid = Invalid();
    size_t inBand = 0;
    size_t wronglyValid = 0;
    size_t wronglyInvalid = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            const bool isInvalid = m_points[i].z == invalid;
            const double distance = DistanceFromBand(ray);
            if (ShowsPlaneAlone(ray) && distance < halfBand - bandMargin)
            {
                ++inBand;
                wronglyValid += isInvalid ? 0 : 1;
            }
            else if (!ShowsPlaneAlone(ray) || distance > halfBand + bandMargin)
            {
                wronglyInvalid += isInvalid ? 1 : 0;
            }
        });
    EXPECT_GT(inBand, 10000U);
    EXPECT_EQ(wronglyValid, 0U);
    EXPECT_EQ(wronglyInvalid, 0U);
}

} // namespace
} // namespace chain
