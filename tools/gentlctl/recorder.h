#pragma once

#include "recording/frame_record.h"
#include "recording/recording_writer.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>

namespace gentlctl
{

class Features;
class Interrupt;
class OpenDevice;
class Producer;

struct RecordOptions
{
    uint64_t frames = 0;                                ///< 0 for no limit
    std::optional<std::chrono::nanoseconds> duration{}; ///< of the recording; none for no limit
    std::optional<uint32_t> buffers{}; ///< default: as many as the frames need, within limits
    uint64_t timeoutMs = 5000;         ///< longest wait for one frame
};

struct RecordReport
{
    uint64_t delivered = 0;     ///< frames that arrived
    uint64_t recorded = 0;      ///< frames in the recording
    uint64_t unwritten = 0;     ///< frames that arrived and are not in the recording
    uint64_t lost = 0;          ///< frames for which no buffer was free
    double seconds = 0;         ///< from the first to the last frame
    double writingSeconds = 0;  ///< from the first frame until all were written
    bool isAbandoned = false;   ///< a second signal ended the writing, too
    std::exception_ptr failure; ///< why the recording ended early; null when nothing failed
};

/// Records frames of a stream: receives them and writes them at the same time. Each frame waits in its buffer
/// until it is written; while the writing does not keep up and all buffers but a few are held, further frames
/// are counted and not recorded. Completes the recording in any case, unless it has no frame.
///
/// @param ticksPerSecond of the device's time stamps; 0 if unknown
/// @throws GenTLException the stream cannot be started
RecordReport Record(Producer &producer, OpenDevice &device, const Features &remote,
                    recording::RecordingWriter &writer, uint64_t ticksPerSecond, const RecordOptions &options,
                    const Interrupt &interrupt);

} // namespace gentlctl
