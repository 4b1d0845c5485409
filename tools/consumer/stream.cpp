#include "consumer/stream.h"

#include "consumer/device.h"
#include "consumer/info_answers.h"
#include "consumer/producer.h"
#include "port/proxy_module.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::CloseQuietly;
using GenTL::internal::utils::MutexLock;

namespace
{

/// Read to ask whether a device is there.
constexpr auto askedFeature = "PayloadSize";

InfoQuery StreamQuery(internal::IGenTLProxy &calls, DS_HANDLE stream, STREAM_INFO_CMD command)
{
    return [&calls, stream, command](INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.DSGetInfo(stream, command, type, buffer, size); };
}

} // namespace

RunningStream::RunningStream(Producer &producer, OpenDevice &device, const Features &remote,
                             const BufferCount &count)
    : m_calls(producer.Calls()), m_device(device.Entry().id), m_stream(device.Stream()), m_remote(remote)
{
    try
    {
        ListenToErrors(device.DeviceHandle());
        Start(count);
    }
    catch (...)
    {
        Stop();
        RequireAnswer();
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
    constexpr uint64_t longestWait = 250; // ms until a silent device is asked
    for (uint64_t left = timeoutMs;;)
    {
        if (!LastError().empty())
        {
            RequireAnswer();
        }
        const auto wait = std::min(left, longestWait);
        if (auto *const buffer = WaitOnce(wait))
        {
            return buffer;
        }
        left -= left == GENTL_INFINITE ? 0 : wait;
        if (timeoutMs != 0)
        {
            RequireAnswer();
        }
        if (left == 0)
        {
            return nullptr;
        }
    }
}

/// Null when no frame came in time.
BUFFER_HANDLE RunningStream::WaitOnce(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    const auto code = m_calls.TryEventGetData(m_event, &data, &size, timeoutMs);
    if (code == GC_ERR_SUCCESS)
    {
        return data.BufferHandle;
    }
    if (code != GC_ERR_TIMEOUT)
    {
        RequireAnswer();
        throw internal::GenTLException("The wait for a frame failed", code);
    }
    return nullptr;
}

void RunningStream::QueueAgain(BUFFER_HANDLE buffer)
{
    try
    {
        m_calls.DSQueueBuffer(m_stream, buffer);
    }
    catch (const internal::GenTLException &)
    {
        // The device is not asked, because any thread may call.
        if (const auto error = LastError(); !error.empty())
        {
            throw DeviceLost(m_device, error);
        }
        throw;
    }
}

void RunningStream::ListenToErrors(DEV_HANDLE device)
{
    const auto take = [this](const FiredEvent &event)
    {
        const MutexLock lock(m_mutex);
        m_error = fmt::format("it reports an error: {} ({})", event.text,
                              static_cast<int64_t>(event.number.value_or(0)));
    };
    // Without the event, or where another part of the program takes it, the device is asked.
    CloseQuietly(
        [&]
        {
            m_errors = std::make_unique<EventListener>(m_calls, device, EVENT_ERROR, take,
                                                       [](const std::string &) {});
        });
    CloseQuietly(
        [this]
        {
            m_remote.GetInteger(askedFeature);
            m_answers = true;
        });
}

std::string RunningStream::LastError()
{
    const MutexLock lock(m_mutex);
    return m_error;
}

void RunningStream::ForgetError(const std::string &error)
{
    const MutexLock lock(m_mutex);
    if (m_error == error)
    {
        m_error.clear();
    }
}

void RunningStream::RequireAnswer()
{
    const auto error = LastError();
    if (!m_answers)
    {
        if (!error.empty())
        {
            throw DeviceLost(m_device, error);
        }
        return;
    }
    try
    {
        m_remote.GetInteger(askedFeature);
    }
    catch (const internal::GenTLException &failure)
    {
        const auto cause = LastError();
        throw DeviceLost(m_device,
                         cause.empty() ? fmt::format("{} ({})", failure.what(), failure.Code()) : cause);
    }
    ForgetError(error); // some producers report what the device lives through, as a packet that was lost
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
    if (auto *const event = m_event.load())
    {
        CloseQuietly([&] { m_calls.EventKill(event); });
    }
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
    return static_cast<size_t>(remote.GetInteger(askedFeature));
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
    EVENT_HANDLE event = nullptr;
    m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &event);
    m_event = event;
    LockParameters(m_remote, true);
    m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    m_remote.Execute("AcquisitionStart");
}

// Every step runs, even when an earlier one fails or Start never took the step that it undoes.
void RunningStream::Stop()
{
    m_errors.reset();
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
