#pragma once

#include "consumer/json.h"
#include "gentlctl/grab.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

/// What came from a device.
struct DeviceGrab
{
    std::string device; ///< its id
    std::string folder; ///< of the files; empty without
    GrabReport report;
};

/// All that is known of the frames of a device.
Json ToJson(const DeviceGrab &grab);

/// A line with the counts, and a table of intervals and latency.
std::string ToText(const DeviceGrab &grab);

/// How a grab with these options ended, as far as it did not end as asked: a line for each thing that is
/// missing.
/// @param signal that ended it; 0 without
std::vector<std::string> Complaints(const GrabReport &report, const GrabOptions &options, int signal);

/// What `--strict` does not let pass: frames that were lost, incomplete or not written. None when each is
/// there.
std::optional<std::string> StrictComplaint(const DeviceGrab &grab);

} // namespace gentlctl
