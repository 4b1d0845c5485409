#pragma once

#include "consumer/features.h"
#include "port/i_gentl_proxy.h"

#include <gentl/gentl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace gentlctl
{

/// The bytes of a buffer for a frame: what the stream defines, else the device's PayloadSize.
/// @throws std::runtime_error neither is known
size_t PayloadSizeOf(GenTL::internal::IGenTLProxy &calls, GenTL::DS_HANDLE stream, const Features &remote);

/// Sets TLParamsLocked, where the device has it.
/// @throws std::runtime_error it cannot be set
void LockParameters(const Features &remote, bool isLocked);

/// A stream with buffers, which runs from construction to destruction.
///
/// Only one thread at a time may call; any thread may call EndWait.
class RunningStream
{
public:
    /// How many buffers to announce, each of this many bytes.
    using BufferCount = std::function<size_t(size_t bytes)>;

    /// Announces and queues the buffers, and starts stream and device.
    /// @param remote features of the device
    /// @throws GenTLException the stream cannot be started
    RunningStream(GenTL::internal::IGenTLProxy &calls, GenTL::DS_HANDLE stream, const Features &remote,
                  const BufferCount &count);
    RunningStream(const RunningStream &) = delete;
    RunningStream &operator=(const RunningStream &) = delete;
    ~RunningStream() { Stop(); }

    /// Waits for the next frame.
    /// @throws std::runtime_error no frame came in time
    /// @throws GenTLException the wait was ended, or failed
    GenTL::BUFFER_HANDLE NextBuffer(uint64_t timeoutMs);

    /// Waits for the next frame; null when none came in time.
    /// @throws GenTLException the wait was ended, or failed
    GenTL::BUFFER_HANDLE TryNextBuffer(uint64_t timeoutMs);

    using Clock = std::chrono::steady_clock;

    /// Waits for the next frame; null when the end comes first, if there is one.
    /// @throws std::runtime_error no frame came in time
    /// @throws GenTLException the wait was ended, or failed
    GenTL::BUFFER_HANDLE NextBufferBefore(const std::optional<Clock::time_point> &end, uint64_t timeoutMs);

    /// Makes a wait for the next frame fail.
    void EndWait();

    void QueueAgain(GenTL::BUFFER_HANDLE buffer) { m_calls.DSQueueBuffer(m_stream, buffer); }

    size_t Buffers() const { return m_buffers.size(); }

    /// Frames that were lost because no buffer was free.
    uint64_t LostFrames() const;

    /// Stops the device, but not the stream: frames on their way still arrive.
    void StopDevice();

private:
    void Start(const BufferCount &count);
    void Stop();

    GenTL::internal::IGenTLProxy &m_calls;
    GenTL::DS_HANDLE m_stream;
    const Features &m_remote;
    GenTL::EVENT_HANDLE m_event = nullptr;
    std::vector<GenTL::BUFFER_HANDLE> m_buffers;
};

} // namespace gentlctl
