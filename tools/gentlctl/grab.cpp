#include "gentlctl/grab.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/frame_info.h"
#include "consumer/info_answers.h"
#include "consumer/producer.h"
#include "gentlctl/buffer_count.h"
#include "gentlctl/clock_relation.h"
#include "gentlctl/frame_pipe.h"
#include "gentlctl/frame_source.h"
#include "gentlctl/interrupt.h"
#include "port/proxy_module.h"

#include <algorithm>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// How many buffers to announce: the number that the options name, else as many as the frames need.
/// @param size bytes of a buffer
size_t BuffersFor(const GrabOptions &options, bool isWritten, size_t size)
{
    constexpr size_t least = 4;
    if (options.buffers)
    {
        return *options.buffers;
    }
    const auto waiting = !isWritten || options.newest ? 0 : options.frames == 0 ? unlimited : options.frames;
    return BufferCount(waiting, size, least);
}

/// Ticks per second of a device's time stamps. A producer that does not say it counts nanoseconds.
uint64_t TicksPerSecond(Producer &producer, OpenDevice &device)
{
    constexpr uint64_t nanoseconds = 1'000'000'000;
    const auto ticks = TryNumber(
        [&](INFO_DATATYPE *type, void *buffer, size_t *size) {
            producer.Calls().DevGetInfo(device.DeviceHandle(), DEVICE_INFO_TIMESTAMP_FREQUENCY, type, buffer,
                                        size);
        });
    return ticks.value_or(0) != 0 ? *ticks : nanoseconds;
}

/// When the device took a frame, in its ticks: from the producer, else from a chunk.
std::optional<uint64_t> TimeStamp(const FrameInfo &frame)
{
    if (const auto told = NumberFor(frame, BUFFER_INFO_TIMESTAMP))
    {
        return told;
    }
    const auto chunk = frame.chunks.find("ChunkTimestamp");
    return chunk != frame.chunks.end() && chunk->is_number() ? std::optional(chunk->get<uint64_t>())
                                                             : std::nullopt;
}

/// Receives frames, counts them and hands them to the writer. A frame to be written stays in its buffer until
/// it is written.
class Grabber
{
public:
    Grabber(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
            const Interrupt &interrupt, const FrameConsumer &consumer)
        : m_calls(producer.Calls()), m_stream(device.Stream()), m_remote(remote), m_options(options),
          m_interrupt(interrupt), m_onFrame(consumer.onFrame),
          m_clocks(remote, TicksPerSecond(producer, device)),
          m_source(producer, device, remote, options, interrupt,
                   [&](size_t size) { return BuffersFor(options, consumer.write != nullptr, size); })
    {
        if (consumer.write)
        {
            const auto buffers = m_source.Stream().Buffers();
            m_writer.emplace(options.newest ? 1 : buffers - std::min(buffers / 2, spareBuffers),
                             consumer.write, [this](const FrameInfo &frame) { Release(frame); });
        }
    }

    GrabReport Run()
    {
        try
        {
            while (!IsDone() && Receive())
            {
            }
        }
        catch (const std::exception &)
        {
            if (m_interrupt.Signal() == 0 && !HasWriterFailed()) // these two end the wait by an exception
            {
                m_report.failure = std::current_exception();
            }
        }
        m_source.Stream().StopDevice();
        FinishWriting();
        m_report.noLatency = m_hasTimeStamps ? m_clocks.Obstacle() : "the frames have no time stamp";
        m_report.latencyUncertainty = m_clocks.Uncertainty();
        return std::move(m_report);
    }

private:
    bool IsDone() const
    {
        return (m_options.frames != 0 && m_report.taken >= m_options.frames) || m_interrupt.Signal() != 0 ||
               HasWriterFailed();
    }

    bool HasWriterFailed() const { return m_writer && m_writer->Failure(); }

    /// On the writer's thread. After a failure of the writer, ends the wait for the next frame.
    void Release(const FrameInfo &frame)
    {
        // The wait for the next frame tells of a lost device, whose frames are still written.
        internal::CloseQuietly([&] { GiveBack(frame.buffer); });
        if (HasWriterFailed())
        {
            m_source.Stream().EndWait();
        }
    }

    void GiveBack(BUFFER_HANDLE buffer) { m_source.Stream().QueueAgain(buffer); }

    /// Returns false when the time is over.
    bool Receive()
    {
        auto *const buffer = m_source.Next();
        if (buffer == nullptr)
        {
            return false;
        }
        const auto now = ClockRelation::Clock::now();
        auto frame = ReadFrameInfo(m_calls, m_stream, buffer, m_remote);
        const auto arrival = Describe(frame, now);
        auto chunks = frame.chunks;
        const bool isTaken = !m_writer || m_writer->Offer(frame);
        if (isTaken || !m_options.newest)
        {
            m_report.statistics.Add(arrival);
            m_report.chunks = std::move(chunks);
            ++(isTaken ? m_report.taken : m_report.unwritten);
        }
        if (!isTaken || !m_writer)
        {
            GiveBack(buffer);
        }
        Count(!isTaken && m_options.newest);
        return true;
    }

    FrameArrival Describe(const FrameInfo &frame, ClockRelation::Clock::time_point now)
    {
        const auto ticks = TimeStamp(frame);
        m_hasTimeStamps = m_hasTimeStamps || ticks;
        return {.at = now.time_since_epoch(),
                .number =
                    m_source.ProducerDropsFrames() ? std::nullopt : NumberFor(frame, BUFFER_INFO_FRAMEID),
                .latency = ticks ? m_clocks.Age(*ticks, now) : std::nullopt,
                .isIncomplete = frame.isIncomplete};
    }

    void Count(bool isSkipped)
    {
        m_skipped += isSkipped ? 1 : 0;
        m_report.statistics.SetSkipped(m_skipped + m_source.Skipped());
        m_report.statistics.SetUnderruns(m_source.Stream().LostFrames());
        m_report.waiting = m_writer ? m_writer->Held() : 0;
        Tell();
    }

    void Tell() const
    {
        if (m_onFrame)
        {
            m_onFrame(m_report);
        }
    }

    void FinishWriting()
    {
        if (!m_writer)
        {
            return;
        }
        m_report.hasEnded = true;
        m_writer->Finish([this, known = m_interrupt.Signals()](size_t left) { WaitForWriter(left, known); });
        m_report.waiting = 0;
        m_report.files = m_writer->Files();
        m_report.written = m_writer->Written();
        m_report.unwritten += m_report.taken - m_report.written;
        if (const auto failure = m_writer->Failure())
        {
            KeepFailure(failure);
        }
    }

    /// @param known how many signals had come when the last frame was taken
    void WaitForWriter(size_t left, int known)
    {
        m_report.waiting = left;
        if (m_interrupt.Signals() != known)
        {
            m_writer->Abandon();
            m_report.isAbandoned = true;
        }
        Tell();
    }

    void KeepFailure(const std::exception_ptr &failure)
    {
        try
        {
            std::rethrow_exception(failure);
        }
        catch (const PipeClosed &)
        {
            m_report.isPipeClosed = true;
        }
        catch (...)
        {
            m_report.failure = m_report.failure ? m_report.failure : failure;
        }
    }

    internal::IGenTLProxy &m_calls;
    DS_HANDLE m_stream;
    const Features &m_remote;
    const GrabOptions &m_options;
    const Interrupt &m_interrupt;
    const std::function<void(const GrabReport &)> &m_onFrame;
    GrabReport m_report;
    bool m_hasTimeStamps = false;
    uint64_t m_skipped = 0; ///< frames that came while another was being written
    ClockRelation m_clocks; // takes its time before the stream starts
    FrameSource m_source;
    std::optional<FrameWriter> m_writer; // destroyed before the stream, which takes its buffers back
};

} // namespace

GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt, const FrameConsumer &consumer)
{
    return Grabber(producer, device, remote, options, interrupt, consumer).Run();
}

} // namespace gentlctl
