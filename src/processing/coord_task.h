#pragma once

#include "common/metadata.h"
#include "processing/i_task.h"
#include "vision/calibration_parameters.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarn::cvl
{
class Image;
class Undistortion;
} // namespace tarn::cvl

namespace GenTL::internal
{

/// Makes of the raw components of a 3D device what its output mode promises: intensity without the lens's
/// distortion, and calibrated depth or a grid of coordinates.
///
/// The vision library does the work on pixels. Without lens calibration, nothing but confidence maps and the
/// mode UncalibratedC works.
///
/// Configured on the consumer's threads while no acquisition runs. SetMetadata replaces the rectifier without
/// a lock, so it has to be called ahead of the frames that need it.
class CoordTask final : public ITask
{
public:
    CoordTask();
    ~CoordTask() override;

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
    /// In three dimensions the first input that can be processed, whatever output is wanted.
    std::optional<tarn::common::PixelFormat>
    MatchInputFormat(Component component, tarn::common::PixelFormat output,
                     const std::vector<tarn::common::PixelFormat> &inputs) const override;

    Scan3dOutputMode GetMode() const { return m_mode; }
    void SetMode(Scan3dOutputMode mode) { m_mode = mode; }

    /// Whether the device is a 3D device.
    bool HasScale() const { return m_info.scan3dCoordinateScale.has_value(); }
    void SetScan3dInfo(const Scan3dInfo &info);

    /// Replaces the calibration, and the geometry with it.
    void SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration,
                        const tarn::common::Metadata &metadata);
    /// The geometry of the images from now on.
    void SetMetadata(const tarn::common::Metadata &metadata);

    /// Minimum and maximum of a coordinate in the current mode.
    /// @throws GenTLException for A and B in a mode without them
    /// @throws std::out_of_range while scale or calibration is unknown
    std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) const;

private:
    using PixelFormat = tarn::common::PixelFormat;
    using Size = tarn::common::Size;

    class DepthImage;

    /// Pixels as they arrived.
    struct Source
    {
        PixelFormat format{};
        Size size;
        uint8_t *data = nullptr;
        uint64_t byteSize = 0;
    };

    /// Room for the pixels of one component.
    struct Target
    {
        PixelFormat format{};
        std::span<uint8_t> memory;
    };

    void ComputeAxisRanges();
    void ProcessImage(const InputData &input, std::span<uint8_t> output, ProcessingResult &result);
    void ProcessParts(const InputData &input, std::span<uint8_t> output, ProcessingResult &result);
    /// @return the bytes that were written, which are added to the result's size
    uint64_t ProcessComponent(Component component, const Source &source, PixelFormat format,
                              std::span<uint8_t> output, ProcessingResult &result);
    void Dispatch(Component component, const Source &source, const tarn::cvl::Image &image,
                  const Target &target);
    void ProcessUndistortion(const tarn::cvl::Image &image, const Target &target);
    void ProcessDepthToCalibratedDepth(const Source &source, const tarn::cvl::Image &image,
                                       const Target &target);
    void ProcessDepthToXYZ(const Source &source, const tarn::cvl::Image &image, const Target &target);
    /// @param operation the one that needs it, for the log
    tarn::cvl::Undistortion &Rectifier(const char *operation) const;

    std::unordered_map<Component, PixelFormat> m_outputFormats;
    std::unique_ptr<tarn::cvl::Undistortion> m_rectifier;            ///< null without calibration
    std::unique_ptr<tarn::cvl::CalibrationParameters> m_calibration; ///< null until there is one
    tarn::common::Metadata m_metadata;                               ///< goes along with every image
    Scan3dInfo m_info;
    Scan3dOutputMode m_mode = Scan3dOutputMode::CalibratedABC_Grid;
    /// Minimum and maximum; made once.
    std::unordered_map<Scan3dCoordinate, std::pair<double, double>> m_axisRanges;
};

} // namespace GenTL::internal
