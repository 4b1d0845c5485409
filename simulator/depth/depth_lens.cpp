#include "simulator/depth/depth_lens.h"

#include "simulator/checksum.h"

#include <bit>
#include <cmath>
#include <string_view>

namespace GenTL::simulator
{

Ray Lens::DirectionOf(double column, double row) const
{
    return DirectionOf(column, row, {(column - cx) / fx, (row - cy) / fy});
}

Ray Lens::DirectionOf(double column, double row, Ray ray) const
{
    const Ray shown{(column - cx) / fx, (row - cy) / fy};
    // Newton's method; the Jacobian is symmetric.
    for (int i = 0; i < 20; ++i)
    {
        const double x = ray.x;
        const double y = ray.y;
        const double r2 = x * x + y * y;
        const double numerator = 1 + r2 * (k1 + r2 * (double{k2} + r2 * k3));
        const double denominator = 1 + r2 * (k4 + r2 * (double{k5} + r2 * k6));
        const double radial = numerator / denominator;
        const double radialByR2 =
            (k1 + r2 * (2 * double{k2} + 3 * r2 * k3) - radial * (k4 + r2 * (2 * double{k5} + 3 * r2 * k6))) /
            denominator;
        const double missX = shown.x - (x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x));
        const double missY = shown.y - (y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y);
        const double xx = radial + 2 * x * x * radialByR2 + 2 * p1 * y + 6 * p2 * x;
        const double yy = radial + 2 * y * y * radialByR2 + 6 * p1 * y + 2 * p2 * x;
        const double xy = 2 * x * y * radialByR2 + 2 * p1 * x + 2 * p2 * y;
        const double determinant = xx * yy - xy * xy;
        ray.x += (missX * yy - missY * xy) / determinant;
        ray.y += (missY * xx - missX * xy) / determinant;
        if (std::abs(missX) + std::abs(missY) < 1e-7)
        {
            break; // each step squares the error, so less than 1e-13 is left of it
        }
    }
    return ray;
}

std::vector<uint8_t> Lens::File() const
{
    constexpr std::string_view magic = "TCAL";
    constexpr uint32_t version = 1;
    constexpr uint32_t size = 72;
    std::vector<uint8_t> bytes(magic.begin(), magic.end());
    const auto put = [&](uint32_t number)
    {
        for (int shift = 0; shift < 32; shift += 8)
        {
            bytes.push_back(static_cast<uint8_t>(number >> shift));
        }
    };
    for (const uint32_t number : {version, size, width, height})
    {
        put(number);
    }
    for (const float number : {fx, fy, cx, cy, k1, k2, p1, p2, k3, k4, k5, k6})
    {
        put(std::bit_cast<uint32_t>(number));
    }
    put(Checksum(bytes));
    return bytes;
}

LensDirections::LensDirections(const Lens &lens) : m_columns(lens.width + 2)
{
    m_rays.reserve(m_columns * (lens.height + 2));
    for (uint32_t row = 0; row < lens.height + 2; ++row)
    {
        Ray ray = lens.DirectionOf(-1.0, row - 1.0);
        for (uint32_t column = 0; column < lens.width + 2; ++column)
        {
            ray = lens.DirectionOf(column - 1.0, row - 1.0, ray);
            m_rays.push_back(ray);
        }
    }
}

Ray LensDirections::At(double column, double row) const
{
    const auto left = static_cast<size_t>(column + 1);
    const auto top = static_cast<size_t>(row + 1);
    const double right = column + 1 - static_cast<double>(left);
    const double down = row + 1 - static_cast<double>(top);
    const auto between = [](const Ray &from, const Ray &to, double part) {
        return Ray{from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part};
    };
    const Ray *upper = &m_rays[top * m_columns + left];
    const Ray *lower = upper + m_columns;
    return between(between(upper[0], upper[1], right), between(lower[0], lower[1], right), down);
}

} // namespace GenTL::simulator
