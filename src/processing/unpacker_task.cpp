#include "processing/unpacker_task.h"

#include "processing/moved_chunks.h"
#include "processing/pixel_work.h"
#include "utils/gentl_exception.h"

#include <algorithm>

namespace GenTL::internal
{

using tarn::common::PixelFormat;
using tarn::common::Size;

namespace
{

constexpr unsigned int extraLines = 40;

void CheckIsImage2D(Component component, const char *message)
{
    if (component != Component::Image2D)
    {
        throw GenTLException(message, GC_ERR_ERROR);
    }
}

} // namespace

ProcessingResult UnpackerTask::Process(const InputData &input, std::span<uint8_t> output)
{
    ProcessingResult result{.bytesWritten = std::min<uint64_t>(input.size, output.size()),
                            .parts = input.parts,
                            .attributes = input.attributes};
    result.attributes.pixelFormat = static_cast<uint64_t>(m_format);
    for (auto &part : result.parts)
    {
        part.base = output.data() + (part.base - input.data);
    }
    const Size size{static_cast<unsigned int>(input.attributes.width.value_or(0)),
                    static_cast<unsigned int>(input.attributes.height.value_or(0))};
    // C-13: the default applies to a buffer without a pixel format.
    const auto inputFormat = static_cast<PixelFormat>(
        input.attributes.pixelFormat.value_or(static_cast<uint64_t>(PixelFormat::BayerBG8)));
    UnpackImage({inputFormat, size, input.data, input.size}, {m_format, output});
    if (input.chunks)
    {
        result.chunks = MoveChunks(input, output, tarn::common::GetSizeInBytes(m_format, size));
    }
    return result;
}

void UnpackerTask::SetOutputFormat(Component component, PixelFormat format)
{
    CheckIsImage2D(component, "Setting components other than Image2D currently not supported!");
    m_format = format;
}

PixelFormat UnpackerTask::OutputFormat(Component) const
{
    return m_format;
}

uint64_t UnpackerTask::ImagePayloadSize(Component component, Size size) const
{
    CheckIsImage2D(component, "Querying components other than Image2D currently not supported!");
    return tarn::common::GetSizeInBytes(m_format, {size.width, size.height + extraLines});
}

std::vector<PixelFormat> UnpackerTask::AvailableOutputFormats(Component, PixelFormat input) const
{
    if (!tarn::common::IsPackedFormat(input))
    {
        return {};
    }
    return {tarn::common::UnpackedFormat(input)};
}

std::optional<PixelFormat> UnpackerTask::MatchInputFormat(Component, PixelFormat output,
                                                          const std::vector<PixelFormat> &inputs) const
{
    const auto match = std::ranges::find_if(
        inputs, [&](PixelFormat input)
        { return tarn::common::IsPackedFormat(input) && tarn::common::UnpackedFormat(input) == output; });
    return match != inputs.end() ? std::optional(*match) : std::nullopt;
}

} // namespace GenTL::internal
