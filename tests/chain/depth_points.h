#pragma once

#include "depth_shot.h"
#include "depth_view.h"

#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace chain
{

inline constexpr uint64_t coord3dC8 = 0x010800B1;
inline constexpr uint64_t coord3dC16 = 0x011000B8;
inline constexpr uint64_t coord3dC32f = 0x012000BF;
inline constexpr uint64_t coord3dAbc32f = 0x026000C0;

/// The allowed error as a share of the known distance.
inline constexpr double allowedError = 0.002;

/// A point in mm: x goes right, y down, z away from the camera.
struct Point
{
    double x;
    double y;
    double z;
};

inline Point operator-(const Point &a, const Point &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline double Length(const Point &point)
{
    return std::hypot(point.x, point.y, point.z);
}

inline constexpr Point sphereMiddle{-250, -120, 1150};
inline constexpr double sphereRadius = 180;

/// The camera's lens.
inline constexpr double focalLengthX = 525.5;
inline constexpr double focalLengthY = 524.25;
inline constexpr double middleX = 322.75;
inline constexpr double middleY = 238.5;

/// A place on the sensor; the middle of the first pixel is 0, 0.
struct SensorPlace
{
    double column;
    double row;
};

/// The middle of the sensor pixels that a pixel of the view covers.
inline SensorPlace PlaceOf(const View &view, size_t column, size_t row)
{
    const auto place = [](size_t pixel, int offset, int step)
    { return (static_cast<double>(pixel) + offset) * step + (step - 1) / 2.0; };
    return {place(column, view.offsetX, view.StepX()), place(row, view.offsetY, view.StepY())};
}

/// The direction in which a place looks through a lens without distortion, as the point at depth 1.
inline Point RayOf(const SensorPlace &place)
{
    return {(place.column - middleX) / focalLengthX, (place.row - middleY) / focalLengthY, 1};
}

/// Where a lens without distortion shows this direction.
inline SensorPlace ShownStraight(const Point &ray)
{
    return {focalLengthX * ray.x / ray.z + middleX, focalLengthY * ray.y / ray.z + middleY};
}

/// Where the camera's lens shows this direction.
inline SensorPlace Shown(const Point &ray)
{
    constexpr double k1 = -0.21;
    constexpr double k2 = 0.065;
    constexpr double k3 = -0.008;
    constexpr double p1 = 0.0011;
    constexpr double p2 = -0.0007;
    const double x = ray.x / ray.z;
    const double y = ray.y / ray.z;
    const double r2 = x * x + y * y;
    const double radial = 1 + r2 * (k1 + r2 * (k2 + r2 * k3));
    return ShownStraight({x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x),
                          y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y, 1});
}

/// The pixels of the camera's image that may be the nearest to a place of the sensor: several when the place
/// is about midway between them. None: a place outside of the image.
inline std::array<std::optional<size_t>, 4> PixelsNear(const View &view, const SensorPlace &place)
{
    const double column = (place.column - (view.StepX() - 1) / 2.0) / view.StepX() - view.offsetX;
    const double row = (place.row - (view.StepY() - 1) / 2.0) / view.StepY() - view.offsetY;
    std::array<std::optional<size_t>, 4> pixels;
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        const auto x = std::lround(column + (i % 2 == 0 ? -0.001 : 0.001));
        const auto y = std::lround(row + (i < 2 ? -0.001 : 0.001));
        const bool isInside = x >= 0 && x < view.width && y >= 0 && y < view.height;
        if (isInside)
        {
            pixels.at(i) = static_cast<size_t>(y * view.width + x);
        }
    }
    return pixels;
}

/// The point of the plane in a direction.
inline Point OnPlane(const Point &ray)
{
    const double z = 1500 / (1 - 0.25 * ray.x - 0.10 * ray.y);
    return {ray.x * z, ray.y * z, z};
}

inline double DistanceFromSphereMiddle(const Point &ray)
{
    const double along = (ray.x * sphereMiddle.x + ray.y * sphereMiddle.y + sphereMiddle.z) /
                         (ray.x * ray.x + ray.y * ray.y + 1);
    return Length(Point{ray.x * along, ray.y * along, along} - sphereMiddle);
}

/// Whether this direction and its surroundings show the plane alone.
inline bool ShowsPlaneAlone(const Point &ray)
{
    constexpr double margin = 20;
    const double x = ray.x * 1000;
    const double y = ray.y * 1000;
    const bool isNearPlate = x > 150 - margin && x < 350 + margin && y > -150 - margin && y < 100 + margin;
    return !isNearPlate && DistanceFromSphereMiddle(ray) > sphereRadius + margin;
}

/// Distance in y from the middle of the band without depth. Within `halfBand`, the plane has no depth.
inline double DistanceFromBand(const Point &ray)
{
    return std::abs(OnPlane(ray).y - 365);
}

inline constexpr double halfBand = 35;
inline std::vector<Point> PointsOf(const ShotPart &part)
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

/// Middle and radius of the sphere with the least square error of |p|^2 = 2 middle p + rest.
inline std::pair<Point, double> FittedSphere(const std::vector<Point> &points)
{
    constexpr size_t unknowns = 4;
    std::array<std::array<double, unknowns + 1>, unknowns> m{};
    for (const auto &point : points)
    {
        const auto p = point - sphereMiddle; // small numbers lose fewer digits
        const std::array<double, unknowns + 1> row{p.x, p.y, p.z, 1, p.x * p.x + p.y * p.y + p.z * p.z};
        for (size_t i = 0; i < unknowns; ++i)
        {
            for (size_t j = 0; j <= unknowns; ++j)
            {
                m[i][j] += row[i] * row[j];
            }
        }
    }
    // The matrix is positive definite, so the elimination needs no exchange of rows.
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

} // namespace chain
