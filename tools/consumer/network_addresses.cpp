#include "consumer/network_addresses.h"

#include "consumer/features.h"
#include "utils/try.h"

namespace gentlctl
{

using GenTL::internal::utils::Try;

namespace
{

/// The text of a feature; empty when it cannot be read, or is a number without the form of an address.
std::string AddressIn(const Features &features, const std::string &name)
{
    const auto value = Try([&] { return features.Get(name); });
    return value && value->is_string() ? value->get<std::string>() : std::string();
}

/// Selects a device of an interface, and returns its id; empty when that fails.
std::string SelectedDevice(const Features &interface, size_t index)
{
    const auto select = [&]
    {
        interface.Set("DeviceSelector", std::to_string(index));
        return AddressIn(interface, "DeviceID");
    };
    return Try(select).value_or("");
}

} // namespace

bool SelectDevice(const Features &interface, const std::string &id, size_t devices)
{
    size_t index = 0;
    while (index < devices && SelectedDevice(interface, index) != id)
    {
        ++index;
    }
    return index < devices;
}

std::map<std::string, NetworkAddress> NetworkAddresses(const Features &interface, size_t devices)
{
    std::map<std::string, NetworkAddress> addresses;
    if (!interface.Has("DeviceSelector") || !interface.Has("GevDeviceIPAddress"))
    {
        return addresses;
    }
    for (size_t i = 0; i < devices; ++i)
    {
        if (const auto id = SelectedDevice(interface, i); !id.empty())
        {
            addresses[id] = {AddressIn(interface, "GevDeviceIPAddress"),
                             AddressIn(interface, "GevDeviceMACAddress")};
        }
    }
    return addresses;
}

} // namespace gentlctl
