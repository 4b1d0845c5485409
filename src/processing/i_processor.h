#pragma once

#include "common/size.h"
#include "processing/types.h"

#include <cstdint>
#include <functional>
#include <span>
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
    virtual std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component component) = 0;
    virtual ProcessingResult Process(const InputData &input, std::span<uint8_t> output) = 0;
    /// Gives the device's payload size before processing, bytes.
    virtual void SetPayloadSizeCallback(std::function<uint64_t()> callback) = 0;
    /// Gives the device's current image size.
    virtual void SetImageSizeCallback(std::function<tarn::common::Size()> callback) = 0;
    virtual void AcquisitionStarted() = 0;
    virtual void AcquisitionStopped() = 0;
};

} // namespace GenTL::internal
