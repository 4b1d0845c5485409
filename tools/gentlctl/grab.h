#pragma once

#include "consumer/json.h"
#include "gentlctl/frame_statistics.h"
#include "gentlctl/frame_writer.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

class OpenDevice;
class Producer;
class Features;
class Interrupt;

struct GrabOptions
{
    uint64_t frames = 10;                               ///< 0: no limit
    std::optional<std::chrono::nanoseconds> duration{}; ///< longest time to grab
    std::optional<uint32_t> buffers{}; ///< default: as many as the frames need, within limits
    uint64_t timeoutMs = 5000;         ///< longest wait for one frame
    bool newest = false;               ///< drop frames when there are newer ones
    bool trigger = false;              ///< execute TriggerSoftware for each frame
};

struct GrabReport
{
    FrameStatistics statistics;
    uint64_t taken = 0;             ///< frames that count towards those to grab
    uint64_t written = 0;           ///< frames that were written
    uint64_t unwritten = 0;         ///< frames that arrived and should have been written, but were not
    uint64_t waiting = 0;           ///< frames that came and wait to be written
    bool hasEnded = false;          ///< no more frames are taken; those that wait are still written
    bool isAbandoned = false;       ///< a signal ended the writing, too
    std::vector<std::string> files; ///< names of the written files, the first 100,000
    Json chunks = Json::object();   ///< of the last frame
    std::string noLatency;          ///< why there is no latency
    std::chrono::nanoseconds latencyUncertainty{};
    bool isPipeClosed = false;  ///< the reader of the frames ended the grab, which is no failure
    std::exception_ptr failure; ///< why the grab failed; null when nothing failed
};

/// Takes the frames of a grab.
struct FrameConsumer
{
    FrameWriter::Write write; ///< null: frames are not written
    std::function<void(const GrabReport &)>
        onFrame; ///< after each frame, and while the last ones are written; may be null
};

/// Grabs frames from the device's first stream: announces and queues buffers, starts the stream, receives and
/// writes frames at the same time, stops the stream. While writing falls behind, frames wait in their
/// buffers. A frame for which there is no room is not written, and does not count towards the number of
/// frames to grab. With `newest` frames do not wait: while one is being written, those that come are given
/// back, and the one after that is written next.
///
/// An interrupt, or a failure once the stream runs, ends the grab early and in order; the report says so.
/// What came is still written. A signal during that leaves the rest out.
/// @throws GenTLException the stream cannot be started
/// @throws std::runtime_error the device has no software trigger
GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt, const FrameConsumer &consumer = {});

} // namespace gentlctl
