#pragma once

#include "common/metadata.h"
#include "processing/axis_ranges.h"
#include "processing/i_task.h"
#include "processing/rectification.h"
#include "processing/scan3d.h"
#include "vision/calibration_parameters.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Turns the raw components of a 3D device into those that its output mode promises: intensity without the
/// lens's distortion, and calibrated depth or a grid of coordinates.
///
/// Owned by Processor. Rectification does the work on pixels; this class knows formats, parts and buffers.
/// Without lens calibration, nothing but confidence maps and the mode UncalibratedC works.
///
/// Configured on the consumer's threads while no acquisition runs. SetMetadata replaces the rectifier without
/// a lock, so it must not run while a frame is processed.
class CoordTask final : public ITask
{
public:
    /// @throws GenTLException for a buffer that cannot be processed; tarn::common::InvalidParameterException
    /// for a range of depth that is empty; whatever the vision library throws. The output may be partly
    /// written then.
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    void SetOutputFormat(Component component, tarn::common::PixelFormat format) override;
    /// @throws std::out_of_range for a component without a format
    tarn::common::PixelFormat OutputFormat(Component component) const override;
    /// @throws std::out_of_range for a component without a format
    uint64_t ImagePayloadSize(Component component, tarn::common::Size size) const override;
    std::vector<tarn::common::PixelFormat>
    AvailableOutputFormats(Component component, tarn::common::PixelFormat input) const override;
    /// For Image3D, the first input that the mode can process, whatever the output.
    std::optional<tarn::common::PixelFormat>
    MatchInputFormat(Component component, tarn::common::PixelFormat output,
                     const std::vector<tarn::common::PixelFormat> &inputs) const override;

    Scan3dOutputMode GetMode() const { return m_rectification.Mode(); }
    void SetMode(Scan3dOutputMode mode) { m_rectification.SetMode(mode); }

    /// Whether the device is a 3D device.
    bool Is3dDevice() const { return m_rectification.Info().scan3dCoordinateScale.has_value(); }
    void SetScan3dInfo(const Scan3dInfo &info);

    /// Replaces the calibration, and the geometry with it.
    void SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration,
                        const tarn::common::Metadata &metadata);
    /// The geometry of the images from now on.
    void SetMetadata(const tarn::common::Metadata &metadata);

    /// Minimum and maximum of a coordinate in the current mode.
    /// @throws GenTLException for A and B in a mode without them
    /// @throws std::out_of_range in a calibrated mode, while 3D values or calibration are unknown
    std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) const;

private:
    using PixelFormat = tarn::common::PixelFormat;

    /// Computes the ranges if there is a calibration and they are not computed yet.
    void ComputeAxisRanges();
    void ProcessImage(const InputData &input, std::span<uint8_t> output, ProcessingResult &result);
    void ProcessParts(const InputData &input, std::span<uint8_t> output, ProcessingResult &result);
    /// Adds the bytes that it writes to result.bytesWritten.
    /// @return these bytes
    uint64_t ProcessComponent(Component component, const Rectification::Source &source, PixelFormat format,
                              std::span<uint8_t> output, ProcessingResult &result);

    std::unordered_map<Component, PixelFormat> m_outputFormats;
    Rectification m_rectification;
    AxisRanges m_axisRanges;
};

} // namespace GenTL::internal
