#include "gentlctl/grab.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/frame_info.h"
#include "consumer/producer.h"
#include "consumer/stream.h"
#include "gentlctl/frame_writer.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/progress.h"

#include <algorithm>
#include <chrono>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;

namespace
{

using Clock = std::chrono::steady_clock;

/// Buffers that wait to be filled while frames wait to be written.
constexpr size_t spareBuffers = 16;

/// How many buffers to announce: the number that the options name. Without one, the spare buffers, and one
/// for each frame to be written, so that all can arrive before the first is written. The spare ones also take
/// the frames that come before the device stops. `least`, `most` and `memory` limit the number.
/// @param size bytes of a buffer
size_t BufferCount(const GrabOptions &options, size_t size)
{
    constexpr size_t least = 4;
    constexpr size_t most = 1024;
    constexpr size_t memory = size_t{512} << 20;
    if (options.buffers)
    {
        return *options.buffers;
    }
    const auto wanted = options.files.folder.empty() ? spareBuffers : options.frames + spareBuffers;
    return std::clamp<size_t>(wanted, least, std::clamp(memory / std::max<size_t>(size, 1), least, most));
}

/// The frames of a running stream. A frame to be written stays in its buffer until it is written.
class Grabber
{
public:
    Grabber(IGenTLProxy &calls, DS_HANDLE stream, const Features &remote, const GrabOptions &options,
            const Interrupt &interrupt)
        : m_calls(calls), m_stream(stream), m_remote(remote), m_options(options), m_interrupt(interrupt),
          m_progress(options.showProgress, options.frames),
          m_running(calls, stream, remote, [&](size_t size) { return BufferCount(options, size); }),
          m_watch(interrupt, [this] { m_running.EndWait(); })
    {
        if (!options.files.folder.empty())
        {
            const auto buffers = m_running.Buffers();
            m_writer.emplace(
                buffers - std::min(buffers / 2, spareBuffers),
                [this](const FrameInfo &frame, uint64_t number)
                { return WriteFrame(frame, number, m_options.files); },
                [this](const FrameInfo &frame) { m_running.QueueAgain(frame.buffer); });
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
            // An interrupt makes the wait fail.
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
        auto frame = ReadFrameInfo(m_calls, m_stream, buffer, m_remote);
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

    void Count(const FrameInfo &frame)
    {
        const auto now = Clock::now();
        m_first = m_report.delivered == 0 ? now : m_first;
        m_report.seconds = std::chrono::duration<double>(now - m_first).count();
        ++m_report.delivered;
        m_report.incomplete += frame.isIncomplete ? 1 : 0;
        m_report.lost = m_running.LostFrames();
        m_report.chunks = frame.chunks;
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
    DS_HANDLE m_stream;
    const Features &m_remote;
    const GrabOptions &m_options;
    const Interrupt &m_interrupt;
    GrabReport m_report;
    uint64_t m_taken = 0; ///< frames that count towards those to grab
    Clock::time_point m_first;
    Progress m_progress;
    RunningStream m_running;
    InterruptWatch m_watch;              // destroyed before the stream, whose wait it ends
    std::optional<FrameWriter> m_writer; // destroyed before the stream, which takes its buffers back
};

} // namespace

double FrameRate(const GrabReport &report)
{
    return report.seconds > 0 ? static_cast<double>(report.delivered - 1) / report.seconds : 0.0;
}

GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt)
{
    return Grabber(producer.Calls(), device.Stream(), remote, options, interrupt).Run();
}

} // namespace gentlctl
