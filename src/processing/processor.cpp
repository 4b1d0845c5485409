#include "processing/processor.h"

#include "common/exceptions.h"
#include "processing/coord_task.h"
#include "processing/passthrough_task.h"
#include "processing/unpacker_task.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/map_at.h"

#include <algorithm>
#include <string>
#include <utility>

namespace GenTL::internal
{

using tarn::common::PixelFormat;
using tarn::common::Size;

namespace
{

/// The name of a format, or its number: a consumer may ask for unknown codes.
std::string Describe(PixelFormat format)
{
    try
    {
        return tarn::common::PixelFormatName(format);
    }
    catch (const tarn::common::InvalidParameterException &)
    {
        return std::to_string(static_cast<int64_t>(format));
    }
}

} // namespace

Processor::Processor()
{
    m_tasks.push_back(std::make_unique<PassthroughTask>());
    m_tasks.push_back(std::make_unique<UnpackerTask>());
    auto coordTask = std::make_unique<CoordTask>();
    m_coordTask = coordTask.get();
    m_tasks.push_back(std::move(coordTask));
    m_activeTask = m_tasks.front().get();
}

Processor::~Processor() = default;

uint64_t Processor::PayloadSize()
{
    if (!m_payloadSize || !m_imageSize)
    {
        throw GenTLException("Callbacks not set!", GC_ERR_ERROR);
    }
    uint64_t payload = m_payloadSize();
    const Size size = m_imageSize();
    // Only the images change their size. The bytes of chunks and of other parts stay in the sum.
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
        QVR_LOG_ERROR("Unknown component: {}", component);
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
        QVR_LOG_ERROR(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    return m_activeTask->OutputFormat(component);
}

PixelFormat Processor::SetOutputPixelFormat(Component component, PixelFormat format)
{
    CheckNotRunning("Cannot change PixelFormat while acquisition is running!");
    const auto &inputs = GetAvailableInputFormats(component);
    if (Is3dDevice())
    {
        return SetOutputPixelFormat3d(component, format, inputs);
    }
    for (const auto &task : m_tasks)
    {
        if (const auto input = task->MatchInputFormat(component, format, inputs))
        {
            return Activate(*task, component, *input, format);
        }
    }
    throw GenTLException(fmt::format("Output format {} is not available!", Describe(format)),
                         GC_ERR_INVALID_VALUE);
}

PixelFormat Processor::SetOutputPixelFormat3d(Component component, PixelFormat format,
                                              const std::vector<PixelFormat> &inputs)
{
    const auto fail = [&]
    {
        throw GenTLException(
            fmt::format("Cannot set pixel format {} for component {}!", Describe(format), component),
            GC_ERR_ERROR);
    };
    const auto input = m_coordTask->MatchInputFormat(component, format, inputs);
    if (!input)
    {
        QVR_LOG_ERROR_FOR("Processor::SetOutputPixelFormat", "Unknown component: {}, PixelFormat: {}",
                          component, Describe(format));
        fail();
    }
    m_activeTask = m_coordTask;
    const auto outputs = m_coordTask->AvailableOutputFormats(component, *input);
    if (outputs.empty())
    {
        fail();
    }
    // A format that the mode cannot make is no error: the mode's own format replaces it.
    const bool isMade = std::ranges::find(outputs, format) != outputs.end();
    return Activate(*m_coordTask, component, *input, isMade ? format : outputs.front());
}

PixelFormat Processor::Activate(ITask &task, Component component, PixelFormat input, PixelFormat output)
{
    task.SetOutputFormat(component, output);
    m_activeTask = &task;
    m_inputFormats.insert_or_assign(component, input);
    m_outputFormats.insert_or_assign(component, output);
    return input;
}

Scan3dOutputMode Processor::GetScan3dOutputMode()
{
    return m_coordTask->GetMode();
}

void Processor::SetScan3dOutputMode(Scan3dOutputMode mode)
{
    CheckNotRunning("Cannot change Scan3dOutputMode while acquisition is running!");
    m_coordTask->SetMode(mode);
    const auto input = utils::MapAt(m_inputFormats, Component::Image3D);
    const auto outputs = m_coordTask->AvailableOutputFormats(Component::Image3D, input);
    if (outputs.empty())
    {
        const auto text = fmt::format("No output format available for {} with pixel format {}!",
                                      ToString(mode), tarn::common::PixelFormatName(input));
        QVR_LOG_ERROR(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    m_coordTask->SetOutputFormat(Component::Image3D, outputs.front());
}

std::pair<double, double> Processor::GetScan3dAxisMinMax(Scan3dCoordinate coordinate)
{
    return m_coordTask->GetScan3dAxisMinMax(coordinate);
}

void Processor::SetScan3dInfo(const Scan3dInfo &info)
{
    m_coordTask->SetScan3dInfo(info);
}

void Processor::SetLensCalibrationData(const std::vector<uint8_t> &bytes)
{
    m_coordTask->SetCalibration(tarn::cvl::ParseCalibrationParameters(bytes.data(), bytes.size()), {});
}

void Processor::SetMetadata(const tarn::common::Metadata &metadata)
{
    m_coordTask->SetMetadata(metadata);
}

bool Processor::Is3dDevice() const
{
    return m_coordTask->Is3dDevice();
}

std::vector<PixelFormat> Processor::AvailableOutputPixelFormats(Component component)
{
    const auto &inputs = GetAvailableInputFormats(component);
    const std::span tasks(m_tasks);
    std::vector<PixelFormat> outputs;
    for (const auto &task : Is3dDevice() ? tasks.last(1) : tasks.first(tasks.size() - 1))
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
        QVR_LOG_ERROR(text);
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

void Processor::SetMetadataCallback(std::function<tarn::common::Metadata()> callback)
{
    m_metadata = std::move(callback);
}

void Processor::AcquisitionStarted()
{
    m_frozen = true;
    // The consumer may have changed the region of interest since the last acquisition.
    if (Is3dDevice() && m_metadata)
    {
        SetMetadata(m_metadata());
    }
}

void Processor::AcquisitionStopped()
{
    m_frozen = false;
}

void Processor::CheckNotRunning(const char *message) const
{
    if (m_frozen)
    {
        throw GenTLException(message, GC_ERR_ACCESS_DENIED);
    }
}

} // namespace GenTL::internal
