#pragma once

#include "consumer/features.h"
#include "consumer/stream.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/software_trigger.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace gentlctl
{

struct GrabOptions;
class OpenDevice;
class Producer;

/// The frames of a running stream, as the options of a grab ask for them: each, or the newest; as they come,
/// or each on a trigger; without end, or for some time. Runs from construction to destruction.
///
/// Only one thread may call Next; any thread may give a buffer back.
class FrameSource
{
public:
    /// @param remote features of the device; outlives this object
    /// @throws GenTLException the stream cannot be started
    /// @throws std::runtime_error the device has no software trigger
    FrameSource(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt, const RunningStream::BufferCount &count);

    /// Waits for the next frame; null when the time of the grab is over.
    /// @throws std::runtime_error no frame came in time
    /// @throws DeviceLost, GenTLException as RunningStream::TryNextBuffer, or the device takes no trigger
    GenTL::BUFFER_HANDLE Next();

    /// Frames that Next has given back in favour of newer ones.
    uint64_t Skipped() const { return m_skipped; }

    /// Whether the producer drops frames in favour of newer ones. Their numbers are missing then.
    bool ProducerDropsFrames() const { return m_producerDropsFrames; }

    RunningStream &Stream() { return *m_stream; }

private:
    GenTL::BUFFER_HANDLE NewerThan(GenTL::BUFFER_HANDLE buffer);

    const GrabOptions &m_options;
    const bool m_producerDropsFrames;
    uint64_t m_skipped = 0;
    std::optional<SoftwareTrigger>
        m_trigger; // set before the stream starts, and set back when it has stopped
    std::optional<RunningStream> m_stream;
    std::optional<std::chrono::steady_clock::time_point> m_end;
    std::optional<InterruptWatch> m_watch; // destroyed before the stream, whose wait it ends
};

} // namespace gentlctl
