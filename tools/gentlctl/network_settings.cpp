#include "gentlctl/network_settings.h"

#include "consumer/features.h"
#include "consumer/ipv4_address.h"
#include "consumer/network_addresses.h"
#include "consumer/producer.h"
#include "gentlctl/assignments.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>

namespace gentlctl
{
namespace
{

constexpr NetworkSetting networkSettings[] = {
    {"ipAddress", "GevCurrentIPAddress"},
    {"subnetMask", "GevCurrentSubnetMask"},
    {"gateway", "GevCurrentDefaultGateway"},
    {"persistent", "GevCurrentIPConfigurationPersistentIP"},
    {"dhcp", "GevCurrentIPConfigurationDHCP"},
    {"linkLocal", "GevCurrentIPConfigurationLLA"},
    {"persistentIpAddress", "GevPersistentIPAddress"},
    {"persistentSubnetMask", "GevPersistentSubnetMask"},
    {"persistentGateway", "GevPersistentDefaultGateway"},
};

/// An address as text, where the description does not say that its number is one.
Json WithAddress(const Json &value)
{
    return value.is_number_integer() ? Json(Ipv4Text(value.get<uint64_t>())) : value;
}

/// How many devices an interface lists.
size_t DevicesOn(Producer &producer, const std::string &interfaceId)
{
    const auto interfaces = producer.Enumerate();
    const auto found = std::ranges::find(interfaces, interfaceId, &InterfaceEntry::id);
    return found == interfaces.end() ? 0 : found->devices.size();
}

} // namespace

std::span<const NetworkSetting> NetworkSettings()
{
    return networkSettings;
}

Json NetworkSettingsOf(const Features &remote)
{
    auto settings = Json::object();
    for (const auto &[member, feature] : networkSettings)
    {
        try
        {
            settings[member] = WithAddress(remote.Get(feature));
        }
        catch (const std::exception &exception)
        {
            settings[member] = {{"error", exception.what()}};
        }
    }
    return settings;
}

void ApplyNetwork(const Features &features, const std::string &owner,
                  const std::vector<std::string> &assignments)
{
    auto missing = NamesIn(assignments);
    std::erase_if(missing, [&](const std::string &name) { return features.Has(name); });
    if (!missing.empty())
    {
        throw std::runtime_error(fmt::format("{} lacks the features {}", owner, fmt::join(missing, ", ")));
    }
    Apply(features, assignments);
}

std::string ForceAddress(Producer &producer, const std::string &device, std::vector<std::string> assignments)
{
    const auto entry = producer.Choose(device);
    const auto devices = DevicesOn(producer, entry.interfaceId);
    const Features interface(std::make_shared<Port>(producer.Shared(),
                                                    producer.OpenInterface(entry.interfaceId),
                                                    GenTL::internal::ModuleType::Interface));
    if (!SelectDevice(interface, entry.id, devices))
    {
        throw std::runtime_error(fmt::format(
            "The interface {} has no DeviceSelector and DeviceID that find {}", entry.interfaceId, entry.id));
    }
    assignments.emplace_back("GevDeviceForceIP");
    ApplyNetwork(interface, "The interface " + entry.interfaceId, assignments);
    return entry.id;
}

} // namespace gentlctl
