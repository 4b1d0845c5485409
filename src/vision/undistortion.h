#pragma once

#include "common/metadata.h"
#include "vision/backend.h"
#include "vision/calibration_parameters.h"

#include <cstdint>

namespace tarn::cvl
{

class Image;
class UndistortedImage;

/// Removes lens distortion from images of one geometry.
///
/// The metadata describe the geometry. Created by the thread that configures or starts an acquisition; used
/// by one thread at a time. Every function that calls the library throws as ThrowStatus.
class Undistortion : detail::IBackendAccessible<Undistortion>
{
public:
    Undistortion(const common::Metadata &metadata, const CalibrationParameters &parameters);

    /// Sets the interpolation: 0 for intensity images, 1 for depth images. Set it before each use.
    void SetInterpolation(int32_t code);

    UndistortedImage Undistort(const Image &source) const;
    /// Writes an image of the same format and size.
    void Undistort(const Image &source, const Image &target) const;

    /// The camera that describes undistorted images.
    const CameraParameters &GetCamera() const { return m_camera; }

private:
    friend struct detail::Backend;

    void *GetHandle() const override { return m_handle.Get(); }

    detail::Handle<dynamic::Transform_Undistortion_Destroy> m_handle;
    CameraParameters m_camera{};
};

} // namespace tarn::cvl
