#pragma once

#include "common/metadata.h"
#include "common/size.h"
#include "processing/component.h"
#include "processing/frame.h"
#include "processing/scan3d.h"

#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Decides what happens to a delivered lower buffer before it reaches the consumer's buffer.
///
/// One for each opened device. The remote port configures it on the consumer's threads, the acquisition
/// thread calls Process. Pixel format and 3D mode are frozen between AcquisitionStarted and
/// AcquisitionStopped; that is what makes it safe without a lock.
class IProcessor
{
public:
    IProcessor() = default;
    IProcessor(const IProcessor &) = delete;
    IProcessor &operator=(const IProcessor &) = delete;
    virtual ~IProcessor() = default;

    /// Bytes that a consumer buffer must have.
    virtual uint64_t PayloadSize() = 0;
    /// The first list for a component stays in force; later ones change nothing.
    virtual void SetAvailableInputFormats(Component component, const tarn::common::PixelFormat *formats,
                                          size_t count) = 0;
    virtual tarn::common::PixelFormat OutputPixelFormat(Component component) = 0;
    /// @return the input format to set on the device
    virtual tarn::common::PixelFormat SetOutputPixelFormat(Component component,
                                                           tarn::common::PixelFormat format) = 0;
    virtual Scan3dOutputMode GetScan3dOutputMode() = 0;
    /// Gives the component Image3D the first output format of the mode, too.
    virtual void SetScan3dOutputMode(Scan3dOutputMode mode) = 0;
    /// Minimum and maximum of the coordinate in the current mode.
    virtual std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) = 0;
    /// What the device tells of its raw data. With a scale, the device counts as a 3D device.
    virtual void SetScan3dInfo(const Scan3dInfo &info) = 0;
    virtual void SetLensCalibrationData(const std::vector<uint8_t> &bytes) = 0;
    /// The geometry of the images from now on.
    virtual void SetMetadata(const tarn::common::Metadata &metadata) = 0;
    virtual std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component component) = 0;
    virtual ProcessingResult Process(const InputData &input, std::span<uint8_t> output) = 0;
    /// Gives the device's payload size before processing, bytes.
    virtual void SetPayloadSizeCallback(std::function<uint64_t()> callback) = 0;
    /// Gives the device's current image size.
    virtual void SetImageSizeCallback(std::function<tarn::common::Size()> callback) = 0;
    /// Gives the geometry of the images when an acquisition starts.
    virtual void SetMetadataCallback(std::function<tarn::common::Metadata()> callback) = 0;
    virtual void AcquisitionStarted() = 0;
    virtual void AcquisitionStopped() = 0;
};

} // namespace GenTL::internal
