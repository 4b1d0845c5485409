#include "vision/image.h"

#include "vision/metadata_conversion.h"
#include "vision/region.h"

namespace tarn::cvl
{

using detail::Backend;

namespace
{

static_assert(sizeof(tarn_cvl_ImageInfo) == TARN_CVL_IMAGE_INFO_SIZE);

uint32_t CodeOf(common::PixelFormat format)
{
    return static_cast<uint32_t>(format);
}

common::PixelFormat FormatOf(uint32_t code)
{
    return static_cast<common::PixelFormat>(code);
}

} // namespace

Image::Image(common::PixelFormat format, common::Size size, void *memory, uint64_t byteSize)
    : m_size(size), m_data(memory), m_pixelFormat(FormatOf(CodeOf(format)))
{
    const tarn_cvl_ImageInfo info{CodeOf(format), size.width, size.height, 0, byteSize, memory};
    m_handle = decltype(m_handle)::Create(dynamic::Image_CreateFromImageInfo, &info, sizeof info);
}

Image::Image(common::PixelFormat format, common::Size size)
    : m_handle(decltype(m_handle)::Create(dynamic::Image_CreateWithZeroInit, CodeOf(format),
                                          tarn_cvl_Size{size.width, size.height}, uint8_t{false}))
{
    Refresh();
}

Image::Image(const Image &shared)
    : detail::IBackendAccessible<Image>(), m_size(shared.m_size), m_data(shared.m_data),
      m_pixelFormat(shared.m_pixelFormat)
{
    Call(dynamic::Image_IncreaseUseCount, shared.GetHandle());
    m_handle = decltype(m_handle)(shared.GetHandle());
}

void Image::Refresh()
{
    tarn_cvl_ImageInfo info{};
    Call(dynamic::Image_GetInfo, GetHandle(), &info, sizeof info);
    m_size = {info.width, info.height};
    m_data = info.data;
    m_pixelFormat = FormatOf(info.pixelFormat);
}

Image Image::ConvertTo(common::PixelFormat format, void *memory, uint64_t byteSize) const
{
    Image target(format, m_size, memory, byteSize);
    Call(dynamic::Image_ConvertPixelFormat, GetHandle(), CodeOf(format), target.GetHandle());
    return target;
}

void Image::ConvertTo(const Image &target, common::PixelFormat format, double factor) const
{
    Call(dynamic::Image_ConvertPixelFormatWithFactor, GetHandle(), CodeOf(format), target.GetHandle(),
         factor);
}

void Image::SetMetadata(const common::Metadata &metadata)
{
    Call(dynamic::Image_SetMetadata, GetHandle(), ConvertMetadata(metadata).Get());
}

void Image::SetRegion(const Region &region)
{
    Call(dynamic::Image_SetRegion, GetHandle(), Backend::HandleOf(region));
}

UndistortedImage::UndistortedImage(const Image &undistorted, const CameraParameters &camera)
    : Image(undistorted), m_camera(camera)
{
}

XYZImage::XYZImage(const UndistortedImage &depth)
    : Image(common::PixelFormat::Coord3D_ABC32f, depth.GetSize()), m_camera(depth.GetCamera())
{
    Fill(depth);
}

XYZImage::XYZImage(const UndistortedImage &depth, common::PixelFormat format, common::Size size, void *memory,
                   uint64_t byteSize)
    : Image(format, size, memory, byteSize), m_camera(depth.GetCamera())
{
    Fill(depth);
}

void XYZImage::Fill(const Image &depth)
{
    Call(dynamic::Transform_DepthMap_To_XYZImage, Backend::HandleOf<Image>(*this),
         AsLibraryParameters(m_camera), sizeof m_camera, Backend::HandleOf(depth));
}

} // namespace tarn::cvl
