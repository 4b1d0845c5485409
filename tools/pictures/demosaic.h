#pragma once

#include "pictures/raster.h"

#include <cstddef>

namespace gentlctl
{

/// Where a Bayer mosaic has its first red sample: column and row, 0 or 1.
struct FirstRed
{
    size_t x;
    size_t y;
};

/// A mosaic in colour: red, green and blue, of which a pixel has one from its own sample and the others from
/// the mean of the samples of that colour around it.
template <typename T>
Raster<T> Demosaic(const Raster<T> &mosaic, const FirstRed &red);

} // namespace gentlctl
