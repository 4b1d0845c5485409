#include "check/acquisition.h"

#include "check/answers.h"
#include "utils/gentl_exception.h"

#include <algorithm>
#include <array>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr uint64_t frameLimitMs = 5000;

/// In the order of Step.
constexpr std::array<const char *, 22> stepNames{
    "DSAnnounceBuffer",
    "DSAllocAndAnnounceBuffer",
    "DSQueueBuffer",
    "DSFlushQueue(ACQ_QUEUE_ALL_TO_INPUT)",
    "GCRegisterEvent(EVENT_NEW_BUFFER)",
    "TLParamsLocked = 1",
    "DSStartAcquisition",
    "AcquisitionStart",
    "EventGetData without limit",
    "AcquisitionStop",
    "TLParamsLocked = 0",
    "DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT)",
    "DSStopAcquisition(ACQ_STOP_FLAGS_KILL)",
    "EventKill",
    "EventFlush",
    "GCUnregisterEvent(EVENT_NEW_BUFFER)",
    "DSFlushQueue(ACQ_QUEUE_ALL_DISCARD)",
    "DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT)",
    "DSFlushQueue(ACQ_QUEUE_OUTPUT_DISCARD)",
    "DSRevokeBuffer",
    "DSRevokeBuffer of the first by DSGetBufferID",
    "DSClose",
};

} // namespace

std::string NameOf(Step step)
{
    return stepNames.at(static_cast<size_t>(step));
}

Acquisition::Acquisition(Bench &bench, size_t buffers) : m_bench(bench), m_count(buffers)
{
    bench.session.CloseDevice();
}

Acquisition::~Acquisition()
{
    if (m_waiting.joinable())
    {
        m_bench.calls.EventKill(m_event);
        m_waiting.join();
    }
    m_bench.session.CloseDevice();
}

std::optional<EVENT_NEW_BUFFER_DATA> Acquisition::NextFrame()
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    const auto code = m_bench.calls.EventGetData(m_event, &data, &size, frameLimitMs);
    return code == GC_ERR_SUCCESS ? std::optional(data) : std::nullopt;
}

size_t Acquisition::PayloadSize()
{
    auto *const stream = Stream();
    const auto info = [&](STREAM_INFO_CMD command)
    {
        return [this, stream, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { return m_bench.calls.DSGetInfo(stream, command, type, buffer, size); };
    };
    if (AnswerOf<bool8_t>(info(STREAM_INFO_DEFINES_PAYLOADSIZE)).value_or(0) != 0)
    {
        if (const auto size = AnswerOf<size_t>(info(STREAM_INFO_PAYLOAD_SIZE)))
        {
            return *size;
        }
    }
    try
    {
        return static_cast<size_t>(m_bench.session.RemoteFeatures().GetInteger("PayloadSize"));
    }
    catch (const std::runtime_error &error)
    {
        throw NotReached(error.what());
    }
}

GC_ERROR Acquisition::Take(Step step)
{
    auto &calls = m_bench.calls;
    switch (step)
    {
    case Step::Lock:
        return SetFeature("TLParamsLocked", "1");
    case Step::Unlock:
        return SetFeature("TLParamsLocked", "0");
    case Step::StartDevice:
        return SetFeature("AcquisitionStart", "1");
    case Step::StopDevice:
        return SetFeature("AcquisitionStop", "1");
    case Step::StartStream:
        return calls.DSStartAcquisition(Stream(), ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    case Step::StopStream:
        return calls.DSStopAcquisition(Stream(), ACQ_STOP_FLAGS_DEFAULT);
    case Step::KillStream:
        return calls.DSStopAcquisition(Stream(), ACQ_STOP_FLAGS_KILL);
    case Step::CloseStream:
        m_buffers.clear();
        m_event = nullptr;
        m_bench.session.CloseStream();
        return GC_ERR_SUCCESS;
    case Step::Register:
    case Step::WaitInThread:
    case Step::KillEvent:
    case Step::FlushEvent:
    case Step::Unregister:
        return TakeEventStep(step);
    default:
        return TakeBufferStep(step);
    }
}

GC_ERROR Acquisition::TakeEventStep(Step step)
{
    auto &calls = m_bench.calls;
    switch (step)
    {
    case Step::Register:
        return m_event != nullptr ? GC_ERR_SUCCESS
                                  : calls.GCRegisterEvent(Stream(), EVENT_NEW_BUFFER, &m_event);
    case Step::WaitInThread:
        m_endOfWait = GC_ERR_SUCCESS;
        m_waiting = std::thread(
            [this, &calls]
            {
                EVENT_NEW_BUFFER_DATA data{};
                size_t size = sizeof data;
                do
                {
                    size = sizeof data;
                    m_endOfWait = calls.EventGetData(m_event, &data, &size, GENTL_INFINITE);
                } while (m_endOfWait == GC_ERR_SUCCESS);
            });
        return GC_ERR_SUCCESS;
    case Step::KillEvent:
    {
        const auto code = calls.EventKill(m_event);
        m_waiting.join();
        return code == GC_ERR_SUCCESS && m_endOfWait != GC_ERR_ABORT ? m_endOfWait : code;
    }
    case Step::FlushEvent:
        return calls.EventFlush(m_event);
    default:
        m_event = nullptr;
        return calls.GCUnregisterEvent(Stream(), EVENT_NEW_BUFFER);
    }
}

GC_ERROR Acquisition::TakeBufferStep(Step step)
{
    auto &calls = m_bench.calls;
    auto *const stream = Stream();
    switch (step)
    {
    case Step::AnnounceOwn:
        return Announce(true);
    case Step::Allocate:
        return Announce(false);
    case Step::Queue:
        for (auto *const buffer : m_buffers)
        {
            if (const auto code = calls.DSQueueBuffer(stream, buffer); code != GC_ERR_SUCCESS)
            {
                return code;
            }
        }
        return GC_ERR_SUCCESS;
    case Step::AllToInput:
        return calls.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT);
    case Step::DiscardAll:
        return calls.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
    case Step::InputToOutput:
        return calls.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT);
    case Step::DiscardOutput:
        return calls.DSFlushQueue(stream, ACQ_QUEUE_OUTPUT_DISCARD);
    default:
        return Revoke(step == Step::RevokeByIndex);
    }
}

GC_ERROR Acquisition::Announce(bool isOwn)
{
    auto *const stream = Stream();
    const auto size = m_buffers.empty() ? PayloadSize() : 0;
    if (m_buffers.empty() && isOwn)
    {
        m_memory.assign(m_count, std::vector<uint8_t>(size));
    }
    while (m_buffers.size() < m_count)
    {
        BUFFER_HANDLE buffer = nullptr;
        // The consumers hand something of their own in, which they expect back with the frame.
        void *const own = this;
        const auto code = isOwn ? m_bench.calls.DSAnnounceBuffer(stream, m_memory[m_buffers.size()].data(),
                                                                 size, own, &buffer)
                                : m_bench.calls.DSAllocAndAnnounceBuffer(stream, size, own, &buffer);
        if (code != GC_ERR_SUCCESS)
        {
            return code;
        }
        m_buffers.push_back(buffer);
    }
    return GC_ERR_SUCCESS;
}

GC_ERROR Acquisition::Revoke(bool isByIndex)
{
    auto *const stream = Stream();
    for (auto *const known : std::exchange(m_buffers, {}))
    {
        BUFFER_HANDLE buffer = known;
        auto code = isByIndex ? m_bench.calls.DSGetBufferID(stream, 0, &buffer) : GC_ERR_SUCCESS;
        code = code == GC_ERR_SUCCESS ? m_bench.calls.DSRevokeBuffer(stream, buffer, nullptr, nullptr) : code;
        if (code != GC_ERR_SUCCESS)
        {
            return code;
        }
    }
    BUFFER_HANDLE left = nullptr;
    const bool isEmpty = !isByIndex || m_bench.calls.DSGetBufferID(stream, 0, &left) != GC_ERR_SUCCESS;
    return isEmpty ? GC_ERR_SUCCESS : GC_ERR_BUSY;
}

GC_ERROR Acquisition::SetFeature(const char *name, const char *value)
{
    const auto &features = m_bench.session.RemoteFeatures();
    try
    {
        if (features.Has(name))
        {
            features.Set(name, value);
        }
        return GC_ERR_SUCCESS;
    }
    catch (const internal::GenTLException &failure)
    {
        return failure.Code();
    }
    catch (const std::runtime_error &failure)
    {
        throw NotReached(failure.what());
    }
}

} // namespace gentlctl
