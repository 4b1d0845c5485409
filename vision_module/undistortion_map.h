#pragma once

#include "vision_module/interface.h"
#include "vision_module/region.h"

#include <cstdint>
#include <vector>

namespace tarn::vision
{

/// Maps each pixel of an undistorted image to one pixel of a source of the same size.
struct NearestMap
{
    /// Index of the source pixel; undefined outside `inside`.
    std::vector<uint32_t> sources;
    /// The pixels that have a source pixel.
    Region inside;
};

/// Maps each pixel of an undistorted image to a position between four source pixels, in the form of
/// cv::remap.
struct BilinearMap
{
    /// Column and line of the upper left of the four pixels, one pair per pixel.
    std::vector<int16_t> positions;
    /// Position between the four pixels in steps of 1/32: 32 * vertical + horizontal.
    std::vector<uint16_t> fractions;
};

/// Limit for the width and the height of an image with a map.
constexpr uint32_t mostPixels = INT16_MAX - 1;

/// @param camera describes the distorted image and has its size, at most mostPixels wide and high
NearestMap MakeNearestMap(const tarn_cvl_CalibrationParameters &camera);
BilinearMap MakeBilinearMap(const tarn_cvl_CalibrationParameters &camera);

} // namespace tarn::vision
