#include "pictures/raster.h"

#include <algorithm>

namespace gentlctl
{

ColourRaster Filled(size_t width, size_t height, const Colour &colour)
{
    ColourRaster picture{width, height, colour.size()};
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            SetColour(picture, x, y, colour);
        }
    }
    return picture;
}

void SetColour(ColourRaster &picture, size_t x, size_t y, const Colour &colour)
{
    std::ranges::copy(colour, picture.At(x, y));
}

ColourRaster Beside(const ColourRaster &left, const ColourRaster &right)
{
    ColourRaster both{left.width + right.width, left.height, left.channels};
    for (size_t y = 0; y < both.height; ++y)
    {
        std::copy_n(left.At(0, y), left.width * left.channels, both.At(0, y));
        std::copy_n(right.At(0, y), right.width * right.channels, both.At(left.width, y));
    }
    return both;
}

} // namespace gentlctl
