#pragma once

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/stream.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace gentlctl
{

/// An opened device that streams, from construction to destruction.
class StreamConnection
{
public:
    /// @param device as for Producer::Choose
    /// @param prepare sets the opened device up
    /// @throws std::exception the device cannot be opened, set up or started
    StreamConnection(Producer &producer, const std::string &device, size_t buffers,
                     const std::function<void(OpenDevice &device)> &prepare);

    const DeviceEntry &Entry() const { return m_device.Entry(); }

    /// The next frame; null when none came in time.
    /// @throws std::exception the device was lost, or the wait was ended
    void *Next(uint64_t timeoutMs) { return m_stream->TryNextBuffer(timeoutMs); }

    /// Makes the wait for the next frame fail. Any thread may call.
    void EndWait() { m_stream->EndWait(); }

    void QueueAgain(void *buffer) { m_stream->QueueAgain(buffer); }
    uint64_t LostFrames() const { return m_stream->LostFrames(); }
    /// The answer about a buffer; none when the producer does not tell.
    std::optional<uint64_t> BufferNumber(void *buffer, GenTL::BUFFER_INFO_CMD command) const;

private:
    GenTL::internal::IGenTLProxy &m_calls;
    OpenDevice m_device;
    void *m_handle = nullptr; ///< of the stream
    std::optional<Features> m_remote;
    std::unique_ptr<RunningStream> m_stream;
};

} // namespace gentlctl
