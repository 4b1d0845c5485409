#pragma once

#include "pictures/raster.h"

#include <cstddef>

namespace gentlctl
{

/// Column and row, 0 or 1, of the first red sample of a Bayer mosaic.
struct FirstRed
{
    size_t x;
    size_t y;
};

/// Converts a mosaic to red, green and blue. A pixel has one colour from its own sample; each other colour is
/// the mean of the samples of that colour around it.
template <typename T>
Raster<T> Demosaic(const Raster<T> &mosaic, const FirstRed &red);

} // namespace gentlctl
