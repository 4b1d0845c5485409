#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace GenTL::simulator
{

/// A direction of view: the point at depth 1. x goes right, y down.
struct Ray
{
    double x;
    double y;
};

/// A lens with radial and tangential distortion:
///
///     r2 = x^2 + y^2, radial = (1 + k1 r2 + k2 r2^2 + k3 r2^3) / (1 + k4 r2 + k5 r2^2 + k6 r2^3)
///     column = fx (x radial + 2 p1 x y + p2 (r2 + 2 x^2)) + cx
///     row    = fy (y radial + p1 (r2 + 2 y^2) + 2 p2 x y) + cy
///
/// The middle of the first pixel is at column 0, row 0.
struct Lens
{
    uint32_t width;
    uint32_t height;
    float fx, fy, cx, cy;
    float k1, k2, p1, p2, k3, k4, k5, k6;

    /// The direction in which a place of the sensor looks. `column` and `row` in pixels, with fractions.
    Ray DirectionOf(double column, double row) const;

    /// The same, found sooner when `ray` is near it.
    Ray DirectionOf(double column, double row, Ray ray) const;

    /// The content of the file LensCalibrationData: docs/simulator.md gives its layout.
    std::vector<uint8_t> File() const;
};

/// The directions of a lens, worked out once for each pixel of its sensor. Between the middles of pixels they
/// are interpolated, which is off by less than a thousandth of a pixel.
class LensDirections
{
public:
    explicit LensDirections(const Lens &lens);

    /// As Lens::DirectionOf, for a place of the sensor or at most half a pixel beside it.
    Ray At(double column, double row) const;

private:
    size_t m_columns;
    std::vector<Ray> m_rays; ///< of the pixels, and of a margin of one pixel around them
};

} // namespace GenTL::simulator
