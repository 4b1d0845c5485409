#pragma once

#include "common/metadata.h"
#include "common/pixel_format.h"
#include "common/size.h"
#include "processing/component.h"
#include "processing/pixel_work.h"
#include "processing/scan3d.h"
#include "vision/calibration_parameters.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace tarn::cvl
{
class Image;
class Undistortion;
} // namespace tarn::cvl

namespace GenTL::internal
{

/// Logs a failure of CoordTask and throws it.
/// @param operation the origin of the log line
/// @throws GenTLException GC_ERR_ERROR, always
[[noreturn]] void FailCoordTask(const std::string &text, const char *operation = "CoordTask::Process");

/// Turns the pixels of one component into those that an output mode promises, through the vision library.
///
/// Owned by CoordTask or DepthOutput, which configures it while no acquisition runs. Without lens
/// calibration, nothing but confidence maps and raw output works.
class Rectification
{
public:
    using Source = PixelSource;
    using Target = PixelTarget;

    explicit Rectification(DepthOffset offset = DepthOffset::LeftOut);
    ~Rectification();
    Rectification(const Rectification &) = delete;
    Rectification &operator=(const Rectification &) = delete;

    void SetCalibration(std::unique_ptr<tarn::cvl::CalibrationParameters> calibration);
    /// Null until there is one.
    const tarn::cvl::CalibrationParameters *Calibration() const { return m_calibration.get(); }
    /// The geometry of the images from now on.
    void SetMetadata(const tarn::common::Metadata &metadata);
    void SetMode(Scan3dOutputMode mode) { m_mode = mode; }
    Scan3dOutputMode Mode() const { return m_mode; }
    void SetInfo(const Scan3dInfo &info) { m_info = info; }
    const Scan3dInfo &Info() const { return m_info; }

    /// @throws GenTLException without lens calibration, or for a format that the mode does not make;
    /// tarn::common::InvalidParameterException for a range of depth that is empty; whatever the vision
    /// library throws
    void Process(Component component, const Source &source, const Target &target) const;

private:
    class DepthImage;

    void ProcessUndistortion(const tarn::cvl::Image &image, const Target &target) const;
    void ProcessDepthToCalibratedDepth(const Source &source, const tarn::cvl::Image &image,
                                       const Target &target) const;
    void ProcessDepthToXYZ(const Source &source, const tarn::cvl::Image &image, const Target &target) const;
    /// @param operation the operation that needs the rectifier, for the log
    tarn::cvl::Undistortion &Rectifier(const char *operation) const;

    std::unique_ptr<tarn::cvl::Undistortion> m_rectifier;            ///< null without calibration
    std::unique_ptr<tarn::cvl::CalibrationParameters> m_calibration; ///< null until there is one
    tarn::common::Metadata m_metadata;                               ///< attached to every image
    Scan3dInfo m_info;
    DepthOffset m_offset;
    /// Atomic: a consumer thread that asks for the mode may also set it, while others ask.
    std::atomic<Scan3dOutputMode> m_mode = Scan3dOutputMode::CalibratedABC_Grid;
};

} // namespace GenTL::internal
