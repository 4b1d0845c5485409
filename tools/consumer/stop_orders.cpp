#include "consumer/stop_orders.h"

#include "consumer/stream.h"
#include "consumer/text.h"
#include "port/proxy_module.h"
#include "utils/gentl_exception.h"

#include <chrono>
#include <utility>

namespace gentlctl
{

using namespace GenTL;
using internal::GenTLException;

namespace
{

using enum StreamStep;

constexpr StreamStep killStart[] = {Register, AnnounceOwn, Queue, Lock, StartStream, StartDevice};
constexpr StreamStep killStop[] = {StopDevice, Unlock,     KillStream, DiscardAll,
                                   FlushEvent, DiscardAll, RevokeEach, FlushEvent};
constexpr StreamStep killEnd[] = {Unregister};
constexpr StreamStep threadStart[] = {AnnounceOwn, StartStream, Register, Queue, StartDevice};
constexpr StreamStep threadStop[] = {WaitInThread, StopDevice, StopStream, KillEvent, Unregister, DiscardAll};
constexpr StreamStep threadEnd[] = {RevokeEach};
constexpr StreamStep indexStart[] = {Lock, Allocate, Queue, Register, StartStream, StartDevice};
constexpr StreamStep indexStop[] = {StopDevice, StopStream, Unregister, DiscardAll, RevokeByIndex, Unlock};
constexpr StreamStep bareStart[] = {OpenStream, Allocate,    Queue,      AllToInput,
                                    Register,   StartStream, StartDevice};
constexpr StreamStep bareStop[] = {StopDevice, StopStream, InputToOutput, DiscardOutput, CloseStream};

/// For a wait to end, once something is done to end it.
constexpr std::chrono::seconds longestEnd(3);

constexpr StopOrder orders[] = {
    {"Harvesters", "kill, flush, revoke", killStart, killStop, killEnd},
    {"Aravis", "end a waiting thread, flush, revoke", threadStart, threadStop, threadEnd},
    {"rc_genicam_api", "unregister, flush, revoke by index", indexStart, indexStop, {}, true},
    {"gentlsrc", "close with all buffers", bareStart, bareStop, {}},
};

} // namespace

std::span<const StopOrder> StopOrders()
{
    return orders;
}

const std::array<SteppedStream::Action, 23> SteppedStream::actions{{
    {"DevOpenDataStream", [](SteppedStream &s) { s.Open(); }},
    {"DSAnnounceBuffer", [](SteppedStream &s) { s.Announce(true); }},
    {"DSAllocAndAnnounceBuffer", [](SteppedStream &s) { s.Announce(false); }},
    {"DSQueueBuffer", [](SteppedStream &s) { s.Queue(); }},
    {"DSFlushQueue(ACQ_QUEUE_ALL_TO_INPUT)",
     [](SteppedStream &s) { s.m_calls.DSFlushQueue(s.Stream(), ACQ_QUEUE_ALL_TO_INPUT); }},
    {"GCRegisterEvent(EVENT_NEW_BUFFER)",
     [](SteppedStream &s)
     {
         if (s.m_event == nullptr)
         {
             s.m_calls.GCRegisterEvent(s.Stream(), EVENT_NEW_BUFFER, &s.m_event);
         }
     }},
    {"TLParamsLocked = 1", [](SteppedStream &s) { LockParameters(s.m_remote, true); }},
    {"DSStartAcquisition", [](SteppedStream &s)
     { s.m_calls.DSStartAcquisition(s.Stream(), ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE); }},
    {"AcquisitionStart", [](SteppedStream &s) { s.m_remote.Execute("AcquisitionStart"); }},
    {"EventGetData without limit", [](SteppedStream &s) { s.WaitInThread(); }},
    {"AcquisitionStop", [](SteppedStream &s) { s.m_remote.Execute("AcquisitionStop"); }},
    {"TLParamsLocked = 0", [](SteppedStream &s) { LockParameters(s.m_remote, false); }},
    {"DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT)",
     [](SteppedStream &s) { s.m_calls.DSStopAcquisition(s.Stream(), ACQ_STOP_FLAGS_DEFAULT); }},
    {"DSStopAcquisition(ACQ_STOP_FLAGS_KILL)",
     [](SteppedStream &s) { s.m_calls.DSStopAcquisition(s.Stream(), ACQ_STOP_FLAGS_KILL); }},
    {"EventKill", [](SteppedStream &s) { s.EndWait(); }},
    {"EventFlush", [](SteppedStream &s) { s.m_calls.EventFlush(s.m_event); }},
    {"GCUnregisterEvent(EVENT_NEW_BUFFER)",
     [](SteppedStream &s)
     {
         s.m_event = nullptr;
         s.m_calls.GCUnregisterEvent(s.Stream(), EVENT_NEW_BUFFER);
     }},
    {"DSFlushQueue(ACQ_QUEUE_ALL_DISCARD)",
     [](SteppedStream &s) { s.m_calls.DSFlushQueue(s.Stream(), ACQ_QUEUE_ALL_DISCARD); }},
    {"DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT)",
     [](SteppedStream &s) { s.m_calls.DSFlushQueue(s.Stream(), ACQ_QUEUE_INPUT_TO_OUTPUT); }},
    {"DSFlushQueue(ACQ_QUEUE_OUTPUT_DISCARD)",
     [](SteppedStream &s) { s.m_calls.DSFlushQueue(s.Stream(), ACQ_QUEUE_OUTPUT_DISCARD); }},
    {"DSRevokeBuffer", [](SteppedStream &s) { s.RevokeEach(); }},
    {"DSRevokeBuffer of the first by DSGetBufferID", [](SteppedStream &s) { s.RevokeByIndex(); }},
    {"DSClose", [](SteppedStream &s) { s.Close(); }},
}};

SteppedStream::SteppedStream(internal::IGenTLProxy &calls, DEV_HANDLE device, const Features &remote,
                             size_t buffers)
    : m_calls(calls), m_device(device), m_remote(remote), m_count(buffers)
{
    Open();
}

SteppedStream::~SteppedStream()
{
    if (m_waiter.joinable())
    {
        internal::CloseQuietly([this] { EndWait(); });
    }
    if (m_waiter.joinable())
    {
        m_stream = {}; // ends the wait where EventKill does not
        m_waiting.wait_for(longestEnd) == std::future_status::ready ? m_waiter.join() : m_waiter.detach();
    }
}

std::string_view SteppedStream::NameOf(StreamStep step)
{
    return actions.at(static_cast<size_t>(step)).name;
}

void SteppedStream::Take(StreamStep step)
{
    actions.at(static_cast<size_t>(step)).take(*this);
}

void SteppedStream::TakeFrame(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    m_calls.EventGetData(m_event, &data, &size, timeoutMs);
    m_calls.DSQueueBuffer(Stream(), data.BufferHandle);
}

void SteppedStream::Open()
{
    if (m_stream.Get() != nullptr)
    {
        return;
    }
    const auto id =
        ReadText([&](char *text, size_t *size) { m_calls.DevGetDataStreamID(m_device, 0, text, size); });
    DS_HANDLE stream = nullptr;
    m_calls.DevOpenDataStream(m_device, id.c_str(), &stream);
    m_stream = Handle(stream, [this](void *handle) { m_calls.DSClose(handle); });
    m_size = PayloadSizeOf(m_calls, stream, m_remote);
}

void SteppedStream::Close()
{
    m_event = nullptr;
    m_buffers.clear();
    m_calls.DSClose(Stream());
    m_stream.Release();
}

void SteppedStream::Announce(bool isOwn)
{
    if (m_buffers.empty() && isOwn)
    {
        m_memory.assign(m_count, std::vector<uint8_t>(m_size));
    }
    while (m_buffers.size() < m_count)
    {
        BUFFER_HANDLE buffer = nullptr;
        isOwn ? m_calls.DSAnnounceBuffer(Stream(), m_memory[m_buffers.size()].data(), m_size, this, &buffer)
              : m_calls.DSAllocAndAnnounceBuffer(Stream(), m_size, this, &buffer);
        m_buffers.push_back(buffer);
    }
}

void SteppedStream::Queue()
{
    for (auto *const buffer : m_buffers)
    {
        m_calls.DSQueueBuffer(Stream(), buffer);
    }
}

void SteppedStream::WaitInThread()
{
    std::packaged_task<GC_ERROR()> wait(
        [&calls = m_calls, event = m_event]
        {
            GC_ERROR code = GC_ERR_SUCCESS;
            while (code == GC_ERR_SUCCESS)
            {
                EVENT_NEW_BUFFER_DATA data{};
                size_t size = sizeof data;
                code = calls.TryEventGetData(event, &data, &size, GENTL_INFINITE);
            }
            return code;
        });
    m_waiting = wait.get_future();
    m_waiter = std::thread(std::move(wait));
}

void SteppedStream::EndWait()
{
    // A kill just before the wait begins may have no effect, so one is not enough.
    constexpr std::chrono::milliseconds again(20);
    const auto end = std::chrono::steady_clock::now() + longestEnd;
    do
    {
        if (std::chrono::steady_clock::now() > end)
        {
            throw GenTLException("EventKill does not end the wait for a frame", GC_ERR_TIMEOUT);
        }
        m_calls.EventKill(m_event);
    } while (m_waiting.wait_for(again) != std::future_status::ready);
    m_waiter.join();
    if (const auto code = m_waiting.get(); code != GC_ERR_ABORT)
    {
        throw GenTLException("The wait for a frame did not end with GC_ERR_ABORT", code);
    }
}

void SteppedStream::RevokeEach()
{
    for (auto *const buffer : std::exchange(m_buffers, {}))
    {
        m_calls.DSRevokeBuffer(Stream(), buffer, nullptr, nullptr);
    }
}

void SteppedStream::RevokeByIndex()
{
    BUFFER_HANDLE first = nullptr;
    // No more often than there are buffers: a revoke without effect would never end.
    for (size_t left = std::exchange(m_buffers, {}).size(); left != 0; --left)
    {
        m_calls.DSGetBufferID(Stream(), 0, &first);
        m_calls.DSRevokeBuffer(Stream(), first, nullptr, nullptr);
    }
    if (m_calls.TryDSGetBufferID(Stream(), 0, &first) == GC_ERR_SUCCESS)
    {
        throw GenTLException("A buffer is left when all are revoked", GC_ERR_BUSY);
    }
}

} // namespace gentlctl
