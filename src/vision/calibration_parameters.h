#pragma once

#include <tarn_cvl/tarn_cvl.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarn::cvl
{

/// Lens calibration as the library's record. The producer reads the image size, the focal lengths and the
/// principal point; the other fields are opaque.
using CalibrationParameters = tarn_cvl_CalibrationParameters;

/// One camera: the leading part of CalibrationParameters. It describes distorted or undistorted images.
struct CameraParameters
{
    uint32_t width;        ///< pixels of the calibrated image
    uint32_t height;       ///< lines of the calibrated image
    uint8_t opaque[120];   ///< the library's own
    float focalLengthX;    ///< pixels
    float focalLengthY;    ///< pixels
    float principalPointX; ///< pixels
    float principalPointY; ///< pixels
};
static_assert(sizeof(CameraParameters) == TARN_CVL_CAMERA_SIZE);
static_assert(offsetof(CameraParameters, focalLengthX) == offsetof(CalibrationParameters, focalLengthX));
static_assert(sizeof(CalibrationParameters) == TARN_CVL_CALIBRATION_SIZE);

/// A camera in the type that library functions declare. They learn from a size argument that it is only the
/// leading part.
inline const CalibrationParameters *AsLibraryParameters(const CameraParameters &camera)
{
    return reinterpret_cast<const CalibrationParameters *>(&camera);
}

/// Decodes lens calibration data.
/// @throws CorruptedException "The given binary data is invalid"; as ThrowStatus
std::unique_ptr<CalibrationParameters> ParseCalibrationParameters(const uint8_t *bytes, size_t count);

} // namespace tarn::cvl
