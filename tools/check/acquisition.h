#pragma once

#include "check/check.h"

#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

namespace gentlctl
{

/// What a consumer does on the way to frames and back.
enum class Step : uint8_t
{
    AnnounceOwn,   ///< memory of the consumer; nothing when buffers are announced
    Allocate,      ///< memory of the producer; nothing when buffers are announced
    Queue,         ///< all buffers
    AllToInput,    ///< DSFlushQueue
    Register,      ///< EVENT_NEW_BUFFER
    Lock,          ///< TLParamsLocked = 1
    StartStream,   ///< without limit
    StartDevice,   ///< AcquisitionStart
    WaitInThread,  ///< EventGetData without limit, in a thread of its own
    StopDevice,    ///< AcquisitionStop
    Unlock,        ///< TLParamsLocked = 0
    StopStream,    ///< ACQ_STOP_FLAGS_DEFAULT
    KillStream,    ///< ACQ_STOP_FLAGS_KILL
    KillEvent,     ///< and wait for the thread, whose wait must end with GC_ERR_ABORT
    FlushEvent,    ///< EventFlush
    Unregister,    ///< EVENT_NEW_BUFFER
    DiscardAll,    ///< DSFlushQueue
    InputToOutput, ///< DSFlushQueue
    DiscardOutput, ///< DSFlushQueue
    RevokeEach,    ///< by the handles
    RevokeByIndex, ///< the first one until there is none
    CloseStream,   ///< with all that is left on it
};

/// An acquisition step by step, of a device that it opens anew. The destructor stops it and closes the
/// device.
class Acquisition
{
public:
    /// @param buffers to announce
    Acquisition(Bench &bench, size_t buffers);
    Acquisition(const Acquisition &) = delete;
    Acquisition &operator=(const Acquisition &) = delete;
    ~Acquisition();

    /// Takes a step.
    /// @throws NotReached the camera's description is of no use
    GenTL::GC_ERROR Take(Step step);

    /// Waits for a frame.
    std::optional<GenTL::EVENT_NEW_BUFFER_DATA> NextFrame();

    GenTL::DS_HANDLE Stream() { return m_bench.session.Stream(); }
    GenTL::EVENT_HANDLE Event() const { return m_event; }
    const std::vector<std::vector<uint8_t>> &OwnMemory() const { return m_memory; }

    /// The bytes of a buffer: what the stream defines, else the camera's PayloadSize.
    size_t PayloadSize();

private:
    GenTL::GC_ERROR TakeBufferStep(Step step);
    GenTL::GC_ERROR TakeEventStep(Step step);
    GenTL::GC_ERROR Announce(bool isOwn);
    GenTL::GC_ERROR Revoke(bool isByIndex);
    GenTL::GC_ERROR SetFeature(const char *name, const char *value);

    Bench &m_bench;
    size_t m_count;
    std::vector<GenTL::BUFFER_HANDLE> m_buffers;
    std::vector<std::vector<uint8_t>> m_memory;
    GenTL::EVENT_HANDLE m_event = nullptr;
    std::thread m_waiting;
    GenTL::GC_ERROR m_endOfWait = GenTL::GC_ERR_SUCCESS; ///< of WaitInThread
};

/// How a step is written in a report.
std::string NameOf(Step step);

} // namespace gentlctl
