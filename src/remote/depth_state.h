#pragma once

#include "common/metadata.h"
#include "genapi/graph_features.h"
#include "processing/scan3d.h"

namespace GenTL::internal
{

/// How a device encodes its raw depth; what cannot be read is absent.
Scan3dInfo ReadDepthEncoding(genapi::GraphFeatures &features);

/// Which part of the sensor an image shows: "Roi" (a Rectangle, in pixels; missing when one of its four
/// features cannot be read), "BinningHorizontal" and "BinningVertical" (uint64_t, binning times decimation,
/// as they are selected: no selector is moved).
tarn::common::Metadata ReadGeometry(genapi::GraphFeatures &features);

} // namespace GenTL::internal
