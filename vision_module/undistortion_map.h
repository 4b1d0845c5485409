#pragma once

#include "vision_module/interface.h"
#include "vision_module/region.h"

#include <cstdint>
#include <vector>

namespace tarn::vision
{

/// Where each pixel of an undistorted image comes from: one pixel of the source, as large as the image.
struct NearestMap
{
    /// The pixel's number in the source; of no meaning outside of `inside`.
    std::vector<uint32_t> sources;
    /// The pixels that come from the source.
    Region inside;
};

/// Where each pixel of an undistorted image comes from: a place between four pixels of the source, as
/// cv::remap takes it.
struct BilinearMap
{
    /// Column and line of the upper left of the four pixels.
    std::vector<int16_t> positions;
    /// The place between them in steps of 1/32: the line's times 32 and the column's.
    std::vector<uint16_t> fractions;
};

/// The widest and highest image that there are maps for.
constexpr uint32_t mostPixels = INT16_MAX - 1;

/// @param camera as it sees the distorted image, which has its size; at most mostPixels wide and high
NearestMap MakeNearestMap(const tarn_cvl_CalibrationParameters &camera);
BilinearMap MakeBilinearMap(const tarn_cvl_CalibrationParameters &camera);

} // namespace tarn::vision
