#pragma once

#include "gentlctl/device_settings.h"

#include <string>

namespace gentlctl
{

/// Loads a file of settings into a device. Says on standard error what could not be set, and when the file is
/// of another model.
/// @throws std::runtime_error the file cannot be read
LoadedDevice LoadSettingsFile(OpenDevice &device, const std::string &file);

/// The same, for a command that needs all settings; does nothing when `file` is empty.
/// @throws std::runtime_error a setting could not be set
void RequireSettingsFile(OpenDevice &device, const std::string &file);

} // namespace gentlctl
