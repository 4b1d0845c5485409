#pragma once

#include "simulator/cameras/camera_features.h"

namespace GenTL::simulator
{

/// The chunks of all cameras.
std::vector<Chunk> StandardChunks();

/// Completes a camera that sends one image of the scene in a frame. `formats` are the features of the format.
CameraModel AreaCamera(CameraModel camera, const Sensor &sensor, std::vector<Feature> formats,
                       MakeCameraControl formatControl);

} // namespace GenTL::simulator
