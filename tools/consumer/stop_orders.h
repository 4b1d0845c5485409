#pragma once

#include "consumer/device.h"
#include "consumer/features.h"

#include <gentl/gentl.h>

#include <cstdint>
#include <future>
#include <span>
#include <string_view>
#include <vector>

namespace gentlctl
{

/// What a consumer does on the way to frames and back.
enum class StreamStep : uint8_t
{
    Announce,       ///< memory of the producer
    Queue,          ///< all buffers
    AllToInput,     ///< DSFlushQueue
    Register,       ///< EVENT_NEW_BUFFER
    Lock,           ///< TLParamsLocked = 1, where the device has it
    StartStream,    ///< without limit
    StartDevice,    ///< AcquisitionStart
    WaitInThread,   ///< EventGetData without limit, in a thread of its own
    StopDevice,     ///< AcquisitionStop
    Unlock,         ///< TLParamsLocked = 0, where the device has it
    StopStream,     ///< ACQ_STOP_FLAGS_DEFAULT
    KillStream,     ///< ACQ_STOP_FLAGS_KILL
    KillEvent,      ///< and wait for the end of the thread
    FlushEvent,     ///< EventFlush
    Unregister,     ///< EVENT_NEW_BUFFER
    DiscardAll,     ///< DSFlushQueue
    InputToOutput,  ///< DSFlushQueue
    DiscardOutput,  ///< DSFlushQueue
    RevokeByHandle, ///< each buffer
    RevokeByIndex,  ///< the first buffer until there is none
};

/// The order in which a kind of consumer in the field starts and stops.
struct StopOrder
{
    std::string_view name;
    std::span<const StreamStep> start;
    std::span<const StreamStep> stop;
};

/// Four orders that differ.
std::span<const StopOrder> StopOrders();

/// A stream of a device that is taken step by step. The constructor opens it, and the destructor closes it
/// with all that is left on it. For one thread.
class SteppedStream
{
public:
    /// @param remote features of the device
    /// @throws GenTLException the stream cannot be opened
    SteppedStream(Producer &producer, OpenDevice &device, const Features &remote);
    SteppedStream(const SteppedStream &) = delete;
    SteppedStream &operator=(const SteppedStream &) = delete;
    ~SteppedStream();

    /// @throws GenTLException the call fails
    void Take(StreamStep step);

    /// Waits for a frame and gives its buffer back.
    /// @throws GenTLException none came in time, or a call fails
    void TakeFrame(uint64_t timeoutMs);

private:
    void TakeBufferStep(StreamStep step);
    void Flush(GenTL::ACQ_QUEUE_TYPE operation);
    void AnnounceAll();
    void Wait();
    void EndWait();
    void RevokeFirstOnes();
    void SetIfThere(const char *feature, const char *value);

    GenTL::internal::IGenTLProxy &m_calls;
    const Features &m_remote;
    Handle m_handle;
    GenTL::DS_HANDLE m_stream = nullptr;
    GenTL::EVENT_HANDLE m_event = nullptr;
    std::vector<GenTL::BUFFER_HANDLE> m_buffers;
    std::future<void> m_waiting; ///< valid while a thread waits
};

} // namespace gentlctl
