#include "pictures/drawing.h"

#include <algorithm>
#include <cmath>

namespace gentlctl
{
namespace
{

/// @param share of the new colour, 0 to 1
void Blend(ColourRaster &picture, long x, long y, const Colour &colour, double share)
{
    if (x < 0 || y < 0 || x >= static_cast<long>(picture.width) || y >= static_cast<long>(picture.height))
    {
        return;
    }
    auto *pixel = picture.At(static_cast<size_t>(x), static_cast<size_t>(y));
    for (size_t i = 0; i < colour.size(); ++i)
    {
        pixel[i] = static_cast<uint8_t>(std::lround(pixel[i] + share * (colour[i] - pixel[i])));
    }
}

} // namespace

void Stamp(ColourRaster &picture, const Raster<uint8_t> &shape, long left, long top, const Colour &colour)
{
    for (size_t y = 0; y < shape.height; ++y)
    {
        for (size_t x = 0; x < shape.width; ++x)
        {
            Blend(picture, left + static_cast<long>(x), top + static_cast<long>(y), colour,
                  *shape.At(x, y) / 255.0);
        }
    }
}

void DrawLine(ColourRaster &picture, const Eigen::Vector2d &from, const Eigen::Vector2d &to,
              const Colour &colour)
{
    const Eigen::Vector2d along = to - from;
    const double squaredLength = std::max(along.squaredNorm(), 1e-9);
    const Eigen::Vector2d least = from.cwiseMin(to);
    const Eigen::Vector2d largest = from.cwiseMax(to);
    for (long y = std::lround(least.y()) - 1; y <= std::lround(largest.y()) + 1; ++y)
    {
        for (long x = std::lround(least.x()) - 1; x <= std::lround(largest.x()) + 1; ++x)
        {
            const Eigen::Vector2d offset = Eigen::Vector2d(x, y) - from;
            const double part = std::clamp(offset.dot(along) / squaredLength, 0.0, 1.0);
            const double distance = (offset - part * along).norm();
            Blend(picture, x, y, colour, std::max(0.0, 1 - distance));
        }
    }
}

} // namespace gentlctl
