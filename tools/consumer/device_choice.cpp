#include "consumer/device_choice.h"

#include "consumer/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gentl/gentl.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

namespace
{

using Matches = bool (*)(const DeviceEntry &, const std::string &);

bool HasName(const DeviceEntry &device, const std::string &name)
{
    return name == device.model || name == device.serialNumber || name == device.userName;
}

bool HasNameInAnyCase(const DeviceEntry &device, const std::string &name)
{
    const auto wanted = Lowercase(name);
    return wanted == Lowercase(device.model) || wanted == Lowercase(device.serialNumber) ||
           wanted == Lowercase(device.userName);
}

/// From the strictest to the loosest.
constexpr Matches matches[] = {
    [](const DeviceEntry &device, const std::string &name) { return name == device.id; },
    HasName,
    [](const DeviceEntry &device, const std::string &name)
    { return Lowercase(name) == Lowercase(device.id); },
    HasNameInAnyCase,
};

std::string NamesOf(const std::vector<DeviceEntry> &devices)
{
    std::vector<std::string> names;
    std::ranges::transform(devices, std::back_inserter(names),
                           [](const DeviceEntry &device)
                           { return fmt::format("{} ({})", device.id, device.model); });
    return fmt::to_string(fmt::join(names, ", "));
}

/// Two interfaces may show one device.
bool AreOneDevice(const std::vector<DeviceEntry> &devices)
{
    return std::ranges::all_of(devices,
                               [&](const DeviceEntry &device) { return device.id == devices.front().id; });
}

DeviceEntry FirstThatOpens(const std::vector<DeviceEntry> &devices)
{
    const auto found = std::ranges::find(devices, DEVICE_ACCESS_STATUS_READWRITE, &DeviceEntry::accessStatus);
    if (found == devices.end())
    {
        throw std::runtime_error("No device can be opened; `gentlctl list` says why.");
    }
    return *found;
}

} // namespace

std::vector<DeviceEntry> DevicesNamed(const std::vector<DeviceEntry> &devices, const std::string &name)
{
    std::vector<DeviceEntry> found;
    for (auto match = std::begin(matches); found.empty() && match != std::end(matches); ++match)
    {
        std::ranges::copy_if(devices, std::back_inserter(found),
                             [&](const DeviceEntry &device) { return (*match)(device, name); });
    }
    return found;
}

std::string WithoutDevice(const std::vector<DeviceEntry> &devices, const std::string &name)
{
    return devices.empty() ? "The producer lists no device. Is a camera connected and powered?"
                           : fmt::format("There is no device \"{}\". Known: {}", name, NamesOf(devices));
}

DeviceEntry ChooseDevice(const std::vector<DeviceEntry> &devices, const std::string &selection)
{
    const auto found = selection.empty() ? devices : DevicesNamed(devices, selection);
    if (found.empty())
    {
        throw std::runtime_error(WithoutDevice(devices, selection));
    }
    if (selection.empty())
    {
        return FirstThatOpens(found);
    }
    if (!AreOneDevice(found))
    {
        throw std::runtime_error(
            fmt::format("Several devices are \"{}\": {}. Choose one by its id", selection, NamesOf(found)));
    }
    return found.front();
}

} // namespace gentlctl
