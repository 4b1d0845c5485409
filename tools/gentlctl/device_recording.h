#pragma once

#include "recording/device_record.h"

namespace gentlctl
{

class OpenDevice;
class Producer;

/// All that a recording keeps of a device. Writes to the device's selectors and to its file access; sets the
/// selectors back.
/// @throws std::runtime_error the description cannot be loaded or read
recording::DeviceRecord DescribeDevice(Producer &producer, OpenDevice &device);

} // namespace gentlctl
