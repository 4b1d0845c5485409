#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// The bytes of a PNG file. Fast rather than small, for pictures that are written while others arrive.
/// @param pixels 8 or 16 bits, one channel or red, green and blue
/// @throws std::runtime_error larger than the format allows
std::string EncodePng(const AnyRaster &pixels);

/// The bytes of a TIFF file, which holds every sample as it is.
/// @param pixels 8 or 16 bits or floats, one channel or three in their order in the file
/// @throws std::runtime_error larger than the format allows
std::string EncodeTiff(const AnyRaster &pixels);

} // namespace gentlctl
