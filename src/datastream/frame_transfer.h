#pragma once

#include "datastream/i_acquisition_worker.h"
#include "processing/i_frame_processor.h"

#include <cstdint>
#include <memory>

namespace GenTL::internal
{

class ProxyBuffer;

/// The function name in the log records of the acquisition loop.
inline constexpr auto acquisitionThreadFunction = "AcquisitionWorker::RunAcquisition";

/// Carries the frames of one acquisition from lower buffers into consumer buffers, and counts them.
///
/// Lives on the acquisition thread. Processor and callbacks must outlive it.
class FrameTransfer
{
public:
    /// @param numToAcquire GENTL_INFINITE = no limit
    FrameTransfer(IFrameProcessor &processor, const BufferSource &source, const BufferSink &sink,
                  uint64_t numToAcquire);

    /// Takes a free consumer buffer, writes the frame there and hands the buffer on, also after a failure.
    /// Without a free buffer, logs that and returns.
    /// @throws GenTLException of the lower producer's queries; whatever the processor throws
    void Transfer(const ProxyBuffer &lower);
    /// Whether the last frame that was asked for is done.
    bool IsComplete() const { return m_remaining == 0; }

private:
    void Fill(const ProxyBuffer &lower, Buffer &buffer);
    void Push(const std::shared_ptr<Buffer> &buffer) noexcept;

    IFrameProcessor &m_processor;
    const BufferSource &m_bufferSource;
    const BufferSink &m_bufferSink;
    uint64_t m_remaining;
    uint64_t m_nextFrameId = 1;
};

} // namespace GenTL::internal
