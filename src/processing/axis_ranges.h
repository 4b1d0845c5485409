#pragma once

#include "processing/scan3d.h"
#include "vision/calibration_parameters.h"

#include <unordered_map>
#include <utility>

namespace GenTL::internal
{

/// The largest raw depth of a device that states none.
inline constexpr double defaultAxisMax = 4095.0;

/// Minimum and maximum of each coordinate that calibrated depth can have.
class AxisRanges
{
public:
    bool IsEmpty() const { return m_ranges.empty(); }
    /// Computes C from the device's range of depth, including the device's offset, and A and B from the
    /// lens's view at the farthest depth, where the view is widest.
    void Compute(const Scan3dInfo &info, const tarn::cvl::CalibrationParameters &camera,
                 DepthOffset rule = DepthOffset::LeftOut);
    /// @throws std::out_of_range "unordered_map::at: key not found" before Compute
    std::pair<double, double> Of(Scan3dCoordinate coordinate) const;

private:
    std::unordered_map<Scan3dCoordinate, std::pair<double, double>> m_ranges;
};

} // namespace GenTL::internal
