#include "vision_module/samples.h"

#include "common/format_table.h"

#include <algorithm>
#include <array>
#include <bit>

namespace tarn::vision
{

using common::PixelFormat;

namespace
{

bool IsFloat(PixelFormat format)
{
    switch (format)
    {
    case PixelFormat::Coord3D_C32f:
    case PixelFormat::Coord3D_ABC32f:
    case PixelFormat::Mono32f:
    case PixelFormat::Mono32fQVR:
    case PixelFormat::RGB32f:
    case PixelFormat::RGB32fQVR:
        return true;
    default:
        return false;
    }
}

bool IsYuv(PixelFormat format)
{
    return format == PixelFormat::YUV420_8_YY_UV_SemiplanarQVR ||
           format == PixelFormat::YUV420_8_YY_VU_SemiplanarQVR || format == PixelFormat::YUV422_8_UYVY;
}

bool HasAlpha(PixelFormat format)
{
    constexpr std::array withAlpha{PixelFormat::RGBa8,  PixelFormat::BGRa8,  PixelFormat::RGBa10,
                                   PixelFormat::BGRa10, PixelFormat::RGBa12, PixelFormat::BGRa12};
    return std::ranges::find(withAlpha, format) != withAlpha.end();
}

} // namespace

std::optional<Samples> SamplesOf(PixelFormat format)
{
    if (common::familyFormats.Find(format) == nullptr || common::IsPackedFormat(format) || IsYuv(format))
    {
        return {};
    }
    const auto bytes = static_cast<uint32_t>(common::GetSizeInBytes(format, {1, 1}));
    if (IsFloat(format))
    {
        return Samples{SampleType::Float32, bytes / 4, false, 0};
    }
    const auto maximum = static_cast<uint32_t>(common::MaximumPixelValue(format));
    const bool isByte = maximum <= UINT8_MAX;
    return Samples{isByte ? SampleType::Unsigned8 : SampleType::Unsigned16, isByte ? bytes : bytes / 2,
                   HasAlpha(format), maximum};
}

uint32_t DepthOf(PixelFormat format)
{
    return static_cast<uint32_t>(std::bit_width(common::MaximumPixelValue(format)));
}

} // namespace tarn::vision
