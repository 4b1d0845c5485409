#pragma once

#include "consumer/feature_settings.h"
#include "gentlctl/settings_file.h"

#include <string>
#include <vector>

namespace gentlctl
{

class OpenDevice;

/// What was read of a device, and in words what could not be read.
struct SavedDevice
{
    SettingsFile content;
    std::vector<std::string> failures;
};

/// What became of the settings of a file.
struct LoadedDevice
{
    size_t right = 0;                  ///< settings that have the wanted value now
    std::vector<std::string> failures; ///< in words, a line for each other setting
    std::string warning;               ///< the file is of another kind of device; else empty
};

/// The settings of these modules.
/// @throws std::runtime_error a module cannot be opened or described
SavedDevice SaveSettings(OpenDevice &device, const std::vector<std::string> &modules);

/// @throws std::runtime_error a module cannot be opened or described
LoadedDevice LoadSettings(OpenDevice &device, const SettingsFile &content);

} // namespace gentlctl
