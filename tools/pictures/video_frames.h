#pragma once

#include "pictures/raster.h"

#include <cstdint>
#include <string>

namespace gentlctl
{

/// The header of a YUV4MPEG2 stream, whose frames all have the same size.
/// @param picture a frame of the stream, grey or colour
/// @param framesPerSecond 0 when it is not known; the header then says 25
std::string Y4mHeader(const Raster<uint8_t> &picture, double framesPerSecond);

/// A frame of a YUV4MPEG2 stream: grey, or luma and two planes of colour of the same size.
std::string Y4mFrame(const Raster<uint8_t> &picture);

} // namespace gentlctl
