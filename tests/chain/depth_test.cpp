// The producer makes points in space from the depth camera's range; the tests compare them with the known
// scene.

#include "depth_points.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace chain
{
namespace
{

class Grid : public testing::TestWithParam<View>
{
protected:
    void SetUp() override
    {
        const auto &view = GetParam();
        Use(m_camera, view);
        const auto shot = TakeShot(m_camera);
        ASSERT_EQ(shot.payloadType, static_cast<size_t>(PAYLOAD_TYPE_IMAGE));
        const auto &image = shot.parts.at(0);
        ASSERT_EQ(image.pixelFormat, coord3dAbc32f);
        m_width = static_cast<size_t>(view.width);
        m_height = static_cast<size_t>(view.height);
        ASSERT_EQ(image.width, m_width);
        ASSERT_EQ(image.height, m_height);
        m_points = PointsOf(image);
        ASSERT_EQ(m_points.size(), m_width * m_height);
        m_camera.Remote().Set("Scan3dCoordinateSelector", "CoordinateC");
        ASSERT_TRUE(m_camera.Remote().Get("Scan3dInvalidDataFlag").get<bool>());
        m_invalid = m_camera.Remote().Get("Scan3dInvalidDataValue").get<double>();
    }

    bool IsInvalid(size_t i) const { return m_points[i].z == m_invalid; }

    template <typename Use>
    void ForEachPixel(Use use) const
    {
        for (size_t row = 0; row < m_height; ++row)
        {
            for (size_t column = 0; column < m_width; ++column)
            {
                use(row * m_width + column, RayOf(PlaceOf(GetParam(), column, row)));
            }
        }
    }

    /// Distance in pixels from the place where the lens shows this direction to the nearest edge of the
    /// camera's picture; negative outside, since an undistorted region reaches beyond the picture that the
    /// camera sent.
    double InsideBy(const Point &ray) const
    {
        const auto &view = GetParam();
        const auto inside = [](double place, int step, int offset, int size)
        {
            const double pixel = (place - (step - 1) / 2.0) / step - offset;
            return std::min(pixel + 0.5, size - 0.5 - pixel);
        };
        const auto shown = Shown(ray);
        return std::min(inside(shown.column, view.StepX(), view.offsetX, view.width),
                        inside(shown.row, view.StepY(), view.offsetY, view.height));
    }

    /// Two pixels, in mm on the plane.
    double BandMargin() const { return 6.0 * GetParam().StepY(); }

    DepthCamera m_opened{proxyProducer};
    Camera &m_camera{m_opened.camera};
    size_t m_width = 0;
    size_t m_height = 0;
    std::vector<Point> m_points;
    double m_invalid = 0;
};

TEST_P(Grid, PutsThePlaneWhereItIs)
{
    size_t compared = 0;
    double fromPlane = 0;
    double alongRay = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            if (ShowsPlaneAlone(ray) && DistanceFromBand(ray) > halfBand + BandMargin() && !IsInvalid(i))
            {
                const auto &point = m_points[i];
                const auto known = OnPlane(ray);
                const double missing = std::abs(point.z - (1500 + 0.25 * point.x + 0.10 * point.y));
                fromPlane = std::max(fromPlane, missing / known.z);
                alongRay = std::max(alongRay, Length(point - known) / known.z);
                ++compared;
            }
        });
    RecordProperty("FromPlane", std::to_string(fromPlane));
    RecordProperty("AlongRay", std::to_string(alongRay));
    EXPECT_GT(compared, m_points.size() / 4);
    EXPECT_LT(fromPlane, allowedError);
    // With a step of four sensor pixels, depth comes from up to two sensor pixels away.
    const bool isCoarse = std::max(GetParam().StepX(), GetParam().StepY()) > 2;
    EXPECT_LT(alongRay, isCoarse ? 1.25 * allowedError : allowedError);
}

TEST_P(Grid, PutsEachPointInTheDirectionOfItsPixel)
{
    size_t compared = 0;
    double worst = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            if (!IsInvalid(i))
            {
                const auto &point = m_points[i];
                worst = std::max(worst, Length(point - Point{ray.x * point.z, ray.y * point.z, point.z}));
                ++compared;
            }
        });
    EXPECT_GT(compared, m_points.size() / 2);
    EXPECT_LT(worst, 0.01);
}

TEST_P(Grid, IsInvalidWhereThereIsNoDepthAndNowhereElse)
{
    size_t inBand = 0;
    size_t wronglyValid = 0;
    size_t wronglyInvalid = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            const double inside = InsideBy(ray);
            const double distance = DistanceFromBand(ray);
            const bool isInBand = ShowsPlaneAlone(ray) && distance < halfBand - BandMargin();
            if (isInBand || inside < -0.01)
            {
                inBand += isInBand ? 1 : 0;
                wronglyValid += IsInvalid(i) ? 0 : 1;
            }
            else if (inside > 0.01 && (!ShowsPlaneAlone(ray) || distance > halfBand + BandMargin()))
            {
                wronglyInvalid += IsInvalid(i) ? 1 : 0;
            }
        });
    EXPECT_GT(inBand, m_points.size() / 100);
    EXPECT_EQ(wronglyValid, 0U);
    EXPECT_EQ(wronglyInvalid, 0U);
}

INSTANTIATE_TEST_SUITE_P(Regions, Grid, testing::ValuesIn(Regions()), NameOf);
INSTANTIATE_TEST_SUITE_P(Binnings, Grid, testing::ValuesIn(Binnings()), NameOf);
INSTANTIATE_TEST_SUITE_P(Decimations, Grid, testing::ValuesIn(Decimations()), NameOf);

class GridOfTheSphere : public Grid
{
};

TEST_P(GridOfTheSphere, GivesItsRadiusAndPlace)
{
    constexpr double inside = 0.9 * sphereRadius; // leaves out the rim, where depth is steep
    std::vector<Point> points;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            if (DistanceFromSphereMiddle(ray) < inside && !IsInvalid(i))
            {
                points.push_back(m_points[i]);
            }
        });
    ASSERT_GT(points.size() * static_cast<size_t>(GetParam().StepX() * GetParam().StepY()), 15000U);
    const auto [middle, radius] = FittedSphere(points);
    RecordProperty("RadiusError", std::to_string(radius - sphereRadius));
    RecordProperty("MiddleError", std::to_string(Length(middle - sphereMiddle)));
    EXPECT_NEAR(radius, sphereRadius, allowedError * sphereMiddle.z);
    if (GetParam().StepX() <= 2 && GetParam().StepY() <= 2) // fine views: relative to the radius
    {
        EXPECT_NEAR(radius, sphereRadius, allowedError * sphereRadius);
    }
    EXPECT_LT(Length(middle - sphereMiddle), allowedError * sphereMiddle.z);
}

std::vector<View> RegionsWithTheSphere()
{
    std::vector<View> views;
    std::ranges::copy_if(Regions(), std::back_inserter(views),
                         [](const View &view)
                         { return view.name != "LowerRight" && view.name != "BinnedRegion"; });
    return views;
}

INSTANTIATE_TEST_SUITE_P(Regions, GridOfTheSphere, testing::ValuesIn(RegionsWithTheSphere()), NameOf);
INSTANTIATE_TEST_SUITE_P(Binnings, GridOfTheSphere, testing::ValuesIn(Binnings()), NameOf);
INSTANTIATE_TEST_SUITE_P(Decimations, GridOfTheSphere, testing::ValuesIn(Decimations()), NameOf);

} // namespace
} // namespace chain
