#pragma once

#include "common/metadata.h"
#include "common/size.h"
#include "remote/device_features.h"

#include <cstdint>
#include <string>

namespace GenTL::internal
{

/// Width and height of the device's images, pixels.
/// @throws GenTLException "XML not parsed or not valid!"; "Did not find node {}!"
tarn::common::Size ReadImageSize(const DeviceFeatures &features);

/// Pixels of the sensor that make one pixel of the image, horizontally and vertically.
struct BinningFactors
{
    uint32_t horizontal = 1;
    uint32_t vertical = 1;
};

/// Multiplies the factors of all entries of prefix + "Selector" that are available. Selects each of them in
/// turn, and leaves the last one selected. 1 for a device without the features.
/// @param prefix "Binning" or "Decimation"
BinningFactors ReadFactors(const DeviceFeatures &features, const std::string &prefix);

/// Which part of the sensor an image shows: "Roi" (a Rectangle, in pixels; missing when the device lacks one
/// of its four features), "BinningHorizontal" and "BinningVertical" (uint64_t, binning times decimation).
/// @throws GenTLException "XML not parsed or not valid!"
tarn::common::Metadata ReadMetadata(const DeviceFeatures &features);

} // namespace GenTL::internal
