#pragma once

#include "processing/scan3d.h"
#include "remote/device_features.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Entries of the device's Scan3dOutputMode with the device's values for them.
using OutputModeValues = std::vector<std::pair<Scan3dOutputMode, uint32_t>>;

/// The 3D values of the device; those that are not readable are absent.
Scan3dInfo ReadScan3dValues(const DeviceFeatures &features);

/// None unless Scan3dOutputMode is readable.
/// @throws std::out_of_range "unordered_map::at: key not found" for an entry that is not in the SFNC
std::optional<OutputModeValues> ReadOutputModes(const DeviceFeatures &features);

/// The content of the device's file LensCalibrationData; empty when the device reports a failure.
/// @throws std::exception for a device without file access
std::vector<uint8_t> ReadLensCalibration(const DeviceFeatures &features);

} // namespace GenTL::internal
