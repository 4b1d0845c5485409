#pragma once

#include "consumer/event_listener.h"
#include "consumer/features.h"
#include "port/i_gentl_proxy.h"
#include "utils/mutex.h"

#include <gentl/gentl.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{

class OpenDevice;
class Producer;

/// A device does not answer any more.
class DeviceLost : public std::runtime_error
{
public:
    /// @param device its id
    DeviceLost(const std::string &device, const std::string &reason)
        : std::runtime_error(device + " is lost: " + reason)
    {
    }
};

/// The bytes of a buffer for a frame: what the stream defines, else the device's PayloadSize.
/// @throws std::runtime_error neither is known
size_t PayloadSizeOf(GenTL::internal::IGenTLProxy &calls, GenTL::DS_HANDLE stream, const Features &remote);

/// Sets TLParamsLocked, where the device has it.
/// @throws std::runtime_error it cannot be set
void LockParameters(const Features &remote, bool isLocked);

/// A stream with buffers, which runs from construction to destruction.
///
/// The device counts as lost when its registers cannot be read although it fired EVENT_ERROR, a call failed,
/// or no frame came for a moment; a device whose registers could not be read before, when it fires
/// EVENT_ERROR.
///
/// Only one thread at a time may call; any thread may call EndWait and QueueAgain.
class RunningStream
{
public:
    /// How many buffers to announce, each of this many bytes.
    using BufferCount = std::function<size_t(size_t bytes)>;

    /// Announces and queues the buffers, and starts stream and device.
    /// @param device its first stream is started; outlives this object
    /// @param remote features of the device; outlives this object
    /// @throws DeviceLost, GenTLException the stream cannot be started
    RunningStream(Producer &producer, OpenDevice &device, const Features &remote, const BufferCount &count);
    RunningStream(const RunningStream &) = delete;
    RunningStream &operator=(const RunningStream &) = delete;
    ~RunningStream() { Stop(); }

    /// Waits for the next frame.
    /// @throws std::runtime_error no frame came in time
    /// @throws DeviceLost, GenTLException as TryNextBuffer
    GenTL::BUFFER_HANDLE NextBuffer(uint64_t timeoutMs);

    /// Waits for the next frame; null when none came in time.
    /// @throws DeviceLost the device was lost before or during the wait
    /// @throws GenTLException the wait was ended, or failed
    GenTL::BUFFER_HANDLE TryNextBuffer(uint64_t timeoutMs);

    using Clock = std::chrono::steady_clock;

    /// Waits for the next frame; null when the end comes first, if there is one.
    /// @throws std::runtime_error no frame came in time
    /// @throws GenTLException the wait was ended, or failed
    GenTL::BUFFER_HANDLE NextBufferBefore(const std::optional<Clock::time_point> &end, uint64_t timeoutMs);

    /// Makes a wait for the next frame fail.
    void EndWait();

    /// @throws DeviceLost, GenTLException the stream does not take the buffer
    void QueueAgain(GenTL::BUFFER_HANDLE buffer);

    size_t Buffers() const { return m_buffers.size(); }

    /// Frames that were lost because no buffer was free.
    uint64_t LostFrames() const;

    /// Stops the device, but not the stream: frames on their way still arrive.
    void StopDevice();

private:
    void Start(const BufferCount &count);
    void Stop();
    void ListenToErrors(GenTL::DEV_HANDLE device);
    GenTL::BUFFER_HANDLE WaitOnce(uint64_t timeoutMs);
    /// Empty: none since the device answered last.
    std::string LastError() QVR_EXCLUDES(m_mutex);
    /// @throws DeviceLost
    void RequireAnswer() QVR_EXCLUDES(m_mutex);
    void ForgetError(const std::string &error) QVR_EXCLUDES(m_mutex);

    GenTL::internal::IGenTLProxy &m_calls;
    const std::string m_device; ///< its id
    const GenTL::DS_HANDLE m_stream;
    const Features &m_remote;
    bool m_answers = false; ///< the register that is read to ask the device can be read
    std::atomic<GenTL::EVENT_HANDLE> m_event = nullptr; ///< of the frames
    std::vector<GenTL::BUFFER_HANDLE> m_buffers;
    GenTL::internal::utils::Mutex m_mutex;
    std::string m_error QVR_GUARDED_BY(m_mutex); ///< what EVENT_ERROR said
    std::unique_ptr<EventListener> m_errors;     ///< its thread uses what stands above
};

} // namespace gentlctl
