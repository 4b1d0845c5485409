#include "processing/coord_task.h"

#include "utils/gentl_exception.h"
#include "utils/map_at.h"

#include <algorithm>
#include <utility>

namespace GenTL::internal
{

using tarn::common::GetSizeInBytes;
using tarn::common::PixelFormat;
using tarn::common::Size;

namespace
{

bool IsWholeDepth(PixelFormat format)
{
    return IsDepth(format) && format != PixelFormat::Coord3D_C32f;
}

std::string PartTypeName(int32_t type)
{
#define PART_TYPE(name)                                                                                      \
    case name:                                                                                               \
        return #name;
    switch (type)
    {
        PART_TYPE(PART_DATATYPE_UNKNOWN)
        PART_TYPE(PART_DATATYPE_2D_PLANE_BIPLANAR)
        PART_TYPE(PART_DATATYPE_2D_PLANE_TRIPLANAR)
        PART_TYPE(PART_DATATYPE_2D_PLANE_QUADPLANAR)
        PART_TYPE(PART_DATATYPE_3D_PLANE_BIPLANAR)
        PART_TYPE(PART_DATATYPE_3D_PLANE_TRIPLANAR)
        PART_TYPE(PART_DATATYPE_3D_PLANE_QUADPLANAR)
        PART_TYPE(PART_DATATYPE_JPEG)
        PART_TYPE(PART_DATATYPE_JPEG2000)
        PART_TYPE(PART_DATATYPE_CUSTOM_ID)
    default:
        return std::to_string(type);
    }
#undef PART_TYPE
}

Component KnownComponentOfPart(int32_t type)
{
    const auto component = ComponentOfPart(type);
    if (!component)
    {
        FailCoordTask(fmt::format("Unexpected buffer part type {}!", PartTypeName(type)));
    }
    return *component;
}

Size SizeOf(std::optional<size_t> width, std::optional<size_t> height)
{
    return {static_cast<unsigned int>(width.value_or(0)), static_cast<unsigned int>(height.value_or(0))};
}

std::optional<size_t> Either(std::optional<size_t> first, std::optional<size_t> second)
{
    return first ? first : second;
}

} // namespace

void CoordTask::SetOutputFormat(Component component, PixelFormat format)
{
    m_outputFormats.insert_or_assign(component, format);
}

PixelFormat CoordTask::OutputFormat(Component component) const
{
    return utils::MapAt(m_outputFormats, component);
}

uint64_t CoordTask::ImagePayloadSize(Component component, Size size) const
{
    return GetSizeInBytes(OutputFormat(component), size);
}

std::vector<PixelFormat> CoordTask::AvailableOutputFormats(Component component, PixelFormat input) const
{
    if (component != Component::Image3D)
    {
        return {input};
    }
    if (!IsDepth(input))
    {
        return {};
    }
    if (const auto makes = TraitsOf(GetMode()).makes)
    {
        return {*makes};
    }
    return IsWholeDepth(input) ? std::vector{input} : std::vector<PixelFormat>{};
}

std::optional<PixelFormat> CoordTask::MatchInputFormat(Component component, PixelFormat output,
                                                       const std::vector<PixelFormat> &inputs) const
{
    const bool takesFloats = TraitsOf(GetMode()).makes.has_value();
    const auto match = std::ranges::find_if(inputs,
                                            [&](PixelFormat input)
                                            {
                                                if (component != Component::Image3D)
                                                {
                                                    return input == output;
                                                }
                                                return takesFloats ? IsDepth(input) : IsWholeDepth(input);
                                            });
    return match != inputs.end() ? std::optional(*match) : std::nullopt;
}

void CoordTask::SetScan3dInfo(const Scan3dInfo &info)
{
    m_rectification.SetInfo(info);
    ComputeAxisRanges();
}

void CoordTask::SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration,
                               const tarn::common::Metadata &metadata)
{
    m_rectification.SetCalibration(std::move(calibration));
    SetMetadata(metadata);
}

void CoordTask::SetMetadata(const tarn::common::Metadata &metadata)
{
    m_rectification.SetMetadata(metadata);
    if (Is3dDevice())
    {
        ComputeAxisRanges();
    }
}

void CoordTask::ComputeAxisRanges()
{
    if (const auto *calibration = m_rectification.Calibration();
        calibration != nullptr && m_axisRanges.IsEmpty())
    {
        m_axisRanges.Compute(m_rectification.Info(), *calibration);
    }
}

std::pair<double, double> CoordTask::GetScan3dAxisMinMax(Scan3dCoordinate coordinate) const
{
    const auto mode = TraitsOf(GetMode());
    if (coordinate != Scan3dCoordinate::CoordinateC && !mode.hasGrid)
    {
        FailCoordTask(fmt::format("Cannot return Scan3dAxisMinMax for {} with {}!", ToString(mode.mode),
                                  ToString(coordinate)),
                      "CoordTask::GetScan3dAxisMinMax");
    }
    if (mode.isRaw)
    {
        const auto &info = m_rectification.Info();
        return {info.scan3dAxisMin.value_or(0.0), info.scan3dAxisMax.value_or(defaultAxisMax)};
    }
    return m_axisRanges.Of(coordinate);
}

ProcessingResult CoordTask::Process(const InputData &input, std::span<uint8_t> output)
{
    ProcessingResult result{.attributes = input.attributes};
    if (input.parts.empty())
    {
        ProcessImage(input, output, result);
    }
    else
    {
        ProcessParts(input, output, result);
    }
    if (input.chunks)
    {
        FailCoordTask("3D conversion with chunk is currently not supported!");
    }
    return result;
}

void CoordTask::ProcessImage(const InputData &input, std::span<uint8_t> output, ProcessingResult &result)
{
    if (input.payloadType != PAYLOAD_TYPE_IMAGE)
    {
        FailCoordTask("Buffer has no parts, but is not PayloadType Image! This is not implemented yet.");
    }
    const auto &attributes = input.attributes;
    if (!attributes.pixelFormat)
    {
        FailCoordTask("BufferType is Image, but does not define a PixelFormat!");
    }
    const Rectification::Source source{static_cast<PixelFormat>(*attributes.pixelFormat),
                                       SizeOf(attributes.width, attributes.height), input.data, input.size};
    const auto component = ComponentOf(source.format);
    const auto format = m_outputFormats.find(component);
    if (format == m_outputFormats.end())
    {
        FailCoordTask(fmt::format("No pixelformat set for component '{}'.", component));
    }
    ProcessComponent(component, source, format->second, output, result);
    result.attributes.pixelFormat = static_cast<uint64_t>(format->second);
}

void CoordTask::ProcessParts(const InputData &input, std::span<uint8_t> output, ProcessingResult &result)
{
    if (input.payloadType != PAYLOAD_TYPE_MULTI_PART)
    {
        FailCoordTask("Buffer has parts but is not payload type multi-part!");
    }
    for (const auto &part : input.parts)
    {
        const auto component = KnownComponentOfPart(part.type);
        const auto size =
            SizeOf(Either(part.width, input.attributes.width), Either(part.height, input.attributes.height));
        const auto format = OutputFormat(component);
        if (!part.format)
        {
            FailCoordTask("BufferPart has no pixel format defined!");
        }
        auto *const base = output.data() + result.bytesWritten;
        const auto bytes =
            ProcessComponent(component, {static_cast<PixelFormat>(*part.format), size, part.base, part.size},
                             format, output, result);
        result.parts.push_back({.base = base,
                                .size = bytes,
                                .type = part.type,
                                .format = static_cast<uint64_t>(format),
                                .width = part.width,
                                .height = part.height,
                                .sourceId = part.sourceId});
    }
}

uint64_t CoordTask::ProcessComponent(Component component, const Rectification::Source &source,
                                     PixelFormat format, std::span<uint8_t> output, ProcessingResult &result)
{
    const auto bytes = GetSizeInBytes(format, source.size);
    const auto room = output.subspan(result.bytesWritten);
    if (bytes > room.size())
    {
        FailCoordTask("Buffer is not large enough for processing result!");
    }
    result.bytesWritten += bytes;
    m_rectification.Process(component, source, {format, room.first(bytes)});
    return bytes;
}

} // namespace GenTL::internal
