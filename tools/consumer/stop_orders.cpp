#include "consumer/stop_orders.h"

#include "consumer/stream.h"
#include "consumer/text.h"
#include "utils/gentl_exception.h"

#include <chrono>

namespace gentlctl
{

using namespace GenTL;
using enum StreamStep;

namespace
{

constexpr size_t steppedBuffers = 5;

constexpr StreamStep killStart[] = {Register, Announce, Queue, Lock, StartStream, StartDevice};
constexpr StreamStep killStop[] = {StopDevice, Unlock,         KillStream, DiscardAll,
                                   FlushEvent, RevokeByHandle, FlushEvent, Unregister};
constexpr StreamStep threadStart[] = {Announce, StartStream, Register, Queue, StartDevice};
constexpr StreamStep threadStop[] = {WaitInThread, StopDevice, StopStream,    KillEvent,
                                     Unregister,   DiscardAll, RevokeByHandle};
constexpr StreamStep indexStart[] = {Lock, Announce, Queue, Register, StartStream, StartDevice};
constexpr StreamStep indexStop[] = {StopDevice, StopStream, Unregister, DiscardAll, RevokeByIndex, Unlock};
constexpr StreamStep bareStart[] = {Announce, Queue, AllToInput, Register, StartStream, StartDevice};
constexpr StreamStep bareStop[] = {StopDevice, StopStream, InputToOutput, DiscardOutput};

constexpr StopOrder orders[] = {{"kill, flush, revoke", killStart, killStop},
                                {"end a waiting thread, flush, revoke", threadStart, threadStop},
                                {"unregister, flush, revoke by index", indexStart, indexStop},
                                {"close with all buffers", bareStart, bareStop}};

} // namespace

std::span<const StopOrder> StopOrders()
{
    return orders;
}

SteppedStream::SteppedStream(Producer &producer, OpenDevice &device, const Features &remote)
    : m_calls(producer.Calls()), m_remote(remote)
{
    const auto id = ReadText([&](char *text, size_t *size)
                             { m_calls.DevGetDataStreamID(device.DeviceHandle(), 0, text, size); });
    m_calls.DevOpenDataStream(device.DeviceHandle(), id.c_str(), &m_stream);
    m_handle = Handle(m_stream, [this](void *handle) { m_calls.DSClose(handle); });
}

SteppedStream::~SteppedStream()
{
    if (m_waiting.valid())
    {
        internal::CloseQuietly([this] { EndWait(); });
    }
}

void SteppedStream::Take(StreamStep step)
{
    switch (step)
    {
    case Lock:
        return SetIfThere("TLParamsLocked", "1");
    case Unlock:
        return SetIfThere("TLParamsLocked", "0");
    case StartDevice:
        return m_remote.Execute("AcquisitionStart");
    case StopDevice:
        return m_remote.Execute("AcquisitionStop");
    case StartStream:
        m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
        return;
    case StopStream:
        m_calls.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT);
        return;
    case KillStream:
        m_calls.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_KILL);
        return;
    case Register:
        m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event);
        return;
    case Unregister:
        m_calls.GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER);
        return;
    case WaitInThread:
        m_waiting = std::async(std::launch::async, [this] { Wait(); });
        return;
    case KillEvent:
        return EndWait();
    case FlushEvent:
        m_calls.EventFlush(m_event);
        return;
    default:
        return TakeBufferStep(step);
    }
}

void SteppedStream::TakeBufferStep(StreamStep step)
{
    switch (step)
    {
    case AllToInput:
        return Flush(ACQ_QUEUE_ALL_TO_INPUT);
    case DiscardAll:
        return Flush(ACQ_QUEUE_ALL_DISCARD);
    case InputToOutput:
        return Flush(ACQ_QUEUE_INPUT_TO_OUTPUT);
    case DiscardOutput:
        return Flush(ACQ_QUEUE_OUTPUT_DISCARD);
    case Announce:
        return AnnounceAll();
    case RevokeByIndex:
        return RevokeFirstOnes();
    default:
        for (auto *const buffer : m_buffers)
        {
            step == Queue ? m_calls.DSQueueBuffer(m_stream, buffer)
                          : m_calls.DSRevokeBuffer(m_stream, buffer, nullptr, nullptr);
        }
    }
}

void SteppedStream::TakeFrame(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    m_calls.EventGetData(m_event, &data, &size, timeoutMs);
    m_calls.DSQueueBuffer(m_stream, data.BufferHandle);
}

void SteppedStream::Flush(ACQ_QUEUE_TYPE operation)
{
    m_calls.DSFlushQueue(m_stream, operation);
}

void SteppedStream::AnnounceAll()
{
    const auto size = PayloadSizeOf(m_calls, m_stream, m_remote);
    while (m_buffers.size() < steppedBuffers)
    {
        m_calls.DSAllocAndAnnounceBuffer(m_stream, size, nullptr, &m_buffers.emplace_back());
    }
}

void SteppedStream::Wait()
{
    GC_ERROR code = GC_ERR_SUCCESS;
    while (code == GC_ERR_SUCCESS)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        code = m_calls.TryEventGetData(m_event, &data, &size, GENTL_INFINITE);
    }
}

void SteppedStream::EndWait()
{
    // A kill just before the wait begins may have no effect, so one is not enough.
    constexpr std::chrono::milliseconds again(20);
    do
    {
        m_calls.EventKill(m_event);
    } while (m_waiting.wait_for(again) != std::future_status::ready);
    m_waiting.get();
}

void SteppedStream::RevokeFirstOnes()
{
    // No more often than there are buffers: a revoke without effect would never end.
    for (size_t i = 0; i < m_buffers.size(); ++i)
    {
        BUFFER_HANDLE first = nullptr;
        m_calls.DSGetBufferID(m_stream, 0, &first);
        m_calls.DSRevokeBuffer(m_stream, first, nullptr, nullptr);
    }
}

void SteppedStream::SetIfThere(const char *feature, const char *value)
{
    if (m_remote.Has(feature))
    {
        m_remote.Set(feature, value);
    }
}

} // namespace gentlctl
