#pragma once

#include "simulator/system/interface.h"

#include <filesystem>
#include <vector>

namespace GenTL::simulator
{

/// The recorded cameras, and the interfaces that they were connected to.
struct RecordedWorld
{
    std::vector<CameraModel> cameras;
    std::vector<InterfaceModel> interfaces;
};

/// @throws Error GC_ERR_IO: a folder is no recording or is damaged, or two are of the same camera.
RecordedWorld ReadRecordedWorld(const std::vector<std::filesystem::path> &folders);

} // namespace GenTL::simulator
