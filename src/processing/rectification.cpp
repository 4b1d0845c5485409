#include "processing/rectification.h"

#include "common/exceptions.h"
#include "processing/axis_ranges.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "vision/image.h"
#include "vision/region.h"
#include "vision/undistortion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

namespace GenTL::internal
{

using tarn::common::GetSizeInBytes;
using tarn::common::PixelFormat;
using tarn::cvl::Image;
using tarn::cvl::Region;
using tarn::cvl::Undistortion;

void FailCoordTask(const std::string &text, const char *operation)
{
    QVR_LOG_ERROR_FOR(operation, text);
    throw GenTLException(text, GC_ERR_ERROR);
}

namespace
{

constexpr int32_t intensityInterpolation = 0;
constexpr int32_t depthInterpolation = 1;

/// Truncates toward zero and saturates at the limits of the type. A value that is not a number gives 0.
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

/// Adds to each sample, since the vision library applies a scale and no offset.
void AddToFloats(const Image &image, double summand)
{
    const auto size = image.GetSize();
    const std::span samples(static_cast<float *>(image.GetData()), size_t{size.width} * size.height);
    const auto addend = static_cast<float>(summand);
    for (auto &sample : samples)
    {
        sample += addend;
    }
}

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
class Rectification::DepthImage
{
public:
    DepthImage(const Rectification &settings, const Source &source, const Image &raw, double maximum)
        : m_range(settings.m_info.scan3dAxisMin.value_or(0.0), maximum),
          m_comparable(ThresholdFormat(source.format), source.size, source.data,
                       GetSizeInBytes(source.format, source.size)),
          m_valid(m_comparable, m_range.minimum, m_range.maximum),
          m_depth(PixelFormat::Coord3D_C32f, source.size)
    {
        raw.ConvertTo(m_depth, PixelFormat::Coord3D_C32f,
                      settings.m_info.scan3dCoordinateScale.value_or(1.0));
        if (settings.m_offset == DepthOffset::Added)
        {
            AddToFloats(m_depth, settings.m_info.scan3dCoordinateOffset.value_or(0.0));
        }
        m_depth.SetMetadata(settings.m_metadata);
        m_depth.SetRegion(m_valid);
    }

    const Image &Get() const { return m_depth; }

private:
    /// The range of the raw values of valid pixels, both ends included.
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

    ValidRange m_range;
    Image m_comparable; ///< the raw depth's memory, in the format for the comparison
    Region m_valid;
    Image m_depth;
};

Rectification::Rectification(DepthOffset offset) : m_offset(offset) {}
Rectification::~Rectification() = default;

void Rectification::SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration)
{
    m_calibration = std::move(calibration);
}

void Rectification::SetMetadata(const tarn::common::Metadata &metadata)
{
    if (&metadata != &m_metadata)
    {
        m_metadata = metadata;
    }
    if (m_calibration)
    {
        m_rectifier = std::make_unique<Undistortion>(m_metadata, *m_calibration);
    }
}

void Rectification::Process(Component component, const Source &source, const Target &target) const
{
    Image image(source.format, source.size, source.data, source.byteSize);
    image.SetMetadata(m_metadata);
    const auto mode = TraitsOf(m_mode);
    if (component == Component::Confidence || mode.isRaw)
    {
        image.ConvertTo(target.format, target.memory.data(), target.memory.size());
    }
    else if (component == Component::Image2D)
    {
        ProcessUndistortion(image, target);
    }
    else if (mode.makes == PixelFormat::Coord3D_C32f)
    {
        ProcessDepthToCalibratedDepth(source, image, target);
    }
    else
    {
        ProcessDepthToXYZ(source, image, target);
    }
}

Undistortion &Rectification::Rectifier(const char *operation) const
{
    if (!m_rectifier)
    {
        FailCoordTask("No rectifier! Needs to be created first!", operation);
    }
    return *m_rectifier;
}

void Rectification::ProcessUndistortion(const Image &image, const Target &target) const
{
    auto &rectifier = Rectifier("CoordTask::ProcessUndistortion");
    rectifier.SetInterpolation(intensityInterpolation);
    rectifier.Undistort(image).ConvertTo(target.format, target.memory.data(), target.memory.size());
}

void Rectification::ProcessDepthToCalibratedDepth(const Source &source, const Image &image,
                                                  const Target &target) const
{
    auto &rectifier = Rectifier("CoordTask::ProcessDepthToCalibratedDepth");
    if (target.format != PixelFormat::Coord3D_C32f)
    {
        const auto expected = tarn::common::PixelFormatName(PixelFormat::Coord3D_C32f);
        QVR_LOG_ERROR_FOR("CoordTask::ProcessDepthToCalibratedDepth",
                          "Incompatible pixel format! Expected: {}", expected);
        throw GenTLException(fmt::format("Incompatible pixel format {}! Expected: {}",
                                         tarn::common::PixelFormatName(target.format), expected),
                             GC_ERR_ERROR);
    }
    const DepthImage depth(*this, source, image, m_info.scan3dAxisMax.value_or(defaultAxisMax));
    const Image calibrated(target.format, source.size, target.memory.data(), target.memory.size());
    rectifier.SetInterpolation(depthInterpolation);
    rectifier.Undistort(depth.Get(), calibrated);
}

void Rectification::ProcessDepthToXYZ(const Source &source, const Image &image, const Target &target) const
{
    auto &rectifier = Rectifier("CoordTask::ProcessDepthToXYZ");
    // Called even when the device has a maximum: the call throws for a format of floats.
    const auto largest = static_cast<double>(tarn::common::MaximumPixelValue(source.format));
    const auto maximum = m_info.scan3dAxisMax.value_or(std::min(largest, defaultAxisMax));
    const DepthImage depth(*this, source, image, maximum);
    rectifier.SetInterpolation(depthInterpolation);
    const auto undistorted = rectifier.Undistort(depth.Get());
    const tarn::cvl::XYZImage coordinates(undistorted, target.format, source.size, target.memory.data(),
                                          target.memory.size());
}

} // namespace GenTL::internal
