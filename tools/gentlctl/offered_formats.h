#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

/// A pixel format that an application may choose, and how the proxy producer makes it.
struct OfferedFormat
{
    std::string name;
    std::string sentAs; ///< the format that the device sends
    std::string task;   ///< "copy", "unpack", or "calibrate" for depth
};

/// Explains, by the table of pixel formats, how each of the chosen formats is made of those that the device
/// sends: a format that is sent is copied, before others are unpacked. A format that is not in the table is
/// copied.
std::vector<OfferedFormat> ExplainFormats(const std::vector<std::string> &chosen,
                                          const std::vector<std::string> &sent);

} // namespace gentlctl
