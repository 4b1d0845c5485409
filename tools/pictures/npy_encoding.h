#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// The bytes of a NumPy file, with every sample as it is: height x width, or height x width x channels.
std::string EncodeNpy(const AnyRaster &pixels);

} // namespace gentlctl
