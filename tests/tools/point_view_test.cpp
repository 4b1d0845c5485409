#include "pictures/point_view.h"

#include "common/pixel_format.h"
#include "rasters.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using tarn::common::PixelFormat;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

// A camera of 41 x 31 pixels whose axis goes through pixel (20, 15).
constexpr int gridWidth = 41;
constexpr int gridHeight = 31;
constexpr double focalLength = 40;

/// The grid of points that this camera delivers. `scene` gives z for a direction (x/z, y/z), or 0 for no
/// point.
cv::Mat Grid(const std::function<double(double, double)> &scene)
{
    cv::Mat points(gridHeight, gridWidth, CV_32FC3);
    for (int row = 0; row < gridHeight; ++row)
    {
        for (int column = 0; column < gridWidth; ++column)
        {
            const double x = (column - gridWidth / 2) / focalLength;
            const double y = (row - gridHeight / 2) / focalLength;
            const double z = scene(x, y);
            points.at<cv::Vec3f>(row, column) =
                z != 0 ? cv::Vec3f(cv::Vec3d(x * z, y * z, z)) : cv::Vec3f(nan, nan, 0);
        }
    }
    return points;
}

/// The viewpoint of the camera itself, with ten times its pixels.
Viewpoint AtTheCamera()
{
    Viewpoint viewpoint;
    viewpoint.focalLength = 10 * focalLength;
    viewpoint.principalPoint = {200, 150};
    viewpoint.size = {401, 301};
    return viewpoint;
}

/// A viewpoint turned around (0, 0, 1000), at a distance of 1000.
Viewpoint Turned(double degreesToTheRight)
{
    auto viewpoint = AtTheCamera();
    viewpoint.centre = {0, 0, 1000};
    viewpoint.distance = 1000;
    const double angle = degreesToTheRight * CV_PI / 180;
    viewpoint.rotation << std::cos(angle), 0, std::sin(angle), 0, 1, 0, -std::sin(angle), 0, std::cos(angle);
    return viewpoint;
}

/// A view as OpenCV matrices.
struct Rendered
{
    cv::Mat distance;
    cv::Mat depth;
    cv::Mat brightness;
};

Rendered Render(const cv::Mat &points, const cv::Mat &intensity, const Viewpoint &viewpoint)
{
    const auto view = RenderPoints(AsRaster<float>(points), AsRaster<uint8_t>(intensity), viewpoint);
    return {AsMat(view.distance), AsMat(view.depth), AsMat(view.brightness)};
}

cv::Mat Single(const cv::Vec3f &point)
{
    return {1, 1, CV_32FC3, cv::Scalar(point[0], point[1], point[2])};
}

cv::Point PixelOf(const Rendered &view)
{
    cv::Point pixel(-1, -1);
    double largest = 0;
    cv::minMaxLoc(view.distance, nullptr, &largest, nullptr, &pixel);
    EXPECT_EQ(cv::countNonZero(view.distance), 1);
    return largest > 0 ? pixel : cv::Point(-1, -1);
}

TEST(PointViewOfSinglePoints, ShowsEachAtItsPixel)
{
    const auto viewpoint = AtTheCamera();
    EXPECT_EQ(PixelOf(Render(Single({0, 0, 500}), {}, viewpoint)), cv::Point(200, 150));
    EXPECT_EQ(PixelOf(Render(Single({100, -50, 1000}), {}, viewpoint)), cv::Point(240, 130));
    const auto view = Render(Single({-100, 50, 400}), {}, viewpoint);
    EXPECT_EQ(PixelOf(view), cv::Point(100, 200));
    EXPECT_FLOAT_EQ(view.distance.at<float>(200, 100), 400);
    EXPECT_EQ(view.depth.at<float>(200, 100), 400);
}

TEST(PointViewOfSinglePoints, ShowsNoneThatHasNoCoordinates)
{
    for (const auto &point : {cv::Vec3f(nan, nan, 0), cv::Vec3f(0, 0, 0), cv::Vec3f(1, 1, nan),
                              cv::Vec3f(nan, 1, 500), cv::Vec3f(1, nan, 500)})
    {
        EXPECT_EQ(cv::countNonZero(Render(Single(point), {}, AtTheCamera()).distance), 0) << cv::Mat(point);
    }
    EXPECT_EQ(cv::countNonZero(Render(Single({1, 1, 500}), {}, AtTheCamera()).distance), 1);
}

TEST(PointViewOfSinglePoints, ShowsNoneOutsideOfThePictureOrBehind)
{
    for (const auto &point : {cv::Vec3f(600, 0, 1000), cv::Vec3f(0, -600, 1000), cv::Vec3f(0, 0, -1000)})
    {
        EXPECT_EQ(cv::countNonZero(Render(Single(point), {}, AtTheCamera()).distance), 0);
    }
}

TEST(PointViewOfSinglePoints, TurnsThemAroundTheCentre)
{
    // Seen from the right, a point behind the centre moves to the right, and a point before it to the left.
    const auto viewpoint = Turned(90);
    EXPECT_EQ(PixelOf(Render(Single({0, 0, 1000}), {}, viewpoint)), cv::Point(200, 150));
    EXPECT_EQ(PixelOf(Render(Single({0, 0, 1250}), {}, viewpoint)), cv::Point(300, 150));
    const auto view = Render(Single({200, 100, 800}), {}, viewpoint);
    EXPECT_EQ(PixelOf(view), cv::Point(100, 200));
    EXPECT_NEAR(view.distance.at<float>(200, 100), 800, 1e-3);
}

TEST(PointViewOfAPlane, FillsThePixelsBetweenItsPoints)
{
    const auto plane = Grid([](double, double) { return 1000; });
    const auto view = Render(plane, {}, AtTheCamera());
    EXPECT_EQ(cv::countNonZero(view.distance), 401 * 301);
    cv::Mat exact;
    cv::absdiff(view.depth, 1000, exact);
    EXPECT_LE(cv::norm(exact, cv::NORM_INF), 1e-3);
}

TEST(PointViewOfAPlane, IsWhereItIsSeenFromTheSide)
{
    const auto plane = Grid([](double x, double) { return x >= 0 ? 1000.0 : 0.0; });
    const auto viewpoint = Turned(45);
    const auto view = Render(plane, {}, viewpoint);
    // The turn takes the point (x, y, 1000) of the plane to (x cos, y, 1000 - x sin). It appears
    // 400 x cos / (1000 - x sin) columns from the middle.
    const double half = std::sqrt(0.5);
    const double right = 200 + 400 * 500 * half / (1000 - 500 * half);
    ASSERT_GT(right, 401);
    EXPECT_EQ(view.distance.at<float>(150, 199), 0);
    for (const int column : {200, 300, 400})
    {
        const double tangent = (column - 200) / 400.0;
        const double x = 1000 * tangent / (half * (1 + tangent));
        EXPECT_NEAR(view.distance.at<float>(150, column), 1000 - x * half, 0.01) << column;
        EXPECT_NEAR(view.depth.at<float>(150, column), 1000, 0.01) << column;
    }
}

TEST(PointViewOfAPlane, HasAHoleWherePointsHaveNoDepth)
{
    const auto plane = Grid([](double x, double) { return std::abs(x) < 0.13 ? 0.0 : 1000.0; });
    const auto view = Render(plane, {}, AtTheCamera());
    // The columns of x = -0.15 and 0.15 are the last ones that have points.
    EXPECT_NE(view.distance.at<float>(150, 140), 0);
    EXPECT_EQ(view.distance.at<float>(150, 141), 0);
    EXPECT_EQ(view.distance.at<float>(150, 259), 0);
    EXPECT_NE(view.distance.at<float>(150, 260), 0);
}

TEST(PointViewOfAStep, HasNoSurfaceBetweenItsSides)
{
    const auto step = Grid([](double x, double) { return x < 0 ? 600.0 : 1200.0; });
    const auto view = Render(step, {}, AtTheCamera());
    EXPECT_EQ(view.depth.at<float>(150, 100), 600);
    EXPECT_EQ(view.depth.at<float>(150, 300), 1200);
    // The columns between both surfaces are empty.
    EXPECT_EQ(cv::countNonZero(view.distance.colRange(191, 200)), 0);
}

TEST(PointViewOfAStep, HidesWhatIsBehindIt)
{
    // A plate stands before a wall; seen from the side, it hides another part of the wall.
    const auto scene =
        Grid([](double x, double y) { return std::abs(x) < 0.14 && std::abs(y) < 0.14 ? 700.0 : 1300.0; });
    const auto viewpoint = Turned(30);
    const auto pixel = [&](const Eigen::Vector3d &point)
    {
        const auto seen = viewpoint.Project(viewpoint.Turn(point));
        return cv::Point(cv::Point2d(seen.x(), seen.y()));
    };
    const auto plate = pixel({0, 0, 700});
    // Without the plate, the same pixel shows the wall.
    const auto wall = Grid([](double, double) { return 1300.0; });
    const auto nothingBefore = Render(wall, {}, viewpoint);
    ASSERT_NEAR(nothingBefore.depth.at<float>(plate), 1300, 0.01);
    const auto view = Render(scene, {}, viewpoint);
    EXPECT_NEAR(view.depth.at<float>(plate), 700, 0.01);
    EXPECT_LT(view.distance.at<float>(plate), nothingBefore.distance.at<float>(plate));
    // Where the plate hid the wall from the camera, the wall has a hole.
    EXPECT_EQ(view.distance.at<float>(pixel({0, 0, 1300})), 0);

    // The order of the points does not matter.
    cv::Mat reversed;
    cv::flip(scene, reversed, -1);
    EXPECT_NEAR(Render(reversed, {}, viewpoint).depth.at<float>(plate), 700, 0.01);
}

TEST(PointViewWithLight, IsDarkerWhereTheIntensityIs)
{
    const auto plane = Grid([](double, double) { return 1000; });
    cv::Mat intensity(gridHeight, gridWidth, CV_8UC1, cv::Scalar(200));
    intensity.colRange(0, gridWidth / 2).setTo(20);
    const auto view = Render(plane, intensity, AtTheCamera());
    EXPECT_GT(view.brightness.at<float>(150, 300), 1.5 * view.brightness.at<float>(150, 100));
    double brightest = 0;
    cv::minMaxLoc(view.brightness, nullptr, &brightest);
    EXPECT_LE(brightest, 1.0001);
}

TEST(PointViewWithLight, IsDarkerWhereTheSurfaceTurnsAway)
{
    // A roof whose ridge runs down the middle; the light comes from the upper left.
    const auto roof = Grid([](double x, double) { return 1000 / (1 - std::abs(x)); });
    const auto view = Render(roof, {}, AtTheCamera());
    EXPECT_GT(view.brightness.at<float>(150, 100), view.brightness.at<float>(150, 300) + 0.05);
}

TEST(PointViewpoint, HasAllPointsInSight)
{
    const auto scene = Grid([](double x, double y) { return x * x + y * y < 0.04 ? 500.0 : 900 + 400 * x; });
    for (const auto &angles : {ViewAngles{0, 0}, ViewAngles{30, 20}, ViewAngles{-80, 0}, ViewAngles{10, -80}})
    {
        constexpr PictureSize size{320, 200};
        const auto viewpoint = LookAt(AsRaster<float>(scene), angles, size);
        Eigen::AlignedBox2d seen;
        for (int i = 0; i < gridWidth * gridHeight; ++i)
        {
            const auto turned = viewpoint.Turn(
                Eigen::Vector3f(scene.ptr<float>(i / gridWidth, i % gridWidth)).cast<double>());
            ASSERT_GT(turned.z(), 0);
            seen.extend(viewpoint.Project(turned));
        }
        EXPECT_TRUE(Eigen::AlignedBox2d(Eigen::Vector2d(0, 0), Eigen::Vector2d(size.width, size.height))
                        .contains(seen));
        // The points fill the picture in at least one direction.
        EXPECT_GT(std::max(seen.sizes().x() / size.width, seen.sizes().y() / size.height), 0.8);
    }
}

TEST(PointViewpoint, LooksFromTheRightAndFromAbove)
{
    // A point before a wall moves to the left when seen from the right, and down when seen from above.
    const auto scene = Grid([](double x, double y) { return x == 0 && y == 0 ? 500.0 : 1000.0; });
    const auto nearPoint = [&](const ViewAngles &angles) -> Eigen::Vector2d
    {
        const auto viewpoint = LookAt(AsRaster<float>(scene), angles, {400, 300});
        return viewpoint.Project(viewpoint.Turn({0, 0, 500})) -
               viewpoint.Project(viewpoint.Turn({0, 0, 1000}));
    };
    EXPECT_LT(nearPoint({30, 0}).x(), -10);
    EXPECT_GT(nearPoint({-30, 0}).x(), 10);
    EXPECT_GT(nearPoint({0, 30}).y(), 10);
    EXPECT_LT(nearPoint({0, -30}).y(), -10);
}

TEST(PointViewpoint, NeedsAPoint)
{
    const auto nothing = Grid([](double, double) { return 0; });
    EXPECT_THROW(LookAt(AsRaster<float>(nothing), {}, {400, 300}), std::runtime_error);
    EXPECT_EQ(PixelOf(Render(Single({3, 4, 500}), {},
                             LookAt(AsRaster<float>(Single({3, 4, 500})), {}, {400, 300}))),
              cv::Point(200, 150));
}

class PointViewFile : public testing::Test
{
protected:
    PointViewFile() : folder(fs::temp_directory_path() / ("view-" + std::to_string(getpid())))
    {
        fs::create_directories(folder);
    }
    ~PointViewFile() override { fs::remove_all(folder); }

    static ImageView View(const cv::Mat &points)
    {
        return {points.data, points.total() * points.elemSize(), static_cast<size_t>(points.cols),
                static_cast<size_t>(points.rows), static_cast<uint64_t>(PixelFormat::Coord3D_ABC32f)};
    }

    fs::path folder;
};

TEST_F(PointViewFile, IsAPictureInColours)
{
    const auto file = folder / "view.png";
    // The nearer half is at the left.
    const auto scene = Grid([](double x, double) { return 1000 + 400 * x; });
    WriteView(file, View(scene), nullptr, {});
    const auto picture = cv::imread(file.string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(picture.type(), CV_8UC3);
    const auto left = picture.at<cv::Vec3b>(picture.rows / 2, picture.cols / 4);
    const auto right = picture.at<cv::Vec3b>(picture.rows / 2, picture.cols * 3 / 4);
    EXPECT_GT(left[2], left[0]);
    EXPECT_GT(right[0], right[2]);
}

TEST_F(PointViewFile, IsRefusedWithoutPointsOrMemoryOrFolder)
{
    const auto scene = Grid([](double, double) { return 1000; });
    const auto nothing = Grid([](double, double) { return 0; });
    auto tooSmall = View(scene);
    --tooSmall.size;
    EXPECT_THROW(WriteView(folder / "view.png", tooSmall, nullptr, {}), std::runtime_error);
    EXPECT_THROW(WriteView(folder / "view.png", View(nothing), nullptr, {}), std::runtime_error);
    EXPECT_THROW(WriteView(folder / "no" / "view.png", View(scene), nullptr, {}), std::runtime_error);
    EXPECT_TRUE(fs::is_empty(folder));
}

} // namespace
} // namespace gentlctl
