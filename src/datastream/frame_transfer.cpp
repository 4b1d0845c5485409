#include "datastream/frame_transfer.h"

#include "datastream/buffer.h"
#include "datastream/proxy_buffer.h"
#include "utils/at_end.h"
#include "utils/log.h"

#include <algorithm>
#include <span>
#include <utility>

namespace GenTL::internal
{

namespace
{

/// The number of different failures that are logged. A text may differ in each frame.
constexpr size_t mostLogged = 32;

FrameDescription DescriptionOf(ProcessingResult &&result)
{
    FrameDescription frame{.sizeFilled = result.bytesWritten,
                           // A frame is at least what was written of it.
                           .dataSize = std::max(result.dataSize, result.bytesWritten),
                           .isLargerThanBuffer = result.isLargerThanBuffer,
                           .metadata = std::move(result.attributes),
                           .parts = std::move(result.parts)};
    if (result.chunks)
    {
        frame.chunks = std::move(result.chunks->entries);
    }
    return frame;
}

} // namespace

FrameTransfer::FrameTransfer(IFrameReader &reader, IFrameProcessor &processor, const BufferSource &source,
                             const BufferSink &sink, uint64_t numToAcquire, const StreamRules &rules)
    : m_reader(reader), m_processor(processor), m_bufferSource(source), m_bufferSink(sink),
      m_remaining(numToAcquire), m_deliversWhatArrived(rules.deliversWhatArrived)
{
}

void FrameTransfer::Transfer(const ProxyBuffer &lower)
{
    m_deliversWhatArrived ? TransferAsArrived(lower) : TransferWhole(lower);
}

void FrameTransfer::TransferWhole(const ProxyBuffer &lower)
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
    const auto frame = m_reader.Read(lower);
    if (frame.isIncomplete)
    {
        buffer.SetResult(false, 0, true);
    }
    else
    {
        auto result = Process(frame.input, buffer);
        buffer.SetMetadata(result.attributes);
        buffer.SetParts(std::move(result.parts));
        // C-18: a frame without chunks leaves the chunks of an earlier frame in the buffer.
        if (result.chunks)
        {
            buffer.SetChunks(result.chunks->entries, result.chunks->payloadSize, result.chunks->layoutId);
        }
        buffer.SetResult(true, result.bytesWritten, true);
    }
    CountDown();
}

// All lower calls come before a buffer is taken, so a flush that waits for a fill never waits for the lower
// producer.
void FrameTransfer::TransferAsArrived(const ProxyBuffer &lower)
{
    auto frame = m_reader.Read(lower);
    const auto buffer = m_bufferSource();
    if (buffer)
    {
        const utils::AtEnd push([&] { Push(buffer); });
        FillAsArrived(std::move(frame), *buffer);
        CountDown();
    }
}

void FrameTransfer::FillAsArrived(LowerFrame &&frame, Buffer &buffer)
{
    if (frame.failure.empty())
    {
        try
        {
            auto result = Process(frame.input, buffer);
            const bool isComplete = !frame.isIncomplete && !result.isIncomplete;
            return buffer.SetFrame(isComplete, DescriptionOf(std::move(result)));
        }
        catch (const std::exception &exception)
        {
            frame.failure = exception.what();
        }
    }
    LogOnce(frame.failure);
    auto &attributes = frame.input.attributes;
    attributes.isImagePresent = false;
    attributes.hasChunks = false;
    buffer.SetFrame(false, {.metadata = std::move(attributes)});
}

ProcessingResult FrameTransfer::Process(const InputData &input, Buffer &buffer)
{
    return m_processor.Process(input, std::span(static_cast<uint8_t *>(buffer.GetBase()), buffer.GetSize()));
}

void FrameTransfer::CountDown()
{
    if (m_remaining != GENTL_INFINITE)
    {
        --m_remaining;
    }
}

void FrameTransfer::LogOnce(const std::string &failure)
{
    if (m_logged.size() < mostLogged && m_logged.insert(failure).second)
    {
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, std::string_view(failure));
    }
}

// The sink refuses a buffer that a consumer pulled away while it was being filled. noexcept ends the process
// then, rather than hand out a frame that is being overwritten.
void FrameTransfer::Push(const std::shared_ptr<Buffer> &buffer) noexcept
{
    m_bufferSink(buffer);
}

} // namespace GenTL::internal
