#include "pictures/demosaic.h"

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
T Mean(T first, Samples... others)
{
    constexpr unsigned int count = 1 + sizeof...(others);
    return static_cast<T>(((count / 2 + first) + ... + others) / count);
}

} // namespace

template <typename T>
Raster<T> Demosaic(const Raster<T> &mosaic, const FirstRed &red)
{
    Raster<T> picture{mosaic.width, mosaic.height, 3};
    for (size_t y = 0; y < mosaic.height; ++y)
    {
        const T *row = mosaic.At(0, y);
        const T *above = mosaic.At(0, Before(y, mosaic.height));
        const T *below = mosaic.At(0, After(y, mosaic.height));
        // Each row and each column has green samples and samples of one other colour.
        const size_t rowColour = y % 2 == red.y ? 0 : 2;
        T *pixel = picture.At(0, y);
        for (size_t x = 0; x < mosaic.width; ++x, pixel += 3)
        {
            const auto left = Before(x, mosaic.width);
            const auto right = After(x, mosaic.width);
            const size_t columnColour = x % 2 == red.x ? 0 : 2;
            if (rowColour == columnColour)
            {
                pixel[rowColour] = row[x];
                pixel[1] = Mean(row[left], row[right], above[x], below[x]);
                pixel[2 - rowColour] = Mean(above[left], above[right], below[left], below[right]);
            }
            else
            {
                pixel[rowColour] = Mean(row[left], row[right]);
                pixel[1] = row[x];
                pixel[columnColour] = Mean(above[x], below[x]);
            }
        }
    }
    return picture;
}

template Raster<uint8_t> Demosaic(const Raster<uint8_t> &, const FirstRed &);
template Raster<uint16_t> Demosaic(const Raster<uint16_t> &, const FirstRed &);

} // namespace gentlctl
