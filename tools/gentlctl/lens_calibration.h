#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace gentlctl
{

class Features;

/// The file of a device with its lens calibration.
inline constexpr auto lensCalibrationFile = "LensCalibrationData";

/// The terms of LensCalibration::distortion.
inline constexpr std::array distortionNames{"k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6"};

struct LensCalibration
{
    uint32_t width;                  ///< pixels of the calibrated image
    uint32_t height;                 ///< lines of the calibrated image
    float focalLengthX;              ///< pixels
    float focalLengthY;              ///< pixels
    float principalPointX;           ///< pixels
    float principalPointY;           ///< pixels
    std::array<float, 8> distortion; ///< in the order of distortionNames
};

/// Checks and reads lens calibration data with the vision library, through its C interface.
/// @throws std::runtime_error the data are invalid, or the library cannot be loaded
LensCalibration ParseLensCalibration(std::span<const uint8_t> data);

/// The calibration as YAML that OpenCV and the simulator's QVR_SIM_DEPTH read.
/// @param depthScale mm of a step of depth pictures; left out if there is none
std::string ToYaml(const LensCalibration &calibration, std::optional<double> depthScale);

/// mm of a step of the depth that the device sends; none if it is not known.
std::optional<double> DepthScaleOf(const Features &remote);

} // namespace gentlctl
