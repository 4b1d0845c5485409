#include "vision/undistortion.h"

#include "vision/image.h"
#include "vision/metadata_conversion.h"

namespace tarn::cvl
{

using detail::Backend;

Undistortion::Undistortion(const common::Metadata &metadata, const CalibrationParameters &parameters)
{
    m_handle =
        decltype(m_handle)::Create(dynamic::Transform_Undistortion_CreateWithImageMetadata,
                                   ConvertMetadata(metadata).Get(), &parameters, sizeof m_camera, &m_camera);
}

void Undistortion::SetInterpolation(int32_t code)
{
    Call(dynamic::Transform_Undistortion_SetInterpolation, GetHandle(), code);
}

UndistortedImage Undistortion::Undistort(const Image &source) const
{
    Image target(source.GetPixelFormat(), source.GetSize());
    Undistort(source, target);
    target.Refresh();
    return {target, m_camera};
}

void Undistortion::Undistort(const Image &source, const Image &target) const
{
    Call(dynamic::Transform_Undistortion_Process, GetHandle(), Backend::HandleOf(source),
         Backend::HandleOf(target));
}

} // namespace tarn::cvl
