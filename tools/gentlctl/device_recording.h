#pragma once

#include "recording/device_record.h"

namespace gentlctl
{

class OpenDevice;
class Producer;

/// Reads all that a recording keeps of a device. To do so, writes to its selectors, which it sets back, and
/// to its file access.
/// @throws std::runtime_error the description cannot be loaded or read
recording::DeviceRecord DescribeDevice(Producer &producer, OpenDevice &device);

} // namespace gentlctl
