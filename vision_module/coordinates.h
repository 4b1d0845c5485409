#pragma once

#include "vision_module/image.h"

namespace tarn::vision
{

/// Computes three coordinates for each pixel of a depth image.
/// @throws Failure for a wrong format or size, or when the images overlap in memory
void MakeCoordinates(const Image &depth, const tarn_cvl_CalibrationParameters &camera, Image &target);

} // namespace tarn::vision
