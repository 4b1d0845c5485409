#pragma once

#include "vision_module/image.h"

namespace tarn::vision
{

/// Converts a Bayer image to a mono format, RGB8 or BGR8, by bilinear interpolation at the depth of the
/// source.
/// @throws Failure with TARN_CVL_NOT_POSSIBLE for fewer than 3 x 3 pixels
void Demosaic(const Image &image, Image &target);

/// Converts a YUV image to RGB8 by ITU-R BT.601, with luminance from 16 to 235.
/// @throws Failure with TARN_CVL_NOT_POSSIBLE for a size that leaves pixels without colour samples
void YuvToRgb(const Image &image, Image &target);

} // namespace tarn::vision
