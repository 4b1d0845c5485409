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

/// One reference to an image of the library, and what is to be known of it without asking: size, format and
/// where its pixels are.
///
/// Whoever makes it owns it; the library counts the references and frees the image with the last. Used by one
/// thread at a time. Everything that calls the library throws as ThrowStatus.
class Image : detail::IBackendAccessible<Image>
{
public:
    /// Over existing memory, which stays the caller's and must outlive the image.
    /// @param byteSize of the memory
    Image(common::PixelFormat format, common::Size size, void *memory, uint64_t byteSize);
    /// With zeroed memory of its own.
    Image(common::PixelFormat format, common::Size size);
    Image(Image &&) = default;
    Image &operator=(Image &&) = default;

    common::Size GetSize() const { return m_size; }
    void *GetData() const { return m_data; }
    /// The low 32 bits of the format, which is what the library knows of it.
    common::PixelFormat GetPixelFormat() const { return m_pixelFormat; }

    /// Converts into the memory, unpacking what is packed, and gives the image over it.
    /// @param byteSize of the memory
    Image ConvertTo(common::PixelFormat format, void *memory, uint64_t byteSize) const;
    /// Converts into an image of the format, each sample multiplied by the factor.
    void ConvertTo(const Image &target, common::PixelFormat format, double factor) const;

    void SetMetadata(const common::Metadata &metadata);
    void SetRegion(const Region &region);

protected:
    /// A further reference to the image of another object.
    Image(const Image &shared);

private:
    friend struct detail::Backend;
    friend class Undistortion;

    /// Reads what the library knows of the image.
    void Refresh();

    void *GetHandle() const final { return m_handle.Get(); }

    detail::Handle<dynamic::Image_Destroy> m_handle;
    common::Size m_size;
    void *m_data = nullptr;
    common::PixelFormat m_pixelFormat{};
};

/// An image without the lens's distortion, with the camera as such an image sees it: a copy, which needs
/// the Undistortion that made it no longer.
class UndistortedImage : public Image
{
public:
    /// A further reference to an image that was undistorted.
    UndistortedImage(const Image &undistorted, const CameraParameters &camera);

    const CameraParameters &GetCamera() const { return m_camera; }

private:
    CameraParameters m_camera;
};

/// Three coordinates, 32-bit floats, for each pixel of a depth image.
class XYZImage : public Image
{
public:
    explicit XYZImage(const UndistortedImage &depth);
    /// Over existing memory, which stays the caller's and must outlive the image. The library decides whether
    /// the format will do.
    /// @param byteSize of the memory
    XYZImage(const UndistortedImage &depth, common::PixelFormat format, common::Size size, void *memory,
             uint64_t byteSize);

    const CameraParameters &GetCamera() const { return m_camera; }

private:
    void Fill(const Image &depth);

    CameraParameters m_camera;
};

} // namespace tarn::cvl
