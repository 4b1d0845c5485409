#pragma once

#include "consumer/device.h"
#include "consumer/event_listener.h"
#include "consumer/features.h"
#include "consumer/stream.h"

#include <functional>
#include <memory>
#include <mutex>
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

    /// The next frame; none when none came in time.
    /// @throws std::exception the device was lost, or the wait was ended
    std::optional<void *> Next(uint64_t timeoutMs);

    /// Makes the wait for the next frame fail. Any thread may call.
    void EndWait() { m_stream->EndWait(); }

    void QueueAgain(void *buffer) { m_stream->QueueAgain(buffer); }
    uint64_t LostFrames() const { return m_stream->LostFrames(); }
    /// The answer about a buffer; none when the producer does not tell.
    std::optional<uint64_t> BufferNumber(void *buffer, GenTL::BUFFER_INFO_CMD command) const;

    /// @throws std::exception the device does not answer
    void RequireAnswer() const;

private:
    void ListenToErrors();
    std::string Loss();

    GenTL::internal::IGenTLProxy &m_calls;
    OpenDevice m_device;
    void *m_handle = nullptr; ///< of the stream
    std::optional<Features> m_remote;
    std::unique_ptr<RunningStream> m_stream;
    std::mutex m_mutex;
    std::string m_loss; ///< what EVENT_ERROR told; guarded by the mutex
    std::unique_ptr<EventListener> m_errors;
};

} // namespace gentlctl
