#pragma once

#include "pictures/raster.h"

#include <string>

namespace gentlctl
{

/// A text as a mask: 255 where a letter covers a pixel, less at its edges.
Raster<uint8_t> TextShape(const std::string &text);

} // namespace gentlctl
