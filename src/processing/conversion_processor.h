#pragma once

#include "common/format_table.h"
#include "common/metadata.h"
#include "processing/component.h"
#include "processing/frame_layout.h"
#include "processing/i_frame_processor.h"
#include "processing/image_conversions.h"
#include "processing/image_writer.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace GenTL::internal
{

/// The device's own description of its frames.
struct DeviceState
{
    std::optional<uint64_t> payloadSize{}; ///< of the stream or the device, bytes; none: that of the images
    std::vector<DeviceImage> images{};     ///< of the enabled components, each once
    /// Images that further components may send, if they are enabled; depth in the raw format that grows most.
    std::vector<DeviceImage> unseen{};
    std::optional<Scan3dInfo> scan3d{}; ///< of a 3D device with a lens calibration
    tarn::common::Metadata geometry{};  ///< region, binning and decimation of a 3D device
    /// The lens calibration file that the output mode needs; null: the one set before stays.
    std::shared_ptr<const std::vector<uint8_t>> lens{};
};

/// Bytes of the images that are known to come, before processing.
/// @throws GenTLException GC_ERR_NOT_AVAILABLE when neither the payload size nor the size of a pixel is known
uint64_t KnownBytes(const DeviceState &state);

/// The processing of a device whose formats it does not know beforehand. Each image of a frame is delivered
/// as it came, unless a conversion is set for its component and the format that it came in. No other format
/// is kept, so one that changes behind the consumer's back is passed through and reported as what it is.
///
/// Made by MakeEditedRemoteSide. Its owners are the ConversionDelivery, through which the device's features
/// configure it, and the AcquisitionWorker. The configuration is frozen between AcquisitionStarted and
/// AcquisitionStopped, so it is read without a lock.
class ConversionProcessor final : public IFrameProcessor
{
public:
    using PixelFormat = tarn::common::PixelFormat;

    /// @param formats the known ones; others pass through
    explicit ConversionProcessor(const tarn::common::FormatTable &formats = tarn::common::wideFormats);

    /// Sets the source of the device's state. It is asked at the start of an acquisition and for each payload
    /// size.
    void SetDevice(std::function<DeviceState()> device);
    /// Sets the format that images of an input format become; the input format itself ends a conversion.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_INVALID_VALUE for a format
    /// that is not known
    void SetConversion(Component component, PixelFormat input, PixelFormat output);
    /// The format that images of an input format are delivered in.
    PixelFormat OutputOf(Component component, PixelFormat input) const;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs
    DepthOutput &ConfigureDepth();
    const DepthOutput &Depth() const { return m_conversions.Depth(); }
    bool IsRunning() const { return m_running; }

    /// The device's payload size, and what the conversions add to it.
    /// @throws GenTLException "Callbacks not set!"; GC_ERR_NOT_AVAILABLE when neither the payload size nor
    /// the format of an image is known
    uint64_t PayloadSize() override;
    /// A result with isLargerThanBuffer holds what fits, and nothing of a converted image.
    /// @throws GenTLException for a frame that cannot be processed: a part, an image or a chunk outside of
    /// the bytes delivered, and as ImageWriter::Write. The output may be partly written then.
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    /// Reads the device's state: values that a frame may leave out, and the 3D values.
    /// @throws whatever the source of the state throws; the configuration is not frozen then
    void AcquisitionStarted() override;
    void AcquisitionStopped() override;

private:
    void ProcessImage(const InputData &input, const ImageConversion &image, std::span<uint8_t> output,
                      ProcessingResult &result);
    ProcessingResult ProcessParts(const InputData &input, const std::vector<PartPlan> &plans,
                                  std::span<uint8_t> output);
    /// Adds the bytes of a part to the result.
    void WritePart(const PartPlan &plan, std::span<uint8_t> output, ProcessingResult &result);

    std::function<DeviceState()> m_device;
    ImageConversions m_conversions;
    ImageWriter m_writer{m_conversions.Depth()};
    std::atomic<bool> m_running = false;
};

} // namespace GenTL::internal
