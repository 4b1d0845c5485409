#include "gentlctl/recorder.h"

#include "consumer/device.h"
#include "consumer/producer.h"
#include "consumer/stream.h"
#include "gentlctl/buffer_count.h"
#include "gentlctl/frame_recording.h"
#include "gentlctl/frame_writer.h"
#include "gentlctl/interrupt.h"
#include "port/proxy_module.h"

#include <algorithm>

namespace gentlctl
{

using namespace GenTL;

namespace
{

using Clock = RunningStream::Clock;

/// Buffers that wait to be filled while all others wait to be written.
constexpr size_t leastSpareBuffers = 4;

/// As for grabbing, but no frame is passed by for want of a few buffers.
size_t BuffersFor(const RecordOptions &options, size_t size)
{
    constexpr size_t least = 16;
    const auto frames = options.frames == 0 ? unlimited : options.frames;
    return options.buffers ? *options.buffers : BufferCount(frames, size, least);
}

/// The frames of a running stream on their way into a recording.
class Recorder
{
public:
    Recorder(Producer &producer, OpenDevice &device, const Features &remote,
             recording::RecordingWriter &writer, uint64_t ticksPerSecond, const RecordOptions &options,
             const Interrupt &interrupt)
        : m_options(options), m_interrupt(interrupt),
          m_running(producer, device, remote, [&](size_t size) { return BuffersFor(options, size); }),
          m_watch(interrupt, [this] { m_running.EndWait(); }),
          m_writer(
              m_running.Buffers() - std::min(m_running.Buffers() / 2, leastSpareBuffers),
              [&producer, &writer, stream = device.Stream(), ticksPerSecond](const FrameInfo &frame, uint64_t)
              {
                  auto described = DescribeFrame(producer.Calls(), stream, frame.buffer, ticksPerSecond);
                  // Without time stamps, the frame's time is that of its recording.
                  auto &time = described.record.time;
                  time = time != 0 ? time : static_cast<uint64_t>(Clock::now().time_since_epoch().count());
                  writer.Append(described.record, described.bytes);
                  return std::vector<std::string>();
              },
              // The wait for the next frame tells of a lost device, whose frames are still written.
              [this](const FrameInfo &frame)
              { internal::CloseQuietly([&] { m_running.QueueAgain(frame.buffer); }); })
    {
    }

    RecordReport Run()
    {
        m_first = Clock::now();
        if (m_options.duration)
        {
            m_end = m_first + std::chrono::duration_cast<Clock::duration>(*m_options.duration);
        }
        try
        {
            while (IsWanted() && Receive())
            {
            }
        }
        catch (const std::exception &)
        {
            // An interrupt makes the wait fail.
            m_report.failure = m_interrupt.Signal() == 0 ? std::current_exception() : nullptr;
        }
        m_report.lost = m_running.LostFrames();
        m_running.StopDevice();
        FinishWriting();
        m_report.writingSeconds = SecondsSinceFirst();
        m_report.recorded = m_writer.Written();
        m_report.unwritten = m_report.delivered - m_report.recorded;
        m_report.failure = m_report.failure ? m_report.failure : m_writer.Failure();
        return std::move(m_report);
    }

private:
    bool IsWanted() const
    {
        const bool isEnough = m_options.frames != 0 && m_taken >= m_options.frames;
        return !isEnough && m_interrupt.Signal() == 0 && !m_writer.Failure();
    }

    double SecondsSinceFirst() const { return std::chrono::duration<double>(Clock::now() - m_first).count(); }

    /// Returns false when the time is over.
    bool Receive()
    {
        FrameInfo frame;
        frame.buffer = m_running.NextBufferBefore(m_end, m_options.timeoutMs);
        if (frame.buffer == nullptr)
        {
            return false;
        }
        m_first = m_report.delivered == 0 ? Clock::now() : m_first;
        m_report.seconds = SecondsSinceFirst();
        ++m_report.delivered;
        if (m_writer.Offer(frame))
        {
            ++m_taken;
        }
        else
        {
            m_running.QueueAgain(frame.buffer);
        }
        return true;
    }

    /// A signal from now on leaves out the frames that wait to be written.
    void FinishWriting()
    {
        const auto abandon = [this, known = m_interrupt.Signals()](size_t)
        {
            if (m_interrupt.Signals() != known)
            {
                m_writer.Abandon();
                m_report.isAbandoned = true;
            }
        };
        m_writer.Finish(abandon);
    }

    const RecordOptions &m_options;
    const Interrupt &m_interrupt;
    RecordReport m_report;
    uint64_t m_taken = 0;      ///< frames that count towards those to record
    Clock::time_point m_first; ///< when the first frame came
    std::optional<Clock::time_point> m_end;
    RunningStream m_running;
    InterruptWatch m_watch; // destroyed before the stream, whose wait it ends
    FrameWriter m_writer;   // destroyed before the stream, which takes its buffers back
};

} // namespace

RecordReport Record(Producer &producer, OpenDevice &device, const Features &remote,
                    recording::RecordingWriter &writer, uint64_t ticksPerSecond, const RecordOptions &options,
                    const Interrupt &interrupt)
{
    auto report = Recorder(producer, device, remote, writer, ticksPerSecond, options, interrupt).Run();
    if (report.recorded != 0)
    {
        writer.Finish(report.lost, report.unwritten);
    }
    return report;
}

} // namespace gentlctl
