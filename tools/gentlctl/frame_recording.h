#pragma once

#include "port/i_gentl_proxy.h"
#include "recording/frame_record.h"

#include <gentl/gentl.h>

#include <cstdint>
#include <span>

namespace gentlctl
{

/// A delivered frame, to be recorded.
struct RecordedFrame
{
    recording::FrameRecord record;
    std::span<const uint8_t> bytes; ///< valid until the buffer is queued again
};

/// Asks for all that is known of a frame. The frame's time is that of its time stamp, else 0.
/// @param ticksPerSecond of the device's time stamps; 0 if unknown
/// @throws std::runtime_error the frame is not in the memory of its buffer
RecordedFrame DescribeFrame(GenTL::internal::IGenTLProxy &calls, GenTL::DS_HANDLE stream,
                            GenTL::BUFFER_HANDLE buffer, uint64_t ticksPerSecond);

} // namespace gentlctl
