#pragma once

#include <cstdint>
#include <span>

namespace gentlctl
{

struct LensCalibration
{
    uint32_t width;        ///< pixels of the calibrated image
    uint32_t height;       ///< lines of the calibrated image
    float focalLengthX;    ///< pixels
    float focalLengthY;    ///< pixels
    float principalPointX; ///< pixels
    float principalPointY; ///< pixels
};

/// Checks and reads lens calibration data with the vision library, through its C interface.
/// @throws std::runtime_error the data are invalid, or the library cannot be loaded
LensCalibration ParseLensCalibration(std::span<const uint8_t> data);

} // namespace gentlctl
