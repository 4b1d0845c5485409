#include "processing/depth_output.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal
{

void DepthOutput::SetInfo(const Scan3dInfo &info)
{
    m_info = info;
    m_rectification.SetInfo(info);
}

void DepthOutput::SetLensCalibrationData(std::span<const uint8_t> bytes)
{
    m_rectification.SetCalibration(tarn::cvl::ParseCalibrationParameters(bytes.data(), bytes.size()));
}

void DepthOutput::SetGeometry(const tarn::common::Metadata &geometry)
{
    m_rectification.SetMetadata(geometry);
}

bool DepthOutput::Changes(Component component, PixelFormat input) const
{
    if (!IsEnabled() || TraitsOf(GetMode()).isRaw)
    {
        return false;
    }
    return component == Component::Image2D || (component == Component::Image3D && IsDepth(input));
}

DepthOutput::PixelFormat DepthOutput::OutputOf(Component component, PixelFormat input) const
{
    const bool isDepth = component == Component::Image3D && Changes(component, input);
    return isDepth ? TraitsOf(GetMode()).makes.value_or(input) : input;
}

std::pair<double, double> DepthOutput::AxisRange(Scan3dCoordinate coordinate) const
{
    const auto mode = TraitsOf(GetMode());
    const auto *calibration = m_rectification.Calibration();
    if (!IsEnabled() || (coordinate != Scan3dCoordinate::CoordinateC && !mode.hasGrid) ||
        (!mode.isRaw && calibration == nullptr))
    {
        throw GenTLException(
            fmt::format("No limits of {} in the mode {}!", ToString(coordinate), ToString(GetMode())),
            GC_ERR_NOT_AVAILABLE);
    }
    if (mode.isRaw)
    {
        return {m_info->scan3dAxisMin.value_or(0.0), m_info->scan3dAxisMax.value_or(defaultAxisMax)};
    }
    AxisRanges ranges;
    ranges.Compute(*m_info, *calibration, DepthOffset::Added);
    return ranges.Of(coordinate);
}

void DepthOutput::Process(Component component, const PixelSource &source, const PixelTarget &target) const
{
    m_rectification.Process(component, source, target);
}

} // namespace GenTL::internal
