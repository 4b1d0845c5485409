#include "processing/passthrough_task.h"

#include "processing/frame_copy.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/map_at.h"

#include <algorithm>

namespace GenTL::internal
{

using tarn::common::PixelFormat;
using tarn::common::Size;

ProcessingResult PassthroughTask::Process(const InputData &input, std::span<uint8_t> output)
{
    if (output.size() < input.size)
    {
        constexpr auto text = "Output buffer is smaller than input buffer!";
        QVR_LOG_CRITICAL(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    CheckHasMemory(input);
    ProcessingResult result{.bytesWritten = input.size,
                            .parts = input.parts,
                            .attributes = input.attributes,
                            .chunks = input.chunks};
    for (auto &part : result.parts)
    {
        part.base = output.data() + (part.base - input.data);
    }
    CopyFrame(output.data(), input.data, input.size);
    return result;
}

void PassthroughTask::SetOutputFormat(Component component, PixelFormat format)
{
    m_formats.insert_or_assign(component, format);
}

PixelFormat PassthroughTask::OutputFormat(Component component) const
{
    return utils::MapAt(m_formats, component);
}

uint64_t PassthroughTask::ImagePayloadSize(Component component, Size size) const
{
    const auto format = m_formats.find(component);
    if (format == m_formats.end())
    {
        QVR_LOG_ERROR("Unknown component: {}", component);
        throw GenTLException(fmt::format("Unknown component {}!", component), GC_ERR_ERROR);
    }
    return tarn::common::GetSizeInBytes(format->second, size);
}

std::vector<PixelFormat> PassthroughTask::AvailableOutputFormats(Component, PixelFormat input) const
{
    return {input};
}

std::optional<PixelFormat> PassthroughTask::MatchInputFormat(Component, PixelFormat output,
                                                             const std::vector<PixelFormat> &inputs) const
{
    const bool isAvailable = std::ranges::find(inputs, output) != inputs.end();
    return isAvailable ? std::optional(output) : std::nullopt;
}

} // namespace GenTL::internal
