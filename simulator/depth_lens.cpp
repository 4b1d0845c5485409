#include "depth_lens.h"

#include "frame_check.h"

#include <bit>
#include <cmath>
#include <string_view>

namespace GenTL::simulator
{

Ray Lens::Distort(const Ray &ray) const
{
    const double x = ray.x;
    const double y = ray.y;
    const double r2 = x * x + y * y;
    const double radial =
        (1 + r2 * (k1 + r2 * (double{k2} + r2 * k3))) / (1 + r2 * (k4 + r2 * (double{k5} + r2 * k6)));
    return {x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x),
            y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y};
}

Ray Lens::DirectionOf(double column, double row) const
{
    const Ray shown{(column - cx) / fx, (row - cy) / fy};
    Ray ray = shown;
    // Newton's steps with differences for the derivatives.
    for (int i = 0; i < 20; ++i)
    {
        constexpr double h = 1e-6;
        const Ray at = Distort(ray);
        const Ray right = Distort({ray.x + h, ray.y});
        const Ray below = Distort({ray.x, ray.y + h});
        const double xx = (right.x - at.x) / h;
        const double yx = (right.y - at.y) / h;
        const double xy = (below.x - at.x) / h;
        const double yy = (below.y - at.y) / h;
        const double determinant = xx * yy - xy * yx;
        const double missX = shown.x - at.x;
        const double missY = shown.y - at.y;
        ray.x += (missX * yy - missY * xy) / determinant;
        ray.y += (missY * xx - missX * yx) / determinant;
        if (std::abs(missX) + std::abs(missY) < 1e-12)
        {
            break;
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

} // namespace GenTL::simulator
