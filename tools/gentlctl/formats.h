#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

/// A pixel format that an application may choose, and where it comes from.
struct OfferedFormat
{
    std::string name;
    std::string sentAs; ///< what the device is told to send
    std::string task;   ///< "copy", "unpack", or "calibrate" for depth
};

/// How the producer makes each of the chosen formats of what the device sends. A format that the project does
/// not know is copied.
std::vector<OfferedFormat> ExplainFormats(const std::vector<std::string> &chosen,
                                          const std::vector<std::string> &sent);

} // namespace gentlctl
