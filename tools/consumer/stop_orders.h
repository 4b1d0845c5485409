#pragma once

#include "consumer/features.h"
#include "consumer/handle.h"
#include "port/i_gentl_proxy.h"

#include <gentl/gentl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <future>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

namespace gentlctl
{

/// What a consumer does on the way to frames and back.
enum class StreamStep : uint8_t
{
    OpenStream,    ///< nothing when it is open
    AnnounceOwn,   ///< memory of the consumer; nothing when buffers are announced
    Allocate,      ///< memory of the producer; nothing when buffers are announced
    Queue,         ///< all buffers
    AllToInput,    ///< DSFlushQueue
    Register,      ///< EVENT_NEW_BUFFER; nothing when it is registered
    Lock,          ///< TLParamsLocked = 1, where the device has it
    StartStream,   ///< without limit
    StartDevice,   ///< AcquisitionStart
    WaitInThread,  ///< EventGetData without limit, in a thread of its own
    StopDevice,    ///< AcquisitionStop
    Unlock,        ///< TLParamsLocked = 0, where the device has it
    StopStream,    ///< ACQ_STOP_FLAGS_DEFAULT
    KillStream,    ///< ACQ_STOP_FLAGS_KILL
    KillEvent,     ///< and wait for the thread, whose wait must end with GC_ERR_ABORT
    FlushEvent,    ///< EventFlush
    Unregister,    ///< EVENT_NEW_BUFFER
    DiscardAll,    ///< DSFlushQueue
    InputToOutput, ///< DSFlushQueue
    DiscardOutput, ///< DSFlushQueue
    RevokeEach,    ///< by the handles
    RevokeByIndex, ///< the first one as often as there are buffers, which must be all
    CloseStream,   ///< with all that is left on it
};

/// How a consumer in the field starts and stops.
struct StopOrder
{
    std::string_view consumer;
    std::string_view name;
    std::span<const StreamStep> start; ///< for each acquisition
    std::span<const StreamStep> stop;  ///< for each acquisition
    std::span<const StreamStep> end;   ///< once, after the last stop
    bool closesDeviceFirst = false;    ///< the device before its stream
};

/// As many buffers as most of them announce.
inline constexpr size_t buffersOfConsumers = 5;

/// The orders of four consumers.
std::span<const StopOrder> StopOrders();

/// A stream of a device that is taken step by step. The constructor opens it, and the destructor closes it
/// with all that is left on it. A thread whose wait for a frame nothing ends stays behind in the producer.
/// For one thread.
class SteppedStream
{
public:
    /// @param device outlives the stream, but may be closed before it
    /// @param remote features of the device
    /// @param buffers to announce
    /// @throws std::runtime_error the stream cannot be opened, or tells no size of its frames
    SteppedStream(GenTL::internal::IGenTLProxy &calls, GenTL::DEV_HANDLE device, const Features &remote,
                  size_t buffers);
    SteppedStream(const SteppedStream &) = delete;
    SteppedStream &operator=(const SteppedStream &) = delete;
    ~SteppedStream();

    /// How a step is written in reports.
    static std::string_view NameOf(StreamStep step);

    /// @throws GenTLException the call fails
    /// @throws std::runtime_error the description of the device is of no use
    void Take(StreamStep step);

    /// Waits for a frame and gives its buffer back.
    /// @throws GenTLException none came in time, or a call fails
    void TakeFrame(uint64_t timeoutMs);

    GenTL::DS_HANDLE Stream() const { return m_stream.Get(); }
    GenTL::EVENT_HANDLE Event() const { return m_event; }
    /// What AnnounceOwn announces.
    const std::vector<std::vector<uint8_t>> &OwnMemory() const { return m_memory; }
    /// What is announced with each buffer, for the producer to give back with the frame.
    const void *UserPointer() const { return this; }

private:
    /// What a step is called, and what it does.
    struct Action
    {
        std::string_view name;
        void (*take)(SteppedStream &stream);
    };

    /// In the order of StreamStep.
    static const std::array<Action, 23> actions;

    void Open();
    void Close();
    void Announce(bool isOwn);
    void Queue();
    void WaitInThread();
    void EndWait();
    void RevokeEach();
    void RevokeByIndex();

    GenTL::internal::IGenTLProxy &m_calls;
    GenTL::DEV_HANDLE m_device;
    const Features &m_remote;
    size_t m_count;
    std::vector<std::vector<uint8_t>> m_memory; ///< outlives the stream, which may write to it
    Handle m_stream;
    size_t m_size = 0; ///< bytes of a buffer
    GenTL::EVENT_HANDLE m_event = nullptr;
    std::vector<GenTL::BUFFER_HANDLE> m_buffers;
    // The end of a future of std::async would wait for the thread, even for one that never ends.
    std::thread m_waiter; ///< joinable while a thread waits
    std::future<GenTL::GC_ERROR> m_waiting;
};

} // namespace gentlctl
