#pragma once

#include "consumer/setting.h"

#include <filesystem>
#include <string>
#include <vector>

namespace gentlctl
{

/// The settings of a module of a device.
struct ModuleSettings
{
    std::string module; ///< as for OpenDevice::PortOf
    std::vector<Setting> settings;
};

/// What a file of settings holds: of which device they are, as far as it says so, and the settings of its
/// modules.
struct SettingsFile
{
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::vector<ModuleSettings> modules;
};

/// The content of a file as YAML, one line for each setting.
std::string SettingsText(const SettingsFile &content);

/// @throws std::runtime_error the file cannot be read, or is no file of settings; the message names the line
SettingsFile ReadSettingsFile(const std::filesystem::path &file);

} // namespace gentlctl
