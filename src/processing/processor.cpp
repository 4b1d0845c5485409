#include "processing/processor.h"

#include "processing/passthrough_task.h"
#include "processing/unpacker_task.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <algorithm>
#include <utility>

namespace GenTL::internal
{

using tarn::common::PixelFormat;
using tarn::common::Size;

Processor::Processor()
{
    m_tasks.push_back(std::make_unique<PassthroughTask>());
    m_tasks.push_back(std::make_unique<UnpackerTask>());
    m_activeTask = m_tasks.front().get();
}

uint64_t Processor::PayloadSize()
{
    if (!m_payloadSize || !m_imageSize)
    {
        throw GenTLException("Callbacks not set!", GC_ERR_ERROR);
    }
    uint64_t payload = m_payloadSize();
    const Size size = m_imageSize();
    // What else the device delivers, chunks or other parts, stays counted.
    for (const auto &[component, format] : m_inputFormats)
    {
        payload += m_activeTask->ImagePayloadSize(component, size);
        payload -= tarn::common::GetSizeInBytes(format, size);
    }
    return payload;
}

void Processor::SetAvailableInputFormats(Component component, const PixelFormat *formats, size_t count)
{
    m_availableInputFormats.try_emplace(component, formats, formats + count);
}

const std::vector<PixelFormat> &Processor::GetAvailableInputFormats(Component component) const
{
    const auto formats = m_availableInputFormats.find(component);
    if (formats == m_availableInputFormats.end())
    {
        SPDLOG_ERROR("Unknown component: {}", component);
        throw GenTLException(fmt::format("Unknown component {}!", component), GC_ERR_ERROR);
    }
    if (formats->second.empty())
    {
        throw GenTLException(fmt::format("No pixel format available for component {}!", component),
                             GC_ERR_INVALID_VALUE);
    }
    return formats->second;
}

PixelFormat Processor::OutputPixelFormat(Component component)
{
    if (!m_outputFormats.contains(component))
    {
        const auto text = fmt::format("Output pixel format not set for component {}!", component);
        SPDLOG_ERROR(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    return m_activeTask->OutputFormat(component);
}

PixelFormat Processor::SetOutputPixelFormat(Component component, PixelFormat format)
{
    CheckNotRunning("Cannot change PixelFormat while acquisition is running!");
    const auto &inputs = GetAvailableInputFormats(component);
    for (const auto &task : m_tasks)
    {
        if (const auto input = task->MatchInputFormat(component, format, inputs))
        {
            task->SetOutputFormat(component, format);
            m_activeTask = task.get();
            m_inputFormats.insert_or_assign(component, *input);
            m_outputFormats.insert_or_assign(component, format);
            return *input;
        }
    }
    throw GenTLException(
        fmt::format("Output format {} is not available!", tarn::common::PixelFormatName(format)),
        GC_ERR_INVALID_VALUE);
}

std::vector<PixelFormat> Processor::AvailableOutputPixelFormats(Component component)
{
    const auto &inputs = GetAvailableInputFormats(component);
    std::vector<PixelFormat> outputs;
    for (const auto &task : m_tasks)
    {
        for (const auto input : inputs)
        {
            for (const auto output : task->AvailableOutputFormats(component, input))
            {
                if (std::ranges::find(outputs, output) == outputs.end())
                {
                    outputs.push_back(output);
                }
            }
        }
    }
    if (outputs.empty())
    {
        const auto text =
            fmt::format("Could not find suitable output pixel formats for component: {}", component);
        SPDLOG_ERROR(text);
        throw GenTLException(text + "!", GC_ERR_ERROR);
    }
    return outputs;
}

ProcessingResult Processor::Process(const InputData &input, std::span<uint8_t> output)
{
    return m_activeTask->Process(input, output);
}

void Processor::SetPayloadSizeCallback(std::function<uint64_t()> callback)
{
    m_payloadSize = std::move(callback);
}

void Processor::SetImageSizeCallback(std::function<Size()> callback)
{
    m_imageSize = std::move(callback);
}

void Processor::AcquisitionStarted()
{
    m_running = true;
}

void Processor::AcquisitionStopped()
{
    m_running = false;
}

void Processor::CheckNotRunning(const char *message) const
{
    if (m_running)
    {
        throw GenTLException(message, GC_ERR_ACCESS_DENIED);
    }
}

} // namespace GenTL::internal
