#pragma once

#include "common/metadata.h"
#include "common/size.h"
#include "processing/component.h"
#include "processing/i_frame_processor.h"
#include "processing/scan3d.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// The processing as the remote port configures it: formats by component, and the 3D mode. Both are frozen
/// between AcquisitionStarted and AcquisitionStopped.
class IProcessor : public IFrameProcessor
{
public:
    /// Only the first list for a component counts; later ones are ignored.
    virtual void SetAvailableInputFormats(Component component, const tarn::common::PixelFormat *formats,
                                          size_t count) = 0;
    virtual tarn::common::PixelFormat OutputPixelFormat(Component component) = 0;
    /// @return the input format to set on the device
    virtual tarn::common::PixelFormat SetOutputPixelFormat(Component component,
                                                           tarn::common::PixelFormat format) = 0;
    virtual Scan3dOutputMode GetScan3dOutputMode() = 0;
    /// Also sets the output format of the component Image3D to the first one of the mode.
    virtual void SetScan3dOutputMode(Scan3dOutputMode mode) = 0;
    /// Minimum and maximum of the coordinate in the current mode.
    virtual std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) = 0;
    /// Sets how the device encodes its raw data. A scale makes it a 3D device.
    virtual void SetScan3dInfo(const Scan3dInfo &info) = 0;
    virtual void SetLensCalibrationData(const std::vector<uint8_t> &bytes) = 0;
    /// Sets the geometry of all further images.
    virtual void SetMetadata(const tarn::common::Metadata &metadata) = 0;
    virtual std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component component) = 0;
    /// Sets the source of the device's payload size before processing, in bytes.
    virtual void SetPayloadSizeCallback(std::function<uint64_t()> callback) = 0;
    /// Sets the source of the device's current image size.
    virtual void SetImageSizeCallback(std::function<tarn::common::Size()> callback) = 0;
    /// Sets the source of the images' geometry, which is read when an acquisition starts.
    virtual void SetMetadataCallback(std::function<tarn::common::Metadata()> callback) = 0;
};

} // namespace GenTL::internal
