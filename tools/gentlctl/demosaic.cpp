#include "gentlctl/demosaic.h"

#include <algorithm>

namespace gentlctl
{
namespace
{

// A neighbour beyond an edge is mirrored: it has the same colour.
size_t Before(size_t i, size_t count)
{
    return i > 0 ? i - 1 : std::min<size_t>(1, count - 1);
}

size_t After(size_t i, size_t count)
{
    return i + 1 < count ? i + 1 : i - std::min<size_t>(1, i);
}

template <typename T, typename... Samples>
T Mean(const T *first, const Samples *...others)
{
    constexpr unsigned int count = 1 + sizeof...(others);
    return static_cast<T>(((count / 2 + *first) + ... + *others) / count);
}

} // namespace

template <typename T>
Raster<T> Demosaic(const Raster<T> &mosaic, const FirstRed &red)
{
    Raster<T> picture{mosaic.width, mosaic.height, 3};
    for (size_t y = 0; y < mosaic.height; ++y)
    {
        const auto up = Before(y, mosaic.height);
        const auto down = After(y, mosaic.height);
        // Each row has green samples and those of one other colour.
        const size_t rowColour = y % 2 == red.y ? 0 : 2;
        for (size_t x = 0; x < mosaic.width; ++x)
        {
            const auto left = Before(x, mosaic.width);
            const auto right = After(x, mosaic.width);
            const size_t columnColour = x % 2 == red.x ? 0 : 2;
            const T here = *mosaic.At(x, y);
            auto *pixel = picture.At(x, y);
            if (rowColour != columnColour)
            {
                pixel[rowColour] = Mean(mosaic.At(left, y), mosaic.At(right, y));
                pixel[1] = here;
                pixel[columnColour] = Mean(mosaic.At(x, up), mosaic.At(x, down));
                continue;
            }
            pixel[rowColour] = here;
            pixel[1] = Mean(mosaic.At(left, y), mosaic.At(right, y), mosaic.At(x, up), mosaic.At(x, down));
            pixel[2 - rowColour] = Mean(mosaic.At(left, up), mosaic.At(right, up), mosaic.At(left, down),
                                        mosaic.At(right, down));
        }
    }
    return picture;
}

template Raster<uint8_t> Demosaic(const Raster<uint8_t> &, const FirstRed &);
template Raster<uint16_t> Demosaic(const Raster<uint16_t> &, const FirstRed &);

} // namespace gentlctl
