#include "processing/coord_task.h"

#include "common/exceptions.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/map_at.h"
#include "vision/image.h"
#include "vision/region.h"
#include "vision/undistortion.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace GenTL::internal
{

using tarn::common::GetSizeInBytes;
using tarn::common::PixelFormat;
using tarn::common::Size;
using tarn::cvl::Image;
using tarn::cvl::Region;
using tarn::cvl::Undistortion;

namespace
{

constexpr double defaultAxisMax = 4095.0;
constexpr int32_t intensityInterpolation = 0;
constexpr int32_t depthInterpolation = 1;

[[noreturn]] void Fail(const std::string &text, const char *operation = "CoordTask::Process")
{
    QVR_LOG_ERROR_FOR(operation, text);
    throw GenTLException(text, GC_ERR_ERROR);
}

bool IsDepth(PixelFormat format)
{
    return format == PixelFormat::Coord3D_C8 || format == PixelFormat::Coord3D_C16 ||
           format == PixelFormat::Coord3D_C32f;
}

bool IsWholeDepth(PixelFormat format)
{
    return IsDepth(format) && format != PixelFormat::Coord3D_C32f;
}

Component ComponentOf(PixelFormat format)
{
    if (IsDepth(format) || format == PixelFormat::Coord3D_ABC32f)
    {
        return Component::Image3D;
    }
    const bool isConfidence = format == PixelFormat::Confidence8 || format == PixelFormat::Confidence16;
    return isConfidence ? Component::Confidence : Component::Image2D;
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

Component ComponentOfPart(int32_t type)
{
    switch (type)
    {
    case PART_DATATYPE_2D_IMAGE:
        return Component::Image2D;
    case PART_DATATYPE_3D_IMAGE:
        return Component::Image3D;
    case PART_DATATYPE_CONFIDENCE_MAP:
        return Component::Confidence;
    default:
        Fail(fmt::format("Unexpected buffer part type {}!", PartTypeName(type)));
    }
}

Size SizeOf(std::optional<size_t> width, std::optional<size_t> height)
{
    return {static_cast<unsigned int>(width.value_or(0)), static_cast<unsigned int>(height.value_or(0))};
}

std::optional<size_t> Either(std::optional<size_t> first, std::optional<size_t> second)
{
    return first ? first : second;
}

/// Without the part behind the point; a value beyond the type becomes its nearest one.
int32_t Truncate(double value)
{
    using Limits = std::numeric_limits<int32_t>;
    if (std::isnan(value))
    {
        return 0;
    }
    return static_cast<int32_t>(
        std::clamp(value, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

/// Raw values of valid pixels, both ends included.
struct ValidRange
{
    ValidRange(double lowest, double highest) : minimum(Truncate(lowest)), maximum(Truncate(highest))
    {
        if (minimum > maximum)
        {
            throw tarn::common::InvalidParameterException(
                "The maximum value has to be greater than or equal to the minimum value!");
        }
    }

    int32_t minimum;
    int32_t maximum;
};

/// The format under which the library compares raw values.
PixelFormat ThresholdFormat(PixelFormat format)
{
    switch (format)
    {
    case PixelFormat::Coord3D_C8:
    case PixelFormat::Confidence8:
        return PixelFormat::Mono8;
    case PixelFormat::Coord3D_C16:
    case PixelFormat::Confidence16:
        return PixelFormat::Mono16;
    default:
        return format;
    }
}

} // namespace

/// Raw depth as floats, with the valid pixels as its region.
class CoordTask::DepthImage
{
public:
    DepthImage(const CoordTask &task, const Source &source, const Image &raw, double maximum)
        : m_range(task.m_info.scan3dAxisMin.value_or(0.0), maximum),
          m_comparable(ThresholdFormat(source.format), source.size, source.data,
                       GetSizeInBytes(source.format, source.size)),
          m_valid(m_comparable, m_range.minimum, m_range.maximum),
          m_depth(PixelFormat::Coord3D_C32f, source.size)
    {
        raw.ConvertTo(m_depth, PixelFormat::Coord3D_C32f, task.m_info.scan3dCoordinateScale.value_or(1.0));
        m_depth.SetMetadata(task.m_metadata);
        m_depth.SetRegion(m_valid);
    }

    const Image &Get() const { return m_depth; }

private:
    ValidRange m_range;
    Image m_comparable; ///< the same memory
    Region m_valid;
    Image m_depth;
};

CoordTask::CoordTask() = default;
CoordTask::~CoordTask() = default;

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
    switch (m_mode)
    {
    case Scan3dOutputMode::CalibratedC:
        return {PixelFormat::Coord3D_C32f};
    case Scan3dOutputMode::CalibratedABC_Grid:
        return {PixelFormat::Coord3D_ABC32f};
    default:
        return IsWholeDepth(input) ? std::vector{input} : std::vector<PixelFormat>{};
    }
}

std::optional<PixelFormat> CoordTask::MatchInputFormat(Component component, PixelFormat output,
                                                       const std::vector<PixelFormat> &inputs) const
{
    const bool takesFloats =
        m_mode == Scan3dOutputMode::CalibratedABC_Grid || m_mode == Scan3dOutputMode::CalibratedC;
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
    m_info = info;
    if (m_axisRanges.empty() && m_calibration)
    {
        ComputeAxisRanges();
    }
}

void CoordTask::SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration,
                               const tarn::common::Metadata &metadata)
{
    m_calibration = std::move(calibration);
    SetMetadata(metadata);
}

void CoordTask::SetMetadata(const tarn::common::Metadata &metadata)
{
    if (&metadata != &m_metadata)
    {
        m_metadata = metadata;
    }
    if (!m_calibration)
    {
        return;
    }
    m_rectifier = std::make_unique<Undistortion>(m_metadata, *m_calibration);
    if (m_axisRanges.empty() && HasScale())
    {
        ComputeAxisRanges();
    }
}

void CoordTask::ComputeAxisRanges()
{
    const double scale = m_info.scan3dCoordinateScale.value_or(1.0);
    const double offset = m_info.scan3dCoordinateOffset.value_or(0.0);
    const auto depthOf = [&](double raw) { return std::fma(raw, scale, scale * offset); };
    const double nearest = depthOf(m_info.scan3dAxisMin.value_or(0.0));
    const double farthest = depthOf(m_info.scan3dAxisMax.value_or(defaultAxisMax));
    // At the farthest depth, where the view is widest.
    const auto rangeOf = [farthest](uint32_t pixels, double principalPoint, double focalLength)
    {
        return std::pair(-principalPoint * farthest / focalLength,
                         (pixels - 1.0 - principalPoint) * farthest / focalLength);
    };
    const auto &camera = *m_calibration;
    m_axisRanges[Scan3dCoordinate::CoordinateC] = {nearest, farthest};
    m_axisRanges[Scan3dCoordinate::CoordinateA] =
        rangeOf(camera.width, camera.principalPointX, camera.focalLengthX);
    m_axisRanges[Scan3dCoordinate::CoordinateB] =
        rangeOf(camera.height, camera.principalPointY, camera.focalLengthY);
}

std::pair<double, double> CoordTask::GetScan3dAxisMinMax(Scan3dCoordinate coordinate) const
{
    if (coordinate != Scan3dCoordinate::CoordinateC && m_mode != Scan3dOutputMode::CalibratedABC_Grid)
    {
        Fail(fmt::format("Cannot return Scan3dAxisMinMax for {} with {}!", ToString(m_mode),
                         ToString(coordinate)),
             "CoordTask::GetScan3dAxisMinMax");
    }
    if (m_mode == Scan3dOutputMode::UncalibratedC)
    {
        return {m_info.scan3dAxisMin.value_or(0.0), m_info.scan3dAxisMax.value_or(defaultAxisMax)};
    }
    return utils::MapAt(m_axisRanges, coordinate);
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
        Fail("3D conversion with chunk is currently not supported!");
    }
    return result;
}

void CoordTask::ProcessImage(const InputData &input, std::span<uint8_t> output, ProcessingResult &result)
{
    if (input.payloadType != PAYLOAD_TYPE_IMAGE)
    {
        Fail("Buffer has no parts, but is not PayloadType Image! This is not implemented yet.");
    }
    const auto &attributes = input.attributes;
    if (!attributes.pixelFormat)
    {
        Fail("BufferType is Image, but does not define a PixelFormat!");
    }
    const Source source{static_cast<PixelFormat>(*attributes.pixelFormat),
                        SizeOf(attributes.width, attributes.height), input.data, input.size};
    const auto component = ComponentOf(source.format);
    const auto format = m_outputFormats.find(component);
    if (format == m_outputFormats.end())
    {
        Fail(fmt::format("No pixelformat set for component '{}'.", component));
    }
    ProcessComponent(component, source, format->second, output, result);
    result.attributes.pixelFormat = static_cast<uint64_t>(format->second);
}

void CoordTask::ProcessParts(const InputData &input, std::span<uint8_t> output, ProcessingResult &result)
{
    if (input.payloadType != PAYLOAD_TYPE_MULTI_PART)
    {
        Fail("Buffer has parts but is not payload type multi-part!");
    }
    for (const auto &part : input.parts)
    {
        const auto component = ComponentOfPart(part.type);
        const auto size =
            SizeOf(Either(part.width, input.attributes.width), Either(part.height, input.attributes.height));
        const auto format = OutputFormat(component);
        if (!part.format)
        {
            Fail("BufferPart has no pixel format defined!");
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

uint64_t CoordTask::ProcessComponent(Component component, const Source &source, PixelFormat format,
                                     std::span<uint8_t> output, ProcessingResult &result)
{
    const auto bytes = GetSizeInBytes(format, source.size);
    const auto room = output.subspan(result.bytesWritten);
    if (bytes > room.size())
    {
        Fail("Buffer is not large enough for processing result!");
    }
    result.bytesWritten += bytes;
    Image image(source.format, source.size, source.data, source.byteSize);
    image.SetMetadata(m_metadata);
    Dispatch(component, source, image, {format, room.first(bytes)});
    return bytes;
}

void CoordTask::Dispatch(Component component, const Source &source, const Image &image, const Target &target)
{
    if (component == Component::Confidence || m_mode == Scan3dOutputMode::UncalibratedC)
    {
        image.ConvertTo(target.format, target.memory.data(), target.memory.size());
    }
    else if (component == Component::Image2D)
    {
        ProcessUndistortion(image, target);
    }
    else if (m_mode == Scan3dOutputMode::CalibratedC)
    {
        ProcessDepthToCalibratedDepth(source, image, target);
    }
    else
    {
        ProcessDepthToXYZ(source, image, target);
    }
}

Undistortion &CoordTask::Rectifier(const char *operation) const
{
    if (!m_rectifier)
    {
        Fail("No rectifier! Needs to be created first!", operation);
    }
    return *m_rectifier;
}

void CoordTask::ProcessUndistortion(const Image &image, const Target &target)
{
    auto &rectifier = Rectifier("CoordTask::ProcessUndistortion");
    rectifier.SetInterpolation(intensityInterpolation);
    rectifier.Undistort(image).ConvertTo(target.format, target.memory.data(), target.memory.size());
}

void CoordTask::ProcessDepthToCalibratedDepth(const Source &source, const Image &image, const Target &target)
{
    auto &rectifier = Rectifier("CoordTask::ProcessDepthToCalibratedDepth");
    if (target.format != PixelFormat::Coord3D_C32f)
    {
        const auto expected = tarn::common::PixelFormatName(PixelFormat::Coord3D_C32f);
        SPDLOG_ERROR("Incompatible pixel format! Expected: {}", expected);
        throw GenTLException(fmt::format("Incompatible pixel format {}! Expected: {}",
                                         tarn::common::PixelFormatName(target.format), expected),
                             GC_ERR_ERROR);
    }
    const DepthImage depth(*this, source, image, m_info.scan3dAxisMax.value_or(defaultAxisMax));
    const Image calibrated(target.format, source.size, target.memory.data(), target.memory.size());
    rectifier.SetInterpolation(depthInterpolation);
    rectifier.Undistort(depth.Get(), calibrated);
}

void CoordTask::ProcessDepthToXYZ(const Source &source, const Image &image, const Target &target)
{
    auto &rectifier = Rectifier("CoordTask::ProcessDepthToXYZ");
    // Asked in any case: it refuses floats.
    const auto largest = static_cast<double>(tarn::common::MaximumPixelValue(source.format));
    const auto maximum = m_info.scan3dAxisMax.value_or(std::min(largest, defaultAxisMax));
    const DepthImage depth(*this, source, image, maximum);
    rectifier.SetInterpolation(depthInterpolation);
    const auto undistorted = rectifier.Undistort(depth.Get());
    const tarn::cvl::XYZImage coordinates(undistorted, target.format, source.size, target.memory.data(),
                                          target.memory.size());
}

} // namespace GenTL::internal
