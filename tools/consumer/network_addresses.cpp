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

} // namespace

std::map<std::string, NetworkAddress> NetworkAddresses(const Features &interface, size_t devices)
{
    std::map<std::string, NetworkAddress> addresses;
    if (!interface.Has("DeviceSelector") || !interface.Has("GevDeviceIPAddress"))
    {
        return addresses;
    }
    for (size_t i = 0; i < devices; ++i)
    {
        const auto select = [&]
        {
            interface.Set("DeviceSelector", std::to_string(i));
            return AddressIn(interface, "DeviceID");
        };
        if (const auto id = Try(select).value_or(""); !id.empty())
        {
            addresses[id] = {AddressIn(interface, "GevDeviceIPAddress"),
                             AddressIn(interface, "GevDeviceMACAddress")};
        }
    }
    return addresses;
}

} // namespace gentlctl
