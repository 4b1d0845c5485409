#pragma once

#include "common/metadata.h"
#include "processing/axis_ranges.h"
#include "processing/component.h"
#include "processing/pixel_work.h"
#include "processing/rectification.h"
#include "processing/scan3d.h"

#include <optional>
#include <span>
#include <utility>

namespace GenTL::internal
{

/// The 3D output of a device with a lens calibration: what its components become in an output mode.
///
/// Owned by ConversionProcessor. Leaves all images as they are until SetInfo. Depth is raw * scale + offset.
/// Configured on the consumer's threads while no acquisition runs.
class DepthOutput
{
public:
    using PixelFormat = tarn::common::PixelFormat;

    /// Sets how the device encodes its raw values, which makes it a 3D device.
    void SetInfo(const Scan3dInfo &info);
    bool IsEnabled() const { return m_info.has_value(); }
    /// Takes effect with the next geometry.
    /// @throws tarn::cvl::CorruptedException for invalid lens calibration data; what was set before stays
    void SetLensCalibrationData(std::span<const uint8_t> bytes);
    /// The region, binning and decimation of the images from now on.
    void SetGeometry(const tarn::common::Metadata &geometry);

    Scan3dOutputMode GetMode() const { return m_rectification.Mode(); }
    void SetMode(Scan3dOutputMode mode) { m_rectification.SetMode(mode); }

    /// Whether images of this kind are changed: depth, and intensity, which loses the lens's distortion.
    /// False in a raw mode.
    bool Changes(Component component, PixelFormat input) const;
    /// The format that comes out; the same when it stays.
    PixelFormat OutputOf(Component component, PixelFormat input) const;
    /// Minimum and maximum of a coordinate, computed from the present values.
    /// @throws GenTLException GC_ERR_NOT_AVAILABLE for A and B in a mode without them, and in a calibrated
    /// mode without 3D values or calibration
    std::pair<double, double> AxisRange(Scan3dCoordinate coordinate) const;
    /// @param source of a kind that the mode changes
    /// @throws GenTLException without lens calibration; tarn::common::InvalidParameterException for a range
    /// of depth that is empty; whatever the vision library throws
    void Process(Component component, const PixelSource &source, const PixelTarget &target) const;

private:
    Rectification m_rectification{DepthOffset::Added};
    std::optional<Scan3dInfo> m_info;
};

} // namespace GenTL::internal
