#include "pictures/point_view.h"

#include "pictures/depth_files.h"
#include "pictures/drawing.h"
#include "pictures/lettering.h"

#include "common/pixel_format.h"

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

// The picture is drawn in twice its size and scaled down, which smooths its edges.
constexpr size_t supersampling = 2;
constexpr size_t pictureWidth = 864;
constexpr size_t pictureHeight = 640;
constexpr double marginOfPicture = 0.07;

// Sine of the angle between a surface and the camera's ray. A surface at a smaller angle counts as a step in
// depth.
constexpr double leastSine = 0.15;

/// The box around the points with coordinates.
struct Bounds
{
    size_t count = 0;
    Eigen::Vector3d least = Eigen::Vector3d::Constant(std::numeric_limits<double>::max());
    Eigen::Vector3d largest = Eigen::Vector3d::Constant(std::numeric_limits<double>::lowest());

    void Add(const Eigen::Vector3d &point)
    {
        ++count;
        least = least.cwiseMin(point);
        largest = largest.cwiseMax(point);
    }
    Eigen::Vector3d Middle() const { return (least + largest) / 2; }
    Eigen::Vector3d Extent() const { return largest - least; }
};

Eigen::Vector3f PointAt(const Raster<float> &points, size_t x, size_t y)
{
    return Eigen::Vector3f(points.At(x, y));
}

/// The box around `transform(point)` of all points with coordinates.
template <typename Transform>
Bounds BoundsOf(const Raster<float> &points, Transform transform)
{
    Bounds bounds;
    for (size_t y = 0; y < points.height; ++y)
    {
        for (size_t x = 0; x < points.width; ++x)
        {
            if (const auto point = PointAt(points, x, y); HasCoordinates(point))
            {
                bounds.Add(transform(point.cast<double>().eval()));
            }
        }
    }
    return bounds;
}

Bounds BoundsOf(const Raster<float> &points)
{
    return BoundsOf(points, [](const Eigen::Vector3d &point) { return point; });
}

double Cross(const Eigen::Vector2d &a, const Eigen::Vector2d &b)
{
    return a.x() * b.y() - a.y() * b.x();
}

/// A point on its way to the picture.
struct Vertex
{
    bool isValid = false;
    Eigen::Vector3d point = Eigen::Vector3d::Zero();
    Eigen::Vector3d normal = Eigen::Vector3d::Zero(); ///< sum of the normals of the triangles around it
    Eigen::Vector2d pixel = Eigen::Vector2d::Zero();
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
        const auto x = std::round(vertex.pixel.x());
        const auto y = std::round(vertex.pixel.y());
        if (x >= 0 && y >= 0 && x < static_cast<double>(m_view.distance.width) &&
            y < static_cast<double>(m_view.distance.height))
        {
            Put(static_cast<size_t>(x), static_cast<size_t>(y), vertex.inverseDistance, vertex.depth,
                vertex.brightness);
        }
    }

    void Draw(const Vertex &a, const Vertex &b, const Vertex &c)
    {
        // Pixels on an edge belong to both triangles; otherwise the edge would show as a crack.
        constexpr double rounding = 1e-9;
        const Eigen::Vector2d toB = b.pixel - a.pixel;
        const Eigen::Vector2d toC = c.pixel - a.pixel;
        const double area = Cross(toB, toC);
        if (area == 0)
        {
            return;
        }
        const auto [left, right] = Range(a.pixel.x(), b.pixel.x(), c.pixel.x(), m_view.distance.width);
        const auto [top, bottom] = Range(a.pixel.y(), b.pixel.y(), c.pixel.y(), m_view.distance.height);
        for (size_t y = top; y < bottom; ++y)
        {
            for (size_t x = left; x < right; ++x)
            {
                const Eigen::Vector2d toPixel = Eigen::Vector2d(x, y) - a.pixel;
                const double partB = Cross(toPixel, toC) / area;
                const double partC = Cross(toB, toPixel) / area;
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
    // The pixels from the least to the largest of three coordinates, cut to the picture, as first and end.
    static std::pair<size_t, size_t> Range(double a, double b, double c, size_t count)
    {
        const double first = std::max(std::ceil(std::min({a, b, c})), 0.0);
        const double end = std::min(std::floor(std::max({a, b, c})) + 1, static_cast<double>(count));
        return first < end ? std::pair(static_cast<size_t>(first), static_cast<size_t>(end))
                           : std::pair<size_t, size_t>();
    }

    void Put(size_t x, size_t y, double inverseDistance, float depth, float brightness)
    {
        const auto distance = static_cast<float>(1 / inverseDistance);
        auto &seen = *m_view.distance.At(x, y);
        if (seen == 0 || distance < seen)
        {
            seen = distance;
            *m_view.depth.At(x, y) = depth;
            *m_view.brightness.At(x, y) = brightness;
        }
    }

    PointView &m_view;
};

/// The grid of points from a viewpoint.
class Grid
{
public:
    Grid(const Raster<float> &points, const Viewpoint &viewpoint)
        : m_width(points.width), m_height(points.height), m_vertices(m_width * m_height)
    {
        for (size_t y = 0; y < m_height; ++y)
        {
            for (size_t x = 0; x < m_width; ++x)
            {
                At(x, y) = MakeVertex(PointAt(points, x, y), viewpoint);
            }
        }
    }

    /// Light from the upper left behind the viewpoint, dimmed by the intensity.
    void Light(const Viewpoint &viewpoint, const Raster<uint8_t> &intensity)
    {
        ForEachTriangle(
            [](Vertex &a, Vertex &b, Vertex &c, const Eigen::Vector3d &normal)
            {
                for (auto *corner : {&a, &b, &c})
                {
                    corner->normal += normal;
                }
            });
        const double brightest = intensity.samples.empty() ? 0 : std::ranges::max(intensity.samples);
        const Eigen::Vector3d light =
            viewpoint.rotation.transpose() * Eigen::Vector3d(-0.3, -0.4, -1).normalized();
        for (size_t y = 0; y < m_height; ++y)
        {
            for (size_t x = 0; x < m_width; ++x)
            {
                const Eigen::Vector3d normal = SmoothNormal(x, y);
                const double length = normal.norm();
                const double lit = length > 0 ? std::max(0.0, normal.dot(light) / length) : 1;
                double brightness = 0.55 + 0.45 * lit;
                if (brightest > 0)
                {
                    brightness *= 0.5 + 0.5 * *intensity.At(x, y) / brightest;
                }
                At(x, y).brightness = static_cast<float>(brightness);
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
        ForEachTriangle([&](const Vertex &a, const Vertex &b, const Vertex &c, const Eigen::Vector3d &)
                        { canvas.Draw(a, b, c); });
    }

private:
    static Vertex MakeVertex(const Eigen::Vector3f &point, const Viewpoint &viewpoint)
    {
        Vertex vertex;
        if (!HasCoordinates(point))
        {
            return vertex;
        }
        vertex.point = point.cast<double>();
        const auto turned = viewpoint.Turn(vertex.point);
        // Points at the viewpoint or behind it are invisible.
        vertex.isValid = turned.z() > 0;
        vertex.pixel = viewpoint.Project(turned);
        vertex.inverseDistance = 1 / turned.z();
        vertex.depth = point.z();
        return vertex;
    }

    Vertex &At(size_t x, size_t y) { return m_vertices[y * m_width + x]; }

    // Two triangles between four neighbours, with their unit normals towards the camera.
    template <typename Visit>
    void ForEachTriangle(Visit visit)
    {
        const auto triangle = [&](Vertex &a, Vertex &b, Vertex &c)
        {
            if (!a.isValid || !b.isValid || !c.isValid)
            {
                return;
            }
            const Eigen::Vector3d normal = (b.point - a.point).cross(c.point - a.point);
            const double length = normal.norm();
            const double towards = -normal.dot(a.point) / a.point.norm();
            if (length > 0 && std::abs(towards) >= leastSine * length)
            {
                visit(a, b, c, normal * ((towards < 0 ? -1 : 1) / length));
            }
        };
        for (size_t y = 0; y + 1 < m_height; ++y)
        {
            for (size_t x = 0; x + 1 < m_width; ++x)
            {
                triangle(At(x, y), At(x + 1, y), At(x, y + 1));
                triangle(At(x + 1, y), At(x + 1, y + 1), At(x, y + 1));
            }
        }
    }

    // The sum of the normals around a point, which smooths the steps of the depth. Only its direction counts;
    // it is 0 without a triangle nearby.
    Eigen::Vector3d SmoothNormal(size_t x, size_t y)
    {
        constexpr size_t reach = 2;
        Eigen::Vector3d sum = Eigen::Vector3d::Zero();
        for (size_t row = y - std::min(y, reach); row < std::min(m_height, y + reach + 1); ++row)
        {
            for (size_t column = x - std::min(x, reach); column < std::min(m_width, x + reach + 1); ++column)
            {
                sum += At(column, row).normal;
            }
        }
        return sum;
    }

    size_t m_width;
    size_t m_height;
    std::vector<Vertex> m_vertices;
};

constexpr Colour ground{30, 32, 36};
constexpr Colour letters{235, 235, 235};

/// The colour of a pixel of the view.
Colour ColourAt(const PointView &view, size_t x, size_t y, const Bounds &bounds)
{
    if (*view.distance.At(x, y) == 0)
    {
        return ground;
    }
    auto colour = ColourOf(*view.depth.At(x, y), bounds.least.z(), bounds.largest.z());
    for (auto &sample : colour)
    {
        sample = static_cast<uint8_t>(std::lround(static_cast<float>(sample) * *view.brightness.At(x, y)));
    }
    return colour;
}

/// The view in colours, scaled down.
ColourRaster PictureOf(const PointView &view, const Bounds &bounds)
{
    ColourRaster picture{view.distance.width / supersampling, view.distance.height / supersampling, 3};
    for (size_t y = 0; y < picture.height; ++y)
    {
        for (size_t x = 0; x < picture.width; ++x)
        {
            std::array<size_t, 3> sums{};
            for (size_t i = 0; i < supersampling * supersampling; ++i)
            {
                const auto colour = ColourAt(view, x * supersampling + i % supersampling,
                                             y * supersampling + i / supersampling, bounds);
                std::ranges::transform(sums, colour, sums.begin(), std::plus());
            }
            std::ranges::transform(sums, picture.At(x, y),
                                   [](size_t sum)
                                   { return static_cast<uint8_t>(sum / (supersampling * supersampling)); });
        }
    }
    return picture;
}

void Write(ColourRaster &picture, const std::string &text, const Eigen::Vector2d &middle)
{
    const auto shape = TextShape(text);
    Stamp(picture, shape, std::lround(middle.x()) - static_cast<long>(shape.width / 2),
          std::lround(middle.y()) - static_cast<long>(shape.height / 2), letters);
}

void DrawArrow(ColourRaster &picture, const Eigen::Vector2d &from, const Eigen::Vector2d &to)
{
    constexpr double barb = 6;
    DrawLine(picture, from, to, letters);
    const Eigen::Vector2d back = (from - to).normalized() * barb;
    for (const double side : {-1, 1})
    {
        DrawLine(picture, to, to + Eigen::Rotation2Dd(side * std::numbers::pi / 4) * back, letters);
    }
}

/// The largest of 1, 2, 5, 10, 20, ... that is not above a value.
double RoundBelow(double value)
{
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    const double digits = value / power;
    return power * (digits >= 5 ? 5 : digits >= 2 ? 2 : 1);
}

/// Draws the axes of the camera in a corner. The text below them is their length at the distance of the
/// middle of the scene.
void DrawAxes(ColourRaster &picture, const Viewpoint &viewpoint)
{
    constexpr double longest = 80;
    const double scale = viewpoint.focalLength / viewpoint.distance / supersampling;
    const double length = RoundBelow(longest / scale);
    const Eigen::Vector2d origin(longest + 10, static_cast<double>(picture.height) - longest - 40);
    static constexpr std::array names{"x", "y", "z"};
    for (int axis = 0; axis < 3; ++axis)
    {
        const Eigen::Vector2d direction = viewpoint.rotation.col(axis).head<2>();
        const Eigen::Vector2d tip = origin + direction * (length * scale);
        DrawArrow(picture, origin, tip);
        const double shown = direction.norm();
        const Eigen::Vector2d beside = shown > 0.05 ? direction * (12 / shown) : Eigen::Vector2d(12, 12);
        Write(picture, names.at(static_cast<size_t>(axis)), tip + beside);
    }
    Write(picture, fmt::format("axes: {:g}", length), {origin.x(), static_cast<double>(picture.height) - 22});
}

Eigen::Matrix3d Rotation(const ViewAngles &angles)
{
    const auto around = [](double degrees, const Eigen::Vector3d &axis)
    { return Eigen::AngleAxisd(degrees * std::numbers::pi / 180, axis).toRotationMatrix(); };
    return around(angles.up, Eigen::Vector3d::UnitX()) * around(angles.right, Eigen::Vector3d::UnitY());
}

template <typename T>
Raster<T> CopyOf(const ImageView &image, size_t channels)
{
    Raster<T> copy{image.width, image.height, channels};
    std::memcpy(copy.samples.data(), image.data, copy.samples.size() * sizeof(T));
    return copy;
}

} // namespace

Eigen::Vector3d Viewpoint::Turn(const Eigen::Vector3d &point) const
{
    return rotation * (point - centre) + Eigen::Vector3d(0, 0, distance);
}

Eigen::Vector2d Viewpoint::Project(const Eigen::Vector3d &turned) const
{
    return turned.head<2>() * (focalLength / turned.z()) + principalPoint;
}

bool HasCoordinates(const Eigen::Vector3f &point)
{
    return point.allFinite() && point.z() != 0;
}

Viewpoint LookAt(const Raster<float> &points, const ViewAngles &angles, const PictureSize &size)
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
    // The viewpoint lies outside the sphere around the points, so that no rotation brings a point behind it.
    viewpoint.distance = std::max({std::abs(viewpoint.centre.z()), bounds.Extent().norm(), 1e-3});
    const auto seen = BoundsOf(points,
                               [&](const Eigen::Vector3d &point)
                               {
                                   const auto pixel = viewpoint.Project(viewpoint.Turn(point));
                                   return Eigen::Vector3d(pixel.x(), pixel.y(), 0);
                               });
    // A single point has no extent.
    constexpr double leastExtent = 1e-3;
    const Eigen::Vector2d whole(size.width, size.height);
    const Eigen::Vector2d extent = seen.Extent().head<2>().cwiseMax(leastExtent);
    viewpoint.focalLength = (1 - 2 * marginOfPicture) * whole.cwiseQuotient(extent).minCoeff();
    viewpoint.principalPoint = whole / 2 - seen.Middle().head<2>() * viewpoint.focalLength;
    return viewpoint;
}

PointView RenderPoints(const Raster<float> &points, const Raster<uint8_t> &intensity,
                       const Viewpoint &viewpoint)
{
    const Raster<float> nothing{viewpoint.size.width, viewpoint.size.height};
    PointView view{nothing, nothing, nothing};
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
        points.size / sizeof(Eigen::Vector3f) / points.width < points.height)
    {
        throw std::runtime_error(fmt::format("A grid of {} x {} points does not fit the buffer of {} bytes",
                                             points.width, points.height, points.size));
    }
    const auto grid = CopyOf<float>(points, 3);
    const auto grey = IsIntensityOf(points, intensity) ? CopyOf<uint8_t>(*intensity, 1) : Raster<uint8_t>();
    const auto bounds = BoundsOf(grid);
    const auto viewpoint =
        LookAt(grid, angles, {pictureWidth * supersampling, pictureHeight * supersampling});
    auto picture = PictureOf(RenderPoints(grid, grey, viewpoint), bounds);
    DrawAxes(picture, viewpoint);
    WriteImage(file, Beside(picture, ScaleBar(picture.height, bounds.least.z(), bounds.largest.z(), ground)));
}

} // namespace gentlctl
