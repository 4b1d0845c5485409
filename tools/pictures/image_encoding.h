#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// The bytes of a PNG file. Compresses fast rather than well, since pictures are written while others arrive.
/// @param pixels 8 or 16 bits, one channel or red, green and blue
/// @throws std::runtime_error the picture is larger than the format allows
std::string EncodePng(const AnyRaster &pixels);

/// The bytes of a TIFF file, with every sample as it is.
/// @param pixels 8 or 16 bits or floats, one channel or three in their order in the file
/// @throws std::runtime_error the picture is larger than the format allows
std::string EncodeTiff(const AnyRaster &pixels);

} // namespace gentlctl
