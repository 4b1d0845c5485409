#pragma once

#include "gentlctl/info.h"
#include "gentlctl/point_view.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>

namespace gentlctl
{

class OpenDevice;
class Producer;
class Features;
class Interrupt;

struct GrabOptions
{
    uint64_t frames = 10;
    std::optional<uint32_t> buffers; ///< when not told, as many as the frames need, within limits
    uint64_t timeoutMs = 5000;       ///< longest wait for one frame
    std::filesystem::path folder;    ///< where files go; empty: nothing is written
    std::string format = "png";      ///< "png", "tiff" or "raw"
    std::optional<ViewAngles> view;  ///< also picture the points from here
    bool showProgress = false;
};

struct GrabReport
{
    uint64_t delivered = 0;  ///< frames that arrived
    uint64_t incomplete = 0; ///< of these, frames with missing data
    uint64_t written = 0;    ///< frames that were written
    uint64_t unwritten = 0;  ///< frames that should have been and were not
    uint64_t lost = 0;       ///< frames for which no buffer was free
    double seconds = 0;      ///< from the first to the last frame
    Json files = Json::array();
    Json chunks = Json::object(); ///< of the last frame
    std::exception_ptr failure;   ///< what ended the grabbing before its time; null when nothing did
};

/// Grabs frames from the device's stream: announces and queues buffers, starts, receives and writes the
/// frames at the same time, stops. While writing falls behind, frames wait in their buffers; a frame for
/// which there is no room is not written and does not count as one of those that are asked for.
///
/// Writes each frame as `frame-NNNNN.png` (or .tiff, .raw) and its infos beside it as `frame-NNNNN.json`; a
/// grid of points as `frame-NNNNN.ply` and, with a view, `frame-NNNNN-view.png`, too. The folder is there.
///
/// Ends early, and in order, at an interrupt or a failure once the stream runs, which the report tells.
/// @throws GenTLException the stream cannot be started
GrabReport Grab(Producer &producer, OpenDevice &device, const Features &remote, const GrabOptions &options,
                const Interrupt &interrupt);

} // namespace gentlctl
