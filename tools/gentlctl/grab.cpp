#include "gentlctl/grab.h"

#include "gentlctl/features.h"
#include "gentlctl/frame.h"
#include "gentlctl/frame_writer.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/producer.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
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

/// Buffers that wait to be filled while frames wait to be written.
constexpr size_t spare = 16;

/// As many as are asked for, else as many as let all frames arrive before the first is written, and some more
/// for those that come before the device stops; within some memory.
size_t BufferCount(const GrabOptions &options, size_t size)
{
    constexpr size_t least = 4;
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

    /// Makes a wait for the next frame fail. On any thread.
    void EndWait()
    {
        CloseQuietly([this] { m_calls.EventKill(m_event); });
    }

    void QueueAgain(BUFFER_HANDLE buffer) { m_calls.DSQueueBuffer(m_stream, buffer); }

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

/// A line on standard error that is written anew as frames arrive.
class Progress
{
public:
    Progress(bool isShown, uint64_t frames) : m_isShown(isShown), m_frames(frames) {}

    void Show(const GrabReport &report, uint64_t done)
    {
        constexpr std::chrono::milliseconds interval(100);
        const auto now = Clock::now();
        if (m_isShown && now - m_shown > interval)
        {
            Draw(report, done);
            m_shown = now;
        }
    }

    void Finish(const GrabReport &report, uint64_t done) const
    {
        if (m_isShown && report.delivered != 0)
        {
            Draw(report, done);
            fmt::print(stderr, "\n");
        }
    }

private:
    void Draw(const GrabReport &report, uint64_t done) const
    {
        constexpr int width = 30;
        const auto filled = static_cast<int>(done * width / m_frames);
        const auto rate =
            report.seconds > 0 ? static_cast<double>(report.delivered - 1) / report.seconds : 0.0;
        fmt::print(stderr, "\r[{:#<{}}{:{}}] {}/{}  {:.1f} frames/s  {} lost  {} incomplete{} ", "", filled,
                   "", width - filled, done, m_frames, rate, report.lost, report.incomplete,
                   report.unwritten != 0 ? fmt::format("  {} not written", report.unwritten) : "");
    }

    bool m_isShown;
    uint64_t m_frames;
    Clock::time_point m_shown;
};

/// The frames of a running stream. Those that are to be written stay in their buffers until they are.
class Grabber
{
public:
    Grabber(IGenTLProxy &calls, void *stream, const Features &remote, const GrabOptions &options,
            const Interrupt &interrupt)
        : m_calls(calls), m_stream(stream), m_remote(remote), m_options(options), m_interrupt(interrupt),
          m_progress(options.showProgress, options.frames), m_running(calls, stream, remote, options),
          m_watch(interrupt, [this] { m_running.EndWait(); })
    {
        if (!options.folder.empty())
        {
            const auto buffers = m_running.Buffers();
            m_writer.emplace(
                buffers - std::min(buffers / 2, spare),
                [this](const Frame &frame, uint64_t number)
                { return frame.Write(m_options.folder, number, m_options.format, m_options.view); },
                [this](const Frame &frame) { m_running.QueueAgain(frame.Buffer()); });
        }
    }

    GrabReport Run()
    {
        try
        {
            while (m_taken < m_options.frames && m_interrupt.Signal() == 0 && !WritingFailure())
            {
                Receive();
            }
        }
        catch (const std::exception &)
        {
            // An interrupt ends the wait by a failure.
            m_report.failure = m_interrupt.Signal() == 0 ? std::current_exception() : nullptr;
        }
        m_running.StopDevice();
        FinishWriting();
        m_progress.Finish(m_report, m_taken);
        return std::move(m_report);
    }

private:
    std::exception_ptr WritingFailure() const { return m_writer ? m_writer->Failure() : nullptr; }

    void Receive()
    {
        auto *const buffer = m_running.NextBuffer(m_options.timeoutMs);
        Frame frame(m_calls, m_stream, buffer, m_remote);
        Count(frame);
        if (m_writer && m_writer->Offer(frame))
        {
            ++m_taken;
        }
        else
        {
            m_running.QueueAgain(buffer);
            ++(m_writer ? m_report.unwritten : m_taken);
        }
        m_progress.Show(m_report, m_taken);
    }

    void Count(const Frame &frame)
    {
        const auto now = Clock::now();
        m_first = m_report.delivered == 0 ? now : m_first;
        m_report.seconds = std::chrono::duration<double>(now - m_first).count();
        ++m_report.delivered;
        m_report.incomplete += frame.Incomplete() ? 1 : 0;
        m_report.lost = LostFrames(m_calls, m_stream);
        m_report.chunks = frame.Chunks();
    }

    void FinishWriting()
    {
        if (!m_writer)
        {
            return;
        }
        m_writer->Finish();
        m_report.files = m_writer->Files();
        m_report.written = m_writer->Written();
        m_report.unwritten += m_taken - m_report.written;
        if (auto failure = m_writer->Failure())
        {
            m_report.failure = failure;
        }
    }

    IGenTLProxy &m_calls;
    void *m_stream;
    const Features &m_remote;
    const GrabOptions &m_options;
    const Interrupt &m_interrupt;
    GrabReport m_report;
    uint64_t m_taken = 0; ///< frames of those that are asked for
    Clock::time_point m_first;
    Progress m_progress;
    RunningStream m_running;
    InterruptWatch m_watch;              // ends before the stream whose wait it ends
    std::optional<FrameWriter> m_writer; // ends before the stream that its buffers go back to
};

} // namespace

GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt)
{
    return Grabber(producer.Calls(), device.Stream(), remote, options, interrupt).Run();
}

} // namespace gentlctl
