#include "gentlctl/device_settings.h"

#include "consumer/device.h"
#include "consumer/features.h"

#include <fmt/format.h>

namespace gentlctl
{
namespace
{

/// "ExposureTime: should be 9, is 10: read only".
std::string InWords(const SettingFailure &failure)
{
    const auto &[setting, present, reason] = failure;
    const auto values = setting.value.empty() && present.empty() ? ""
                        : present.empty()
                            ? fmt::format(" should be \"{}\"", setting.value)
                            : fmt::format(" should be \"{}\" and is \"{}\"", setting.value, present);
    return fmt::format("{}{}: {}", KeyOf(setting), values, reason);
}

/// What a file does not say differs from nothing.
bool Differs(const std::string &inFile, const std::string &ofDevice)
{
    return !inFile.empty() && inFile != ofDevice;
}

} // namespace

SavedDevice SaveSettings(OpenDevice &device, const std::vector<std::string> &modules)
{
    const auto &entry = device.Entry();
    SavedDevice saved{{entry.vendor, entry.model, entry.serialNumber, {}}, {}};
    for (const auto &module : modules)
    {
        auto [settings, failures] = SaveSettings(Features(device.PortOf(module)));
        saved.content.modules.push_back({module, std::move(settings)});
        for (const auto &failure : failures)
        {
            saved.failures.push_back(InWords(failure));
        }
    }
    return saved;
}

LoadedDevice LoadSettings(OpenDevice &device, const SettingsFile &content)
{
    LoadedDevice loaded;
    const auto &entry = device.Entry();
    if (Differs(content.vendor, entry.vendor) || Differs(content.model, entry.model))
    {
        const auto *const space = content.vendor.empty() || content.model.empty() ? "" : " ";
        loaded.warning = fmt::format("The settings are of a {}{}{}, and the device is a {} {}",
                                     content.vendor, space, content.model, entry.vendor, entry.model);
    }
    for (const auto &[module, settings] : content.modules)
    {
        const auto result = LoadSettings(Features(device.PortOf(module)), settings);
        loaded.right += result.right;
        for (const auto &failure : result.failures)
        {
            loaded.failures.push_back(InWords(failure));
        }
    }
    return loaded;
}

} // namespace gentlctl
