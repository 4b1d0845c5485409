#pragma once

#include "common/format_table.h"
#include "common/metadata.h"
#include "processing/component.h"
#include "processing/depth_output.h"
#include "processing/i_frame_processor.h"
#include "processing/image_writer.h"

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Images of one component as the device sends them now.
struct DeviceImage
{
    Component component{};
    tarn::common::PixelFormat code{};                 ///< value of PixelFormat on the device
    const tarn::common::FormatInfo *format = nullptr; ///< what it means; null when nobody knows
    tarn::common::Size size;
};

/// What the device says of its frames.
struct DeviceState
{
    std::optional<uint64_t> payloadSize; ///< of the stream or the device, bytes; the images' bytes without
    std::vector<DeviceImage> images;     ///< of the enabled components, with distinct components
    std::optional<Scan3dInfo> scan3d;    ///< of a 3D device with a lens calibration
    tarn::common::Metadata geometry;     ///< region, binning and decimation; read for a 3D device only
};

/// The processing of a device whose formats it does not know beforehand. Each image of a frame is delivered
/// as it came, unless a conversion is set for its component and the format that it came in. Nothing else is
/// kept, so a format that changes behind the consumer's back is passed through and reported as what it is.
///
/// Made by Device and shared with what presents the device's features, which configures it, and with the
/// AcquisitionWorker. Configuration is frozen between AcquisitionStarted and AcquisitionStopped, so it is
/// read without a lock.
class ConversionProcessor final : public IFrameProcessor
{
public:
    using PixelFormat = tarn::common::PixelFormat;

    /// @param formats the known ones; others pass through
    explicit ConversionProcessor(const tarn::common::FormatTable &formats = tarn::common::wideFormats);

    /// Sets the source of the device's state. It is asked at the start of an acquisition and for each payload
    /// size.
    void SetDevice(std::function<DeviceState()> device);
    /// Sets what images become that come in a format; the format itself ends a conversion.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_INVALID_VALUE for a format
    /// that is not known
    void SetConversion(Component component, PixelFormat input, PixelFormat output);
    /// What images that come in a format are delivered as.
    PixelFormat OutputOf(Component component, PixelFormat input) const;
    /// The 3D output. Not to be changed while acquisition runs.
    DepthOutput &Depth() { return m_depth; }
    const DepthOutput &Depth() const { return m_depth; }
    bool IsRunning() const { return m_running; }

    /// The device's payload size, and what the conversions add to it.
    /// @throws GenTLException "Callbacks not set!"; GC_ERR_NOT_AVAILABLE when neither the payload size nor
    /// the format of an image is known
    uint64_t PayloadSize() override;
    /// A result with isLargerThanBuffer holds what fits, and nothing of a converted image.
    /// @throws GenTLException for a frame that cannot be processed: a part, an image or a chunk outside of
    /// the bytes delivered, and as ImageWriter::Write. The output may be partly written then.
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    /// Reads the device's state: what a frame does not tell of itself, and the 3D values.
    void AcquisitionStarted() override;
    void AcquisitionStopped() override;

private:
    using FormatInfo = tarn::common::FormatInfo;

    const FormatInfo *FormatOf(uint64_t code, std::optional<uint64_t> numbering) const;
    std::optional<ImageConversion> ConversionOf(Component component, const FormatInfo *input) const;
    ProcessingResult ProcessImage(const InputData &input, const ImageConversion &image,
                                  std::span<uint8_t> output);
    ProcessingResult ProcessParts(const InputData &input, std::span<uint8_t> output);

    const tarn::common::FormatTable &m_formats;
    std::function<DeviceState()> m_device;
    std::map<std::pair<Component, PixelFormat>, PixelFormat> m_conversions;
    DepthOutput m_depth;
    ImageWriter m_writer{m_depth};
    std::vector<DeviceImage> m_images; ///< as the acquisition started
    std::atomic<bool> m_running = false;
};

} // namespace GenTL::internal
