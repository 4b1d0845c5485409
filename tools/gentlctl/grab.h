#pragma once

#include "consumer/json.h"
#include "gentlctl/frame_files.h"

#include <cstdint>
#include <exception>
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
    uint64_t frames = 10;
    std::optional<uint32_t> buffers; ///< default: as many as the frames need, within limits
    uint64_t timeoutMs = 5000;       ///< longest wait for one frame
    FrameFileOptions files;
    bool showProgress = false;
};

struct GrabReport
{
    uint64_t delivered = 0;         ///< frames that arrived
    uint64_t incomplete = 0;        ///< frames that arrived with missing data
    uint64_t written = 0;           ///< frames that were written
    uint64_t unwritten = 0;         ///< frames that arrived and should have been written, but were not
    uint64_t lost = 0;              ///< frames for which no buffer was free
    double seconds = 0;             ///< from the first to the last frame
    std::vector<std::string> files; ///< names of the written files
    Json chunks = Json::object();   ///< of the last frame
    std::exception_ptr failure;     ///< why the grab failed; null when nothing failed
};

/// Frames per second; 0 while fewer than two frames came.
double FrameRate(const GrabReport &report);

/// Grabs frames from the device's first stream: announces and queues buffers, starts the stream, receives and
/// writes frames at the same time, stops the stream. While writing falls behind, frames wait in their
/// buffers. A frame for which there is no room is not written, and does not count towards the number of
/// frames to grab.
///
/// An interrupt, or a failure once the stream runs, ends the grab early and in order; the report says so.
/// @throws GenTLException the stream cannot be started
GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt);

} // namespace gentlctl
