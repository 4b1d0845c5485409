#include "datastream/frame_transfer.h"

#include "datastream/buffer.h"
#include "datastream/lower_frame.h"
#include "datastream/proxy_buffer.h"
#include "utils/at_end.h"
#include "utils/log.h"

#include <span>
#include <utility>

namespace GenTL::internal
{

FrameTransfer::FrameTransfer(IFrameProcessor &processor, const BufferSource &source, const BufferSink &sink,
                             uint64_t numToAcquire)
    : m_processor(processor), m_bufferSource(source), m_bufferSink(sink), m_remaining(numToAcquire)
{
}

void FrameTransfer::Transfer(const ProxyBuffer &lower)
{
    const auto buffer = m_bufferSource();
    if (!buffer)
    {
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, "No buffer available");
        return;
    }
    const utils::AtEnd push([&] { Push(buffer); });
    if (buffer->GetSize() < lower.Size())
    {
        buffer->SetResult(false, 0, false);
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, "Acquired buffer size ({}) is larger than expected ({})",
                          lower.Size(), buffer->GetSize());
        return;
    }
    Fill(lower, *buffer);
}

void FrameTransfer::Fill(const ProxyBuffer &lower, Buffer &buffer)
{
    const auto frame = ReadLowerFrame(lower, m_nextFrameId);
    if (frame.isIncomplete)
    {
        buffer.SetResult(false, 0, true);
    }
    else
    {
        auto result = m_processor.Process(
            frame.input, std::span(static_cast<uint8_t *>(buffer.GetBase()), buffer.GetSize()));
        buffer.SetMetadata(result.attributes);
        buffer.SetParts(std::move(result.parts));
        // C-18: a frame without chunks leaves the chunks of an earlier frame in the buffer.
        if (result.chunks)
        {
            buffer.SetChunks(result.chunks->entries, result.chunks->payloadSize, result.chunks->layoutId);
        }
        buffer.SetResult(true, result.bytesWritten, true);
    }
    if (m_remaining != GENTL_INFINITE)
    {
        --m_remaining;
    }
}

// The sink refuses a buffer that a consumer pulled away while it was being filled. noexcept ends the process
// then, rather than hand out a frame that is being overwritten.
void FrameTransfer::Push(const std::shared_ptr<Buffer> &buffer) noexcept
{
    m_bufferSink(buffer);
}

} // namespace GenTL::internal
