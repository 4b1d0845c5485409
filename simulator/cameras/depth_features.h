#pragma once

#include "simulator/cameras/component_control.h"
#include "simulator/cameras/depth_output.h"

namespace GenTL::simulator
{

// The features that only a depth camera has, as lists in the order of the description.

std::vector<Feature> ComponentFeatures(const std::vector<ImageComponent> &components);

Feature IntensityNoiseFeature();

/// What DepthOutput shows, and the noise of the depth.
std::vector<Feature> Scan3dFeatures(const std::vector<UserSet> &sets);

std::vector<Feature> UserSetFeatures(const std::vector<UserSet> &sets);

} // namespace GenTL::simulator
