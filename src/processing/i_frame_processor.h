#pragma once

#include "processing/frame.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// Turns a delivered lower buffer into the content of the consumer's buffer: what a running stream needs of
/// the processing.
///
/// One per open device. Configured on the consumer's threads; the acquisition thread calls Process. What a
/// frame becomes is frozen between AcquisitionStarted and AcquisitionStopped, so it needs no lock.
class IFrameProcessor
{
public:
    IFrameProcessor() = default;
    IFrameProcessor(const IFrameProcessor &) = delete;
    IFrameProcessor &operator=(const IFrameProcessor &) = delete;
    virtual ~IFrameProcessor() = default;

    /// The size of a consumer buffer, in bytes.
    virtual uint64_t PayloadSize() = 0;
    virtual ProcessingResult Process(const InputData &input, std::span<uint8_t> output) = 0;
    virtual void AcquisitionStarted() = 0;
    virtual void AcquisitionStopped() = 0;
};

} // namespace GenTL::internal
