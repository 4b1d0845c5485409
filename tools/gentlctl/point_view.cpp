#include "gentlctl/point_view.h"

#include "gentlctl/depth_files.h"

#include "common/pixel_format.h"

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

// A picture is drawn twice as large and made smaller, which smooths its edges.
constexpr int supersampling = 2;
const cv::Size pictureSize(864, 640);
constexpr double marginOfPicture = 0.07;

// A surface that the camera sees at a smaller angle than this (its sine) is taken for a step in depth.
constexpr double leastSine = 0.15;

/// What the points with coordinates take up.
struct Bounds
{
    size_t count = 0;
    cv::Vec3d least = cv::Vec3d::all(std::numeric_limits<double>::max());
    cv::Vec3d largest = cv::Vec3d::all(std::numeric_limits<double>::lowest());

    void Add(const cv::Vec3d &point)
    {
        ++count;
        for (int i = 0; i < 3; ++i)
        {
            least[i] = std::min(least[i], point[i]);
            largest[i] = std::max(largest[i], point[i]);
        }
    }
    cv::Vec3d Middle() const { return (least + largest) / 2; }
    cv::Vec3d Extent() const { return largest - least; }
};

/// Of `transform(point)` of all points with coordinates.
template <typename Transform>
Bounds BoundsOf(const cv::Mat &points, Transform transform)
{
    Bounds bounds;
    for (int y = 0; y < points.rows; ++y)
    {
        for (int x = 0; x < points.cols; ++x)
        {
            if (const auto &point = points.at<cv::Vec3f>(y, x); HasCoordinates(point))
            {
                bounds.Add(transform(cv::Vec3d(point)));
            }
        }
    }
    return bounds;
}

Bounds BoundsOf(const cv::Mat &points)
{
    return BoundsOf(points, [](const cv::Vec3d &point) { return point; });
}

/// A point on its way to the picture.
struct Vertex
{
    bool isValid = false;
    cv::Vec3d point;
    cv::Point2d pixel;
    double inverseDistance = 0;
    float depth = 0;
    float brightness = 0;
};

/// Draws into a view with a z-buffer.
class Canvas
{
public:
    explicit Canvas(PointView &view) : m_view(view) {}

    void Draw(const Vertex &vertex)
    {
        Put(static_cast<int>(std::lround(vertex.pixel.x)), static_cast<int>(std::lround(vertex.pixel.y)),
            vertex.inverseDistance, vertex.depth, vertex.brightness);
    }

    void Draw(const Vertex &a, const Vertex &b, const Vertex &c)
    {
        // Pixels on an edge belong to both of its triangles, or it would show as a crack.
        constexpr double rounding = 1e-9;
        const double area = (b.pixel - a.pixel).cross(c.pixel - a.pixel);
        if (area == 0)
        {
            return;
        }
        const auto [left, right] = Range(a.pixel.x, b.pixel.x, c.pixel.x, m_view.distance.cols);
        const auto [top, bottom] = Range(a.pixel.y, b.pixel.y, c.pixel.y, m_view.distance.rows);
        for (int y = top; y <= bottom; ++y)
        {
            for (int x = left; x <= right; ++x)
            {
                const cv::Point2d pixel(x, y);
                const double partB = (pixel - a.pixel).cross(c.pixel - a.pixel) / area;
                const double partC = (b.pixel - a.pixel).cross(pixel - a.pixel) / area;
                const double partA = 1 - partB - partC;
                if (std::min({partA, partB, partC}) < -rounding)
                {
                    continue;
                }
                const auto mix = [&](double atA, double atB, double atC)
                { return atA * partA + atB * partB + atC * partC; };
                Put(x, y, mix(a.inverseDistance, b.inverseDistance, c.inverseDistance),
                    static_cast<float>(mix(a.depth, b.depth, c.depth)),
                    static_cast<float>(mix(a.brightness, b.brightness, c.brightness)));
            }
        }
    }

private:
    // Pixels between the least and the largest of three coordinates, within the picture.
    static std::pair<int, int> Range(double a, double b, double c, int count)
    {
        const double first = std::max(std::ceil(std::min({a, b, c})), 0.0);
        const double last = std::min(std::floor(std::max({a, b, c})), count - 1.0);
        return first <= last ? std::pair(static_cast<int>(first), static_cast<int>(last)) : std::pair(0, -1);
    }

    void Put(int x, int y, double inverseDistance, float depth, float brightness)
    {
        if (x < 0 || y < 0 || x >= m_view.distance.cols || y >= m_view.distance.rows)
        {
            return;
        }
        const auto distance = static_cast<float>(1 / inverseDistance);
        auto &seen = m_view.distance.at<float>(y, x);
        if (seen == 0 || distance < seen)
        {
            seen = distance;
            m_view.depth.at<float>(y, x) = depth;
            m_view.brightness.at<float>(y, x) = brightness;
        }
    }

    PointView &m_view;
};

/// The grid of points from a viewpoint.
class Grid
{
public:
    Grid(const cv::Mat &points, const Viewpoint &viewpoint)
        : m_points(points), m_vertices(static_cast<size_t>(points.rows) * static_cast<size_t>(points.cols))
    {
        for (int y = 0; y < points.rows; ++y)
        {
            for (int x = 0; x < points.cols; ++x)
            {
                At(y, x) = MakeVertex(points.at<cv::Vec3f>(y, x), viewpoint);
            }
        }
    }

    /// Light from the upper left behind the viewpoint, and what the intensity leaves of it.
    void Light(const Viewpoint &viewpoint, const cv::Mat &intensity)
    {
        const auto normals = Normals();
        double brightest = 0;
        if (!intensity.empty())
        {
            cv::minMaxLoc(intensity, nullptr, &brightest);
        }
        const cv::Vec3d light = viewpoint.rotation.t() * cv::normalize(cv::Vec3d(-0.3, -0.4, -1));
        for (int y = 0; y < m_points.rows; ++y)
        {
            for (int x = 0; x < m_points.cols; ++x)
            {
                const cv::Vec3d normal = normals.at<cv::Vec3f>(y, x);
                const double length = cv::norm(normal);
                const double lit = length > 0 ? std::max(0.0, normal.dot(light) / length) : 1;
                double brightness = 0.55 + 0.45 * lit;
                if (brightest > 0)
                {
                    brightness *= 0.5 + 0.5 * intensity.at<uint8_t>(y, x) / brightest;
                }
                At(y, x).brightness = static_cast<float>(brightness);
            }
        }
    }

    void Draw(Canvas &canvas)
    {
        for (const auto &vertex : m_vertices)
        {
            if (vertex.isValid)
            {
                canvas.Draw(vertex);
            }
        }
        ForEachTriangle([&](cv::Point a, cv::Point b, cv::Point c, const cv::Vec3d &)
                        { canvas.Draw(At(a.y, a.x), At(b.y, b.x), At(c.y, c.x)); });
    }

private:
    static Vertex MakeVertex(const cv::Vec3f &point, const Viewpoint &viewpoint)
    {
        if (!HasCoordinates(point))
        {
            return {};
        }
        const auto turned = viewpoint.Turn(point);
        // What is behind the viewpoint, or at it, is not seen.
        if (turned[2] <= 0)
        {
            return {};
        }
        return {true, point, viewpoint.Project(turned), 1 / turned[2], point[2], 1};
    }

    Vertex &At(int y, int x)
    {
        return m_vertices[static_cast<size_t>(y) * static_cast<size_t>(m_points.cols) +
                          static_cast<size_t>(x)];
    }

    // Two triangles between four neighbours, with their unit normals towards the camera.
    template <typename Visit>
    void ForEachTriangle(Visit visit)
    {
        const auto triangle = [&](cv::Point a, cv::Point b, cv::Point c)
        {
            const auto &first = At(a.y, a.x);
            const auto &second = At(b.y, b.x);
            const auto &third = At(c.y, c.x);
            if (!first.isValid || !second.isValid || !third.isValid)
            {
                return;
            }
            auto normal = (second.point - first.point).cross(third.point - first.point);
            const double length = cv::norm(normal);
            const double towards = -normal.dot(first.point) / cv::norm(first.point);
            if (length > 0 && std::abs(towards) >= leastSine * length)
            {
                visit(a, b, c, normal * ((towards < 0 ? -1 : 1) / length));
            }
        };
        for (int y = 0; y + 1 < m_points.rows; ++y)
        {
            for (int x = 0; x + 1 < m_points.cols; ++x)
            {
                triangle({x, y}, {x + 1, y}, {x, y + 1});
                triangle({x + 1, y}, {x + 1, y + 1}, {x, y + 1});
            }
        }
    }

    // Those of the triangles around each point, smoothed, as depth comes in steps. 0 without a triangle.
    cv::Mat Normals()
    {
        const cv::Size neighbourhood(5, 5);
        cv::Mat normals(m_points.size(), CV_32FC3, cv::Scalar::all(0));
        ForEachTriangle(
            [&](cv::Point a, cv::Point b, cv::Point c, const cv::Vec3d &normal)
            {
                for (const auto &corner : {a, b, c})
                {
                    normals.at<cv::Vec3f>(corner) += cv::Vec3f(normal);
                }
            });
        cv::blur(normals, normals, neighbourhood, {-1, -1}, cv::BORDER_REPLICATE);
        return normals;
    }

    const cv::Mat &m_points;
    std::vector<Vertex> m_vertices;
};

const cv::Scalar ground(36, 32, 30);
const cv::Scalar letters(235, 235, 235);

cv::Mat Picture(const PointView &view, const Bounds &bounds)
{
    auto colours = ColoursOf(view.depth, bounds.least[2], bounds.largest[2]);
    cv::Mat brightness;
    cv::cvtColor(view.brightness, brightness, cv::COLOR_GRAY2BGR);
    cv::multiply(colours, brightness, colours, 1, CV_8U);
    colours.setTo(ground, view.distance == 0);
    return colours;
}

void Write(cv::Mat &picture, const std::string &text, const cv::Point2d &middle)
{
    constexpr double size = 0.45;
    int baseline = 0;
    const auto extent = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, size, 1, &baseline);
    cv::putText(picture, text, cv::Point2d(middle.x - extent.width / 2.0, middle.y + extent.height / 2.0),
                cv::FONT_HERSHEY_SIMPLEX, size, letters, 1, cv::LINE_AA);
}

/// The largest of 1, 2, 5, 10, 20, ... that is not above a value.
double RoundBelow(double value)
{
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    const double digits = value / power;
    return power * (digits >= 5 ? 5 : digits >= 2 ? 2 : 1);
}

/// The axes of the camera in a corner, as long as said below them at the distance of the middle of the scene.
void DrawAxes(cv::Mat &picture, const Viewpoint &viewpoint)
{
    constexpr double longest = 80;
    const double scale = viewpoint.focalLength / viewpoint.distance / supersampling;
    const double length = RoundBelow(longest / scale);
    const cv::Point2d origin(longest + 10, picture.rows - longest - 40);
    static constexpr std::array names{"x", "y", "z"};
    for (int axis = 0; axis < 3; ++axis)
    {
        const cv::Point2d direction(viewpoint.rotation(0, axis), viewpoint.rotation(1, axis));
        const auto tip = origin + direction * (length * scale);
        cv::arrowedLine(picture, origin, tip, letters, 1, cv::LINE_AA, 0,
                        6 / std::max(6.0, cv::norm(tip - origin)));
        const double shown = cv::norm(direction);
        Write(picture, names.at(static_cast<size_t>(axis)),
              shown > 0.05 ? tip + direction * (12 / shown) : tip + cv::Point2d(12, 12));
    }
    Write(picture, fmt::format("axes: {:g}", length), {origin.x, picture.rows - 18.0});
}

cv::Matx33d Rotation(const ViewAngles &angles)
{
    const double right = angles.right * CV_PI / 180;
    const double up = angles.up * CV_PI / 180;
    const cv::Matx33d aroundY(std::cos(right), 0, std::sin(right), 0, 1, 0, -std::sin(right), 0,
                              std::cos(right));
    const cv::Matx33d aroundX(1, 0, 0, 0, std::cos(up), -std::sin(up), 0, std::sin(up), std::cos(up));
    return aroundX * aroundY;
}

cv::Mat AsMat(const ImageView &image, int type)
{
    return {static_cast<int>(image.height), static_cast<int>(image.width), type,
            const_cast<uint8_t *>(image.data)}; // only read
}

} // namespace

cv::Vec3d Viewpoint::Turn(const cv::Vec3d &point) const
{
    return rotation * (point - centre) + cv::Vec3d(0, 0, distance);
}

cv::Point2d Viewpoint::Project(const cv::Vec3d &turned) const
{
    return cv::Point2d(turned[0], turned[1]) * (focalLength / turned[2]) + principalPoint;
}

bool HasCoordinates(const cv::Vec3f &point)
{
    return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]) && point[2] != 0;
}

Viewpoint LookAt(const cv::Mat &points, const ViewAngles &angles, cv::Size size)
{
    const auto bounds = BoundsOf(points);
    if (bounds.count == 0)
    {
        throw std::runtime_error("No pixel of the frame has depth: there is nothing to view");
    }
    Viewpoint viewpoint;
    viewpoint.rotation = Rotation(angles);
    viewpoint.centre = bounds.Middle();
    viewpoint.size = size;
    // Outside of the sphere around the points, however they are turned.
    viewpoint.distance = std::max({std::abs(viewpoint.centre[2]), cv::norm(bounds.Extent()), 1e-3});
    const auto seen = BoundsOf(points,
                               [&](const cv::Vec3d &point)
                               {
                                   const auto pixel = viewpoint.Project(viewpoint.Turn(point));
                                   return cv::Vec3d(pixel.x, pixel.y, 0);
                               });
    // A single point has no extent.
    constexpr double leastExtent = 1e-3;
    viewpoint.focalLength =
        (1 - 2 * marginOfPicture) * std::min(size.width / std::max(seen.Extent()[0], leastExtent),
                                             size.height / std::max(seen.Extent()[1], leastExtent));
    const auto middle = seen.Middle() * viewpoint.focalLength;
    viewpoint.principalPoint = {size.width / 2.0 - middle[0], size.height / 2.0 - middle[1]};
    return viewpoint;
}

PointView RenderPoints(const cv::Mat &points, const cv::Mat &intensity, const Viewpoint &viewpoint)
{
    PointView view;
    for (auto *map : {&view.distance, &view.depth, &view.brightness})
    {
        *map = cv::Mat(viewpoint.size, CV_32F, cv::Scalar::all(0));
    }
    Grid grid(points, viewpoint);
    grid.Light(viewpoint, intensity);
    Canvas canvas(view);
    grid.Draw(canvas);
    return view;
}

void WriteView(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity,
               const ViewAngles &angles)
{
    if (points.width == 0 || points.height == 0 ||
        points.size / sizeof(cv::Vec3f) / points.width < points.height)
    {
        throw std::runtime_error(fmt::format("A grid of {} x {} points does not fit the buffer of {} bytes",
                                             points.width, points.height, points.size));
    }
    const auto grid = AsMat(points, CV_32FC3);
    const auto bounds = BoundsOf(grid);
    const auto viewpoint = LookAt(grid, angles, pictureSize * supersampling);
    const auto view = RenderPoints(
        grid, IsIntensityOf(points, intensity) ? AsMat(*intensity, CV_8UC1) : cv::Mat(), viewpoint);
    cv::Mat picture;
    cv::resize(Picture(view, bounds), picture, pictureSize, 0, 0, cv::INTER_AREA);
    DrawAxes(picture, viewpoint);
    auto bar = ScaleBar(picture.rows, bounds.least[2], bounds.largest[2]);
    cv::Mat isEmpty;
    cv::inRange(bar, cv::Scalar::all(0), cv::Scalar::all(0), isEmpty);
    bar.setTo(ground, isEmpty);
    cv::hconcat(picture, bar, picture);
    cv::cvtColor(picture, picture, cv::COLOR_BGR2RGB);
    WriteImage(file, picture);
}

} // namespace gentlctl
