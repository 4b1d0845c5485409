#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// The bytes of an OpenEXR file, with every sample as a float of its value. Three channels are R, G and B,
/// for points their x, y and z; one channel is Y.
/// @throws std::runtime_error the picture is larger than the format allows
std::string EncodeExr(const AnyRaster &pixels);

} // namespace gentlctl
