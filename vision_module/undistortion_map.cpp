#include "vision_module/undistortion_map.h"

#include "vision_module/calibration.h"

#include <cmath>

namespace tarn::vision
{

namespace
{

struct Point
{
    double x;
    double y;
};

/// Calls use(column, line, position) for each pixel of an undistorted image, with its position in the
/// distorted one.
// OpenCV's initUndistortRectifyMap would add a large dependency. It also gives positions either in single
// precision, or in a form that wraps positions far outside the image round to the other side.
template <typename Use>
void ForEachPixel(const tarn_cvl_CalibrationParameters &camera, Use use)
{
    const auto terms = DistortionOf(camera);
    const double k1 = terms.k1;
    const double k2 = terms.k2;
    const double p1 = terms.p1;
    const double p2 = terms.p2;
    const double k3 = terms.k3;
    const double k4 = terms.k4;
    const double k5 = terms.k5;
    const double k6 = terms.k6;
    const double focalLengthX = camera.focalLengthX;
    const double focalLengthY = camera.focalLengthY;
    const double principalPointX = camera.principalPointX;
    const double principalPointY = camera.principalPointY;
    for (uint32_t line = 0; line < camera.height; ++line)
    {
        const double y = (line - principalPointY) / focalLengthY;
        for (uint32_t column = 0; column < camera.width; ++column)
        {
            const double x = (column - principalPointX) / focalLengthX;
            const double r2 = x * x + y * y;
            const double radial =
                (1 + ((k3 * r2 + k2) * r2 + k1) * r2) / (1 + ((k6 * r2 + k5) * r2 + k4) * r2);
            const double shownX = x * radial + p1 * 2 * x * y + p2 * (r2 + 2 * x * x);
            const double shownY = y * radial + p1 * (r2 + 2 * y * y) + p2 * 2 * x * y;
            use(column, line,
                Point{focalLengthX * shownX + principalPointX, focalLengthY * shownY + principalPointY});
        }
    }
}

} // namespace

NearestMap MakeNearestMap(const tarn_cvl_CalibrationParameters &camera)
{
    NearestMap map;
    map.sources.reserve(size_t{camera.width} * camera.height);
    auto &runs = map.inside.runs;
    ForEachPixel(camera,
                 [&](uint32_t column, uint32_t line, const Point &place)
                 {
                     const double x = std::nearbyint(place.x);
                     const double y = std::nearbyint(place.y);
                     // False for NaN as well.
                     const bool isInside = x >= 0 && x < camera.width && y >= 0 && y < camera.height;
                     if (!isInside)
                     {
                         map.sources.push_back(0);
                         return;
                     }
                     map.sources.push_back(static_cast<uint32_t>(y) * camera.width +
                                           static_cast<uint32_t>(x));
                     if (runs.empty() || runs.back().line != line || runs.back().end != column)
                     {
                         runs.push_back({line, column, column});
                     }
                     ++runs.back().end;
                 });
    return map;
}

BilinearMap MakeBilinearMap(const tarn_cvl_CalibrationParameters &camera)
{
    constexpr int steps = 32;
    // At this position, none of the four pixels lies in the source.
    constexpr int16_t outside = -2;
    BilinearMap map;
    const auto pixels = size_t{camera.width} * camera.height;
    map.positions.reserve(2 * pixels);
    map.fractions.reserve(pixels);
    ForEachPixel(camera,
                 [&](uint32_t, uint32_t, const Point &place)
                 {
                     const bool isNear = place.x > outside && place.x < camera.width + 1.0 &&
                                         place.y > outside && place.y < camera.height + 1.0;
                     if (!isNear)
                     {
                         map.positions.insert(map.positions.end(), {outside, outside});
                         map.fractions.push_back(0);
                         return;
                     }
                     const auto x = static_cast<int>(std::nearbyint(place.x * steps));
                     const auto y = static_cast<int>(std::nearbyint(place.y * steps));
                     map.positions.push_back(static_cast<int16_t>(x >> 5));
                     map.positions.push_back(static_cast<int16_t>(y >> 5));
                     map.fractions.push_back(
                         static_cast<uint16_t>((y & (steps - 1)) * steps + (x & (steps - 1))));
                 });
    return map;
}

} // namespace tarn::vision
