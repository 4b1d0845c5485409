#include "consumer/stream.h"

#include "consumer/info_answers.h"
#include "port/proxy_module.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <optional>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::CloseQuietly;

namespace
{

InfoQuery StreamQuery(internal::IGenTLProxy &calls, DS_HANDLE stream, STREAM_INFO_CMD command)
{
    return [&calls, stream, command](INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.DSGetInfo(stream, command, type, buffer, size); };
}

} // namespace

RunningStream::RunningStream(internal::IGenTLProxy &calls, DS_HANDLE stream, const Features &remote,
                             const BufferCount &count)
    : m_calls(calls), m_stream(stream), m_remote(remote)
{
    try
    {
        Start(count);
    }
    catch (...)
    {
        Stop();
        throw;
    }
}

BUFFER_HANDLE RunningStream::NextBuffer(uint64_t timeoutMs)
{
    auto *const buffer = TryNextBuffer(timeoutMs);
    if (buffer == nullptr)
    {
        throw std::runtime_error(
            fmt::format("No frame within {} ms. Does the device wait for a trigger, or is its "
                        "AcquisitionFrameRate lower? --timeout waits longer",
                        timeoutMs));
    }
    return buffer;
}

BUFFER_HANDLE RunningStream::TryNextBuffer(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    try
    {
        m_calls.EventGetData(m_event, &data, &size, timeoutMs);
    }
    catch (const internal::GenTLException &exception)
    {
        if (exception.Code() != GC_ERR_TIMEOUT)
        {
            throw;
        }
        return nullptr;
    }
    return data.BufferHandle;
}

BUFFER_HANDLE RunningStream::NextBufferBefore(const std::optional<Clock::time_point> &end, uint64_t timeoutMs)
{
    using std::chrono::milliseconds;
    if (!end)
    {
        return NextBuffer(timeoutMs);
    }
    const auto left = std::chrono::ceil<milliseconds>(*end - Clock::now());
    if (left <= milliseconds::zero())
    {
        return nullptr;
    }
    const auto leftMs = static_cast<uint64_t>(left.count());
    return leftMs <= timeoutMs ? TryNextBuffer(leftMs) : NextBuffer(timeoutMs);
}

void RunningStream::EndWait()
{
    CloseQuietly([this] { m_calls.EventKill(m_event); });
}

uint64_t RunningStream::LostFrames() const
{
    return TryNumber(StreamQuery(m_calls, m_stream, STREAM_INFO_NUM_UNDERRUN)).value_or(0);
}

void RunningStream::StopDevice()
{
    CloseQuietly([this] { m_remote.Execute("AcquisitionStop"); });
}

size_t PayloadSizeOf(internal::IGenTLProxy &calls, DS_HANDLE stream, const Features &remote)
{
    const auto defines = TryAnswer(StreamQuery(calls, stream, STREAM_INFO_DEFINES_PAYLOADSIZE));
    if (defines && IsTrueAnswer(*defines))
    {
        if (const auto size = TryNumber(StreamQuery(calls, stream, STREAM_INFO_PAYLOAD_SIZE)))
        {
            return *size;
        }
    }
    return static_cast<size_t>(remote.GetInteger("PayloadSize"));
}

void LockParameters(const Features &remote, bool isLocked)
{
    constexpr auto lock = "TLParamsLocked";
    if (remote.Has(lock))
    {
        remote.Set(lock, isLocked ? "1" : "0");
    }
}

void RunningStream::Start(const BufferCount &count)
{
    const auto size = PayloadSizeOf(m_calls, m_stream, m_remote);
    const auto wanted = count(size);
    while (m_buffers.size() < wanted)
    {
        BUFFER_HANDLE buffer = nullptr;
        m_calls.DSAllocAndAnnounceBuffer(m_stream, size, nullptr, &buffer);
        m_buffers.push_back(buffer);
        m_calls.DSQueueBuffer(m_stream, buffer);
    }
    m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event);
    LockParameters(m_remote, true);
    m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    m_remote.Execute("AcquisitionStart");
}

// Every step runs, even when an earlier one fails or Start never took the step that it undoes.
void RunningStream::Stop()
{
    StopDevice();
    CloseQuietly([this] { m_calls.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_KILL); });
    CloseQuietly([this] { LockParameters(m_remote, false); });
    CloseQuietly([this] { m_calls.DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD); });
    if (m_event != nullptr)
    {
        CloseQuietly([this] { m_calls.GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER); });
    }
    for (auto *buffer : m_buffers)
    {
        CloseQuietly([this, buffer] { m_calls.DSRevokeBuffer(m_stream, buffer, nullptr, nullptr); });
    }
}

} // namespace gentlctl
