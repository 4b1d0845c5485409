#include "processing/image_conversions.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <algorithm>

namespace GenTL::internal
{

void ImageConversions::Set(Component component, PixelFormat input, PixelFormat output)
{
    if (m_formats.Find(input) == nullptr || m_formats.Find(output) == nullptr)
    {
        throw GenTLException(fmt::format("Cannot convert pixel format {:#x} to {:#x}!",
                                         static_cast<int64_t>(input), static_cast<int64_t>(output)),
                             GC_ERR_INVALID_VALUE);
    }
    m_outputs.insert_or_assign({component, input}, output);
}

ImageConversions::PixelFormat ImageConversions::OutputOf(Component component, PixelFormat input) const
{
    const auto output = m_outputs.find({component, input});
    return m_depth.OutputOf(component, output != m_outputs.end() ? output->second : input);
}

const ImageConversions::FormatInfo *ImageConversions::FormatOf(std::optional<uint64_t> code,
                                                               std::optional<uint64_t> numbering) const
{
    const auto used = numbering.value_or(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    if (!code || (used != PIXELFORMAT_NAMESPACE_PFNC_32BIT && used != PIXELFORMAT_NAMESPACE_GEV))
    {
        return nullptr;
    }
    const auto format = static_cast<PixelFormat>(*code);
    const auto image = std::ranges::find(m_images, format, &DeviceImage::code);
    return image != m_images.end() ? image->format : m_formats.Find(format);
}

std::optional<ImageConversion> ImageConversions::Find(Component component, const FormatInfo *input,
                                                      std::optional<tarn::common::Size> size) const
{
    if (input == nullptr || !size)
    {
        return std::nullopt;
    }
    const auto *output = m_formats.Find(OutputOf(component, input->format));
    if (output == nullptr || (output->format == input->format && !m_depth.Changes(component, input->format)))
    {
        return std::nullopt;
    }
    return ImageConversion{component, input, output, *size, 0};
}

} // namespace GenTL::internal
