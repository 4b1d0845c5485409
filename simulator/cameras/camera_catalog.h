#pragma once

#include "simulator/cameras/camera_model.h"

namespace GenTL::simulator
{

/// All simulated cameras, in the order in which the interfaces list them.
const std::vector<CameraModel> &CameraCatalog();

} // namespace GenTL::simulator
