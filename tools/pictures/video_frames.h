#pragma once

#include "pictures/raster.h"

#include <cstdint>
#include <string>

namespace gentlctl
{

/// What a YUV4MPEG2 stream says before its first frame. All its frames have the same size.
/// @param channels 1 for grey, 3 for colour
/// @param framesPerSecond 0 when it is not known: 25
std::string Y4mHeader(const Raster<uint8_t> &picture, double framesPerSecond);

/// A frame of a YUV4MPEG2 stream: grey, or luma and two planes of colour of the same size.
std::string Y4mFrame(const Raster<uint8_t> &picture);

} // namespace gentlctl
