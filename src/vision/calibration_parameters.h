#pragma once

#include <tarn_cvl/tarn_cvl.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarn::cvl
{

/// What lens calibration data tell, as the library reads them. The system knows of the size of the calibrated
/// image, the focal lengths and the principal point; the rest is the library's own.
using CalibrationParameters = tarn_cvl_CalibrationParameters;

/// The part of CalibrationParameters that travels to the library: the camera, as it is or as it sees
/// undistorted images.
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

/// For functions that are told how much of the record there is.
inline const CalibrationParameters *AsLibraryParameters(const CameraParameters &camera)
{
    return reinterpret_cast<const CalibrationParameters *>(&camera);
}

/// Reads lens calibration data.
/// @throws CorruptedException "The given binary data is invalid" when they are none; as ThrowStatus
std::unique_ptr<CalibrationParameters> ParseCalibrationParameters(const uint8_t *bytes, size_t count);

} // namespace tarn::cvl
