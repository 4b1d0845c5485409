#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// The bytes of an OpenEXR file, with every sample as a float of its value. The channels are R, G and B,
/// which of points are x, y and z; Z of depth in floats; Y of any other image.
/// @throws std::runtime_error the picture is larger than the format allows
std::string EncodeExr(const AnyRaster &pixels);

} // namespace gentlctl
