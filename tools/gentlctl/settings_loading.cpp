#include "gentlctl/settings_loading.h"

#include "gentlctl/standard_output.h"

#include <fmt/format.h>

#include <stdexcept>

namespace gentlctl
{

LoadedDevice LoadSettingsFile(OpenDevice &device, const std::string &file)
{
    auto loaded = LoadSettings(device, ReadSettingsFile(file == "-" ? "/dev/stdin" : file));
    if (!loaded.warning.empty())
    {
        Complain(loaded.warning);
    }
    for (const auto &failure : loaded.failures)
    {
        Complain(failure);
    }
    return loaded;
}

void RequireSettingsFile(OpenDevice &device, const std::string &file)
{
    const auto failures = file.empty() ? 0 : LoadSettingsFile(device, file).failures.size();
    if (failures != 0)
    {
        throw std::runtime_error(
            fmt::format("{} of the settings in {} cannot be set. Remove {} from the file, or "
                        "correct the value",
                        failures, file, failures == 1 ? "its line" : "their lines"));
    }
}

} // namespace gentlctl
