#include "gentlctl/grab.h"

#include "gentlctl/features.h"
#include "gentlctl/frame.h"
#include "gentlctl/image_files.h"
#include "gentlctl/producer.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::CloseQuietly;
using GenTL::internal::IGenTLProxy;

namespace
{

using Clock = std::chrono::steady_clock;

size_t PayloadSize(IGenTLProxy &calls, void *stream, const Features &remote)
{
    const auto query = [&](STREAM_INFO_CMD command)
    {
        return TryAnswer([&, command](INFO_DATATYPE *type, void *buffer, size_t *size)
                         { calls.DSGetInfo(stream, command, type, buffer, size); });
    };
    const auto defines = query(STREAM_INFO_DEFINES_PAYLOADSIZE);
    if (defines && *defines == true)
    {
        if (const auto size = query(STREAM_INFO_PAYLOAD_SIZE))
        {
            return size->get<size_t>();
        }
    }
    return static_cast<size_t>(remote.GetInteger("PayloadSize"));
}

uint64_t LostFrames(IGenTLProxy &calls, void *stream)
{
    const auto lost = TryAnswer([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                { calls.DSGetInfo(stream, STREAM_INFO_NUM_UNDERRUN, type, buffer, size); });
    return lost ? lost->get<uint64_t>() : 0;
}

/// A stream with buffers, running from construction to destruction.
class RunningStream
{
public:
    RunningStream(IGenTLProxy &calls, void *stream, const Features &remote, const GrabOptions &options)
        : m_calls(calls), m_stream(stream), m_remote(remote)
    {
        try
        {
            Start(options);
        }
        catch (...)
        {
            Stop();
            throw;
        }
    }
    RunningStream(const RunningStream &) = delete;
    RunningStream &operator=(const RunningStream &) = delete;
    ~RunningStream() { Stop(); }

    BUFFER_HANDLE NextBuffer(uint64_t timeoutMs)
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
            throw std::runtime_error(
                fmt::format("No frame within {} ms. Does the device wait for a trigger, or is its "
                            "AcquisitionFrameRate lower? --timeout waits longer",
                            timeoutMs));
        }
        return data.BufferHandle;
    }

private:
    void Start(const GrabOptions &options)
    {
        const auto size = PayloadSize(m_calls, m_stream, m_remote);
        for (uint32_t i = 0; i < options.buffers; ++i)
        {
            BUFFER_HANDLE buffer = nullptr;
            m_calls.DSAllocAndAnnounceBuffer(m_stream, size, nullptr, &buffer);
            m_buffers.push_back(buffer);
            m_calls.DSQueueBuffer(m_stream, buffer);
        }
        m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event);
        SetIfThere("TLParamsLocked", "1");
        m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
        m_remote.Execute("AcquisitionStart");
    }

    // Each step stands for itself: one that fails, or was never begun, must not keep the next from running.
    void Stop()
    {
        CloseQuietly([this] { m_remote.Execute("AcquisitionStop"); });
        CloseQuietly([this] { m_calls.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_KILL); });
        CloseQuietly([this] { SetIfThere("TLParamsLocked", "0"); });
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

    void SetIfThere(const std::string &feature, const std::string &value)
    {
        if (m_remote.Has(feature))
        {
            m_remote.Set(feature, value);
        }
    }

    IGenTLProxy &m_calls;
    void *m_stream;
    const Features &m_remote;
    EVENT_HANDLE m_event = nullptr;
    std::vector<BUFFER_HANDLE> m_buffers;
};

void ShowProgress(const GrabReport &report, uint64_t frames, bool last)
{
    constexpr int width = 30;
    const auto done = static_cast<int>(report.delivered * width / std::max<uint64_t>(frames, 1));
    const auto rate = report.seconds > 0 ? static_cast<double>(report.delivered - 1) / report.seconds : 0.0;
    fmt::print(stderr, "\r[{:#<{}}{:{}}] {}/{}  {:.1f} frames/s  {} lost  {} incomplete ", "", done, "",
               width - done, report.delivered, frames, rate, report.lost, report.incomplete);
    if (last)
    {
        fmt::print(stderr, "\n");
    }
    std::fflush(stderr);
}

} // namespace

GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options)
{
    auto &calls = producer.Calls();
    auto *stream = device.Stream();
    if (!options.folder.empty())
    {
        MakeFolder(options.folder);
    }
    GrabReport report;
    RunningStream running(calls, stream, remote, options);
    Clock::time_point first;
    Clock::time_point shown;
    while (report.delivered < options.frames)
    {
        auto *buffer = running.NextBuffer(options.timeoutMs);
        const auto now = Clock::now();
        first = report.delivered == 0 ? now : first;
        report.seconds = std::chrono::duration<double>(now - first).count();
        ++report.delivered;
        const Frame frame(calls, stream, buffer);
        report.incomplete += frame.Incomplete() ? 1 : 0;
        if (!options.folder.empty())
        {
            for (const auto &file :
                 frame.Write(options.folder, report.delivered, options.format, options.view))
            {
                report.files.push_back(file);
            }
        }
        report.lost = LostFrames(calls, stream);
        calls.DSQueueBuffer(stream, buffer);
        const bool last = report.delivered == options.frames;
        if (options.showProgress && (last || now - shown > std::chrono::milliseconds(100)))
        {
            ShowProgress(report, options.frames, last);
            shown = now;
        }
    }
    return report;
}

} // namespace gentlctl
