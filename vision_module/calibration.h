#pragma once

#include "vision_module/interface.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tarn::vision
{

/// The terms of the lens distortion, in the order of the interface.
struct Distortion
{
    float k1;
    float k2;
    float p1;
    float p2;
    float k3;
    float k4;
    float k5;
    float k6;
};

Distortion DistortionOf(const tarn_cvl_CalibrationParameters &parameters);

void SetDistortion(tarn_cvl_CalibrationParameters &parameters, const Distortion &distortion);

/// A copy of a caller's camera; the bytes behind the camera are 0.
/// @throws Failure for null or a wrong size; with TARN_CVL_OUT_OF_RANGE for impossible camera values
tarn_cvl_CalibrationParameters CameraOf(const tarn_cvl_CalibrationParameters *camera, size_t size);

constexpr size_t binarySize = 72;

/// Decodes calibration parameters; nullopt when the bytes are invalid.
std::optional<tarn_cvl_CalibrationParameters> FromBinary(std::span<const uint8_t> bytes);

/// @throws Failure with TARN_CVL_CORRUPTED when the bytes are invalid
tarn_cvl_CalibrationParameters ValidFromBinary(std::span<const uint8_t> bytes);

/// @throws Failure with TARN_CVL_OUT_OF_RANGE for impossible camera values. So does ToFile.
std::array<uint8_t, binarySize> ToBinary(const tarn_cvl_CalibrationParameters &parameters);

/// @throws Failure with TARN_CVL_TARGET_NOT_FOUND, TARN_CVL_IO, TARN_CVL_CORRUPTED
tarn_cvl_CalibrationParameters FromFile(const std::string &path);

/// @throws Failure with TARN_CVL_IO
void ToFile(const tarn_cvl_CalibrationParameters &parameters, const std::string &path);

} // namespace tarn::vision
