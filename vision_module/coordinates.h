#pragma once

#include "vision_module/image.h"

namespace tarn::vision
{

/// Makes three coordinates for each pixel of a depth image.
/// @throws Failure for other formats and sizes, or shared memory
void MakeCoordinates(const Image &depth, const tarn_cvl_CalibrationParameters &camera, Image &target);

} // namespace tarn::vision
