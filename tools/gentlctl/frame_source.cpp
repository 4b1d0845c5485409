#include "gentlctl/frame_source.h"

#include "consumer/device.h"
#include "consumer/producer.h"
#include "gentlctl/grab.h"
#include "utils/try.h"

#include <algorithm>

namespace gentlctl
{

using namespace GenTL;

namespace
{

using Clock = std::chrono::steady_clock;

/// Asks the producer to keep the newest frame alone, and returns whether it does. A producer may have the
/// feature and ignore what is written.
bool KeepsNewestAlone(OpenDevice &device)
{
    const auto keeps = internal::utils::Try(
        [&]
        {
            const Features stream(device.PortOf("stream"));
            stream.Set("StreamBufferHandlingMode", "NewestOnly");
            return stream.Get("StreamBufferHandlingMode") == "NewestOnly";
        });
    return keeps.value_or(false);
}

} // namespace

FrameSource::FrameSource(Producer &producer, OpenDevice &device, const Features &remote,
                         const GrabOptions &options, const Interrupt &interrupt,
                         const RunningStream::BufferCount &count)
    : m_options(options), m_producerDropsFrames(options.newest && KeepsNewestAlone(device))
{
    if (options.trigger)
    {
        m_trigger.emplace(remote);
    }
    m_stream.emplace(producer, device, remote, count);
    if (options.duration)
    {
        m_end = Clock::now() + std::chrono::duration_cast<Clock::duration>(*options.duration);
    }
    m_watch.emplace(interrupt, [this] { m_stream->EndWait(); });
}

BUFFER_HANDLE FrameSource::Next()
{
    if (m_trigger)
    {
        m_trigger->Fire();
    }
    auto *const buffer = m_stream->NextBufferBefore(m_end, m_options.timeoutMs);
    return buffer != nullptr && m_options.newest ? NewerThan(buffer) : buffer;
}

/// The newest frame that has come. A device without a frame rate fills each buffer that is given back, so a
/// round through the buffers is enough.
BUFFER_HANDLE FrameSource::NewerThan(BUFFER_HANDLE buffer)
{
    for (size_t i = 0; i < m_stream->Buffers(); ++i)
    {
        auto *const newer = m_stream->TryNextBuffer(0);
        if (newer == nullptr)
        {
            break;
        }
        m_stream->QueueAgain(buffer);
        ++m_skipped;
        buffer = newer;
    }
    return buffer;
}

} // namespace gentlctl
