#include "gentlctl/grab.h"

#include "gentlctl/features.h"
#include "gentlctl/frame.h"
#include "gentlctl/output_files.h"
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

/// As many as are asked for, else as many as let all frames arrive before the first is written, and some more
/// for those that come before the device stops; within some memory.
size_t BufferCount(const GrabOptions &options, size_t size)
{
    constexpr size_t least = 4;
    constexpr size_t spare = 16;
    constexpr size_t most = 1024;
    constexpr size_t memory = size_t{512} << 20;
    if (options.buffers)
    {
        return *options.buffers;
    }
    const auto wanted = options.folder.empty() ? spare : options.frames + spare;
    return std::clamp<size_t>(wanted, least, std::clamp(memory / std::max<size_t>(size, 1), least, most));
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

    size_t Buffers() const { return m_buffers.size(); }

    void StopDevice()
    {
        CloseQuietly([this] { m_remote.Execute("AcquisitionStop"); });
    }

private:
    void Start(const GrabOptions &options)
    {
        const auto size = PayloadSize(m_calls, m_stream, m_remote);
        const auto count = BufferCount(options, size);
        while (m_buffers.size() < count)
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
        StopDevice();
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

void ShowProgress(const GrabReport &report, uint64_t done, uint64_t frames)
{
    constexpr int width = 30;
    const auto filled = static_cast<int>(done * width / std::max<uint64_t>(frames, 1));
    const auto rate = report.seconds > 0 ? static_cast<double>(report.delivered - 1) / report.seconds : 0.0;
    fmt::print(stderr, "\r[{:#<{}}{:{}}] {}/{}  {:.1f} frames/s  {} lost  {} incomplete ", "", filled, "",
               width - filled, done, frames, rate, report.lost, report.incomplete);
    if (done == frames)
    {
        fmt::print(stderr, "\n");
    }
    std::fflush(stderr);
}

/// The frames of a running stream, which are kept in their buffers while the next ones arrive, since to write
/// one takes longer than to receive it.
class Grabber
{
public:
    Grabber(IGenTLProxy &calls, void *stream, const Features &remote, const GrabOptions &options)
        : m_calls(calls), m_stream(stream), m_options(options), m_running(calls, stream, remote, options)
    {
        const auto buffers = m_running.Buffers();
        m_mostKept = options.folder.empty() ? 1 : options.frames < buffers ? buffers : buffers / 2;
    }

    GrabReport Run()
    {
        while (m_report.delivered < m_options.frames)
        {
            Receive();
            const bool last = m_report.delivered == m_options.frames;
            if (last)
            {
                m_running.StopDevice();
            }
            if (last || m_kept.size() >= m_mostKept)
            {
                Finish();
            }
        }
        return std::move(m_report);
    }

private:
    void Receive()
    {
        try
        {
            m_kept.push_back(m_running.NextBuffer(m_options.timeoutMs));
        }
        catch (...)
        {
            Finish();
            throw;
        }
        const auto now = Clock::now();
        m_first = m_report.delivered == 0 ? now : m_first;
        m_report.seconds = std::chrono::duration<double>(now - m_first).count();
        ++m_report.delivered;
        m_report.lost = LostFrames(m_calls, m_stream);
    }

    /// Writes what is kept and gives the buffers back.
    void Finish()
    {
        for (auto *buffer : m_kept)
        {
            const Frame frame(m_calls, m_stream, buffer);
            m_report.incomplete += frame.Incomplete() ? 1 : 0;
            ++m_finished;
            if (!m_options.folder.empty())
            {
                const auto files =
                    frame.Write(m_options.folder, m_finished, m_options.format, m_options.view);
                m_report.files.insert(m_report.files.end(), files.begin(), files.end());
            }
            m_calls.DSQueueBuffer(m_stream, buffer);
            Show();
        }
        m_kept.clear();
    }

    void Show()
    {
        constexpr std::chrono::milliseconds interval(100);
        const auto now = Clock::now();
        if (m_options.showProgress && (m_finished == m_options.frames || now - m_shown > interval))
        {
            ShowProgress(m_report, m_finished, m_options.frames);
            m_shown = now;
        }
    }

    IGenTLProxy &m_calls;
    void *m_stream;
    const GrabOptions &m_options;
    RunningStream m_running;
    size_t m_mostKept = 1;
    std::vector<BUFFER_HANDLE> m_kept;
    uint64_t m_finished = 0;
    Clock::time_point m_first;
    Clock::time_point m_shown;
    GrabReport m_report;
};

} // namespace

GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options)
{
    if (!options.folder.empty())
    {
        MakeFolder(options.folder);
    }
    return Grabber(producer.Calls(), device.Stream(), remote, options).Run();
}

} // namespace gentlctl
