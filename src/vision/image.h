#pragma once

#include "common/metadata.h"
#include "common/pixel_format.h"
#include "common/size.h"
#include "vision/backend.h"
#include "vision/calibration_parameters.h"

#include <cstdint>

namespace tarn::cvl
{

class Region;

/// One reference to an image of the library, with a copy of its size, format and pixel address.
///
/// Its creator owns it. The library frees the image with its last reference. Used by one thread at a time.
/// Every function that calls the library throws as ThrowStatus.
class Image : detail::IBackendAccessible<Image>
{
public:
    /// Refers to existing memory, which stays the caller's and must outlive the image.
    /// @param byteSize of the memory
    Image(common::PixelFormat format, common::Size size, void *memory, uint64_t byteSize);
    /// Owns its memory, filled with zeros.
    Image(common::PixelFormat format, common::Size size);
    Image(Image &&) = default;
    Image &operator=(Image &&) = default;

    common::Size GetSize() const { return m_size; }
    void *GetData() const { return m_data; }
    /// The low 32 bits of the format: the library stores no more.
    common::PixelFormat GetPixelFormat() const { return m_pixelFormat; }

    /// Converts into the memory, unpacking if needed, and returns an image that refers to it.
    /// @param byteSize of the memory
    Image ConvertTo(common::PixelFormat format, void *memory, uint64_t byteSize) const;
    /// Converts into an image of the format and multiplies each sample by the factor.
    void ConvertTo(const Image &target, common::PixelFormat format, double factor) const;

    void SetMetadata(const common::Metadata &metadata);
    void SetRegion(const Region &region);

protected:
    /// Adds a reference to the image of another object.
    Image(const Image &shared);

private:
    friend struct detail::Backend;
    friend class Undistortion;

    /// Reads size, format and pixel address from the library.
    void Refresh();

    void *GetHandle() const final { return m_handle.Get(); }

    detail::Handle<dynamic::Image_Destroy> m_handle;
    common::Size m_size;
    void *m_data = nullptr;
    common::PixelFormat m_pixelFormat{};
};

/// An undistorted image and a copy of the camera parameters that describe it. Does not depend on the
/// Undistortion that made it.
class UndistortedImage : public Image
{
public:
    /// Adds a reference to an undistorted image.
    UndistortedImage(const Image &undistorted, const CameraParameters &camera);

    const CameraParameters &GetCamera() const { return m_camera; }

private:
    CameraParameters m_camera;
};

/// The coordinates of each pixel of a depth image, as three 32-bit floats.
class XYZImage : public Image
{
public:
    explicit XYZImage(const UndistortedImage &depth);
    /// Refers to existing memory, which stays the caller's and must outlive the image. The library checks the
    /// format.
    /// @param byteSize of the memory
    XYZImage(const UndistortedImage &depth, common::PixelFormat format, common::Size size, void *memory,
             uint64_t byteSize);

    const CameraParameters &GetCamera() const { return m_camera; }

private:
    void Fill(const Image &depth);

    CameraParameters m_camera;
};

} // namespace tarn::cvl
