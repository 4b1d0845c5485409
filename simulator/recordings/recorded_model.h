#pragma once

#include "simulator/cameras/camera_model.h"

#include <filesystem>

namespace GenTL::simulator
{

/// The model of a recorded camera: its names and its transport. The recording answers for the rest.
/// @throws recording::Error the folder is no recording, or it is damaged
CameraModel RecordedModel(const std::filesystem::path &folder);

/// The transport layer of this TLType.
Transport TransportOf(const std::string &tlType);

} // namespace GenTL::simulator
