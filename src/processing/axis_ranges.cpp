#include "processing/axis_ranges.h"

#include "utils/map_at.h"

#include <cmath>
#include <cstdint>

namespace GenTL::internal
{

void AxisRanges::Compute(const Scan3dInfo &info, const tarn::cvl::CalibrationParameters &camera,
                         DepthOffset rule)
{
    const double scale = info.scan3dCoordinateScale.value_or(1.0);
    const double offset = info.scan3dCoordinateOffset.value_or(0.0);
    const double summand = rule == DepthOffset::Added ? offset : scale * offset;
    const auto depthOf = [&](double raw) { return std::fma(raw, scale, summand); };
    const double nearest = depthOf(info.scan3dAxisMin.value_or(0.0));
    const double farthest = depthOf(info.scan3dAxisMax.value_or(defaultAxisMax));
    const auto rangeOf = [farthest](uint32_t pixels, double principalPoint, double focalLength)
    {
        return std::pair(-principalPoint * farthest / focalLength,
                         (pixels - 1.0 - principalPoint) * farthest / focalLength);
    };
    m_ranges[Scan3dCoordinate::CoordinateC] = {nearest, farthest};
    m_ranges[Scan3dCoordinate::CoordinateA] =
        rangeOf(camera.width, camera.principalPointX, camera.focalLengthX);
    m_ranges[Scan3dCoordinate::CoordinateB] =
        rangeOf(camera.height, camera.principalPointY, camera.focalLengthY);
}

std::pair<double, double> AxisRanges::Of(Scan3dCoordinate coordinate) const
{
    return utils::MapAt(m_ranges, coordinate);
}

} // namespace GenTL::internal
