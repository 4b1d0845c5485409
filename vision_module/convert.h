#pragma once

#include "vision_module/image.h"

namespace tarn::vision
{

/// Converts the pixels of an image into the memory of another.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED for a pair of formats that is not offered; with
/// TARN_CVL_MISMATCH when the target has another format or size; with TARN_CVL_NOT_POSSIBLE when the image is
/// too small or its size is odd for this conversion, and when the images overlap in memory
void Convert(const Image &image, PixelFormat format, Image &target);

/// Converts and multiplies each sample by the factor.
/// @throws Failure as Convert; with TARN_CVL_NOT_SUPPORTED also for a target without whole samples; with
/// TARN_CVL_OUT_OF_RANGE unless the factor is finite
void ConvertWithFactor(const Image &image, PixelFormat format, Image &target, double factor);

} // namespace tarn::vision
