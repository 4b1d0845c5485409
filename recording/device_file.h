#pragma once

#include "recording/device_record.h"

#include <string>
#include <string_view>

namespace recording
{

/// The text of recording.json: the device without its description and the contents of its files, which are
/// files of the recording themselves.
std::string ToJson(const DeviceRecord &device);

/// @throws Error the text is no such file; the message says why
DeviceRecord DeviceFromJson(std::string_view text);

} // namespace recording
