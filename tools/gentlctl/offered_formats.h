#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

/// A pixel format that an application may choose, and how the producer makes it.
struct OfferedFormat
{
    std::string name;
    std::string sentAs; ///< the format that the device sends
    std::string task;   ///< "copy", "unpack", or "calibrate" for depth
};

/// Says how the proxy producer makes each chosen format, by the table of pixel formats. It copies a format
/// that the device sends. It unpacks a format from the packed form that the device sends. It calibrates any
/// other format from depth. A format that is not in the table counts as copied. When the table has none of
/// the sent formats, every format counts as copied.
std::vector<OfferedFormat> ExplainFormats(const std::vector<std::string> &chosen,
                                          const std::vector<std::string> &sent);

/// Says how a producer makes a format from the one that the device is found to send then: by a copy, else by
/// unpacking if `sent` is the packed form, else from depth.
OfferedFormat ExplainFormat(const std::string &chosen, const std::string &sent);

} // namespace gentlctl
