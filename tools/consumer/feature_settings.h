#pragma once

#include "consumer/setting.h"

#include <cstddef>
#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// A setting that could not be read or written.
struct SettingFailure
{
    Setting setting;     ///< the wanted one
    std::string present; ///< the value that the feature has instead; empty when it cannot be read
    std::string reason;
};

struct SavedSettings
{
    std::vector<Setting> settings;
    std::vector<SettingFailure> failures; ///< settings that could not be read
};

struct LoadedSettings
{
    size_t right = 0;                     ///< settings that have the wanted value, written or not
    std::vector<SettingFailure> failures; ///< the others
};

/// The settings of a module: the values of SettingPlacesOf that can be read and written now, each selected
/// feature for all values of its selectors. The selectors are left as they were.
SavedSettings SaveSettings(const Features &features);

/// Writes the settings that differ from the present values, again and again while that changes anything: a
/// limit may depend on a setting that comes later, and a write may change other settings. Compares all values
/// at the end. The selectors are left as they were.
LoadedSettings LoadSettings(const Features &features, const std::vector<Setting> &settings);

} // namespace gentlctl
