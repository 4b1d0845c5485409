#pragma once

#include "simulator/depth/depth_lens.h"

namespace GenTL::simulator
{

/// What the depth camera sees in one direction.
struct DepthPoint
{
    double depth;      ///< mm along the camera's axis
    bool isValid;      ///< the surface reflects light
    double light;      ///< 0 to `white`
    double confidence; ///< 0 to 1
};

/// The lens of the depth camera.
const Lens &DepthLens();

/// The directions of DepthLens(). The first call works them out.
const LensDirections &DepthDirections();

/// The scene of the depth camera: a tilted plane with a grid of straight lines and a band that reflects no
/// light, a sphere in front of it, and a plate that faces the camera. docs/simulator.md gives the numbers.
DepthPoint SceneAt(const Ray &ray);

} // namespace GenTL::simulator
