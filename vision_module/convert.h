#pragma once

#include "vision_module/image.h"

namespace tarn::vision
{

/// Converts the pixels of an image into the memory of another.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED for a pair of formats that is not offered, TARN_CVL_MISMATCH
/// for a target of another format or size, TARN_CVL_NOT_POSSIBLE for an image too small or uneven for this
/// conversion, or for memory that the two share
void Convert(const Image &image, PixelFormat format, Image &target);

/// The same, each sample multiplied by the factor.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED, too, for a target without whole samples, and with
/// TARN_CVL_OUT_OF_RANGE for a factor that is not a finite number
void ConvertWithFactor(const Image &image, PixelFormat format, Image &target, double factor);

} // namespace tarn::vision
