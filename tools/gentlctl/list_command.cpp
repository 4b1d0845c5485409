#include "gentlctl/commands.h"

#include "consumer/access_status.h"
#include "consumer/device_choice.h"
#include "consumer/features.h"
#include "consumer/json.h"
#include "consumer/network_addresses.h"
#include "consumer/producer.h"
#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct ListOptions
{
    bool all = false; ///< list the devices of all producers
};

/// A producer's interfaces, and where their devices are.
struct Listing
{
    std::vector<InterfaceEntry> interfaces;
    std::map<std::string, NetworkAddress> addresses; ///< by the ids of devices
};

/// The addresses of an interface's devices; none when its features cannot be read.
std::map<std::string, NetworkAddress> AddressesOn(Producer &producer, const InterfaceEntry &interface)
{
    const auto read = [&]
    {
        const Features features(std::make_shared<Port>(
            producer.Shared(), producer.OpenInterface(interface.id), GenTL::internal::ModuleType::Interface));
        return NetworkAddresses(features, interface.devices.size());
    };
    return GenTL::internal::utils::Try(read).value_or(std::map<std::string, NetworkAddress>());
}

Listing ListingOf(const std::string &file)
{
    Producer producer(file);
    Listing listing{producer.Enumerate(), {}};
    for (const auto &interface : listing.interfaces)
    {
        listing.addresses.merge(AddressesOn(producer, interface));
    }
    return listing;
}

std::vector<DeviceEntry> DevicesOf(const Listing &listing)
{
    std::vector<DeviceEntry> devices;
    for (const auto &interface : listing.interfaces)
    {
        devices.insert(devices.end(), interface.devices.begin(), interface.devices.end());
    }
    return devices;
}

/// The devices of this name alone, and their interfaces; everything without a name.
Listing Only(const std::string &name, Listing listing)
{
    if (name.empty())
    {
        return listing;
    }
    const auto named = DevicesNamed(DevicesOf(listing), name);
    for (auto &interface : listing.interfaces)
    {
        std::erase_if(interface.devices, [&](const DeviceEntry &device)
                      { return std::ranges::find(named, device.id, &DeviceEntry::id) == named.end(); });
    }
    std::erase_if(listing.interfaces,
                  [](const InterfaceEntry &interface) { return interface.devices.empty(); });
    return listing;
}

Json ToJson(const DeviceEntry &device, const Listing &listing)
{
    Json json{{"id", device.id},
              {"vendor", device.vendor},
              {"model", device.model},
              {"serialNumber", device.serialNumber},
              {"userName", device.userName},
              {"accessStatus", AccessStatusName(device.accessStatus)},
              {"reason", AccessStatusReason(device.accessStatus)}};
    if (const auto address = listing.addresses.find(device.id); address != listing.addresses.end())
    {
        json["ipAddress"] = address->second.ip;
        json["macAddress"] = address->second.mac;
    }
    return json;
}

Json ToJson(const Listing &listing)
{
    auto json = Json::array();
    for (const auto &interface : listing.interfaces)
    {
        auto devices = Json::array();
        for (const auto &device : interface.devices)
        {
            devices.push_back(ToJson(device, listing));
        }
        json.push_back({{"id", interface.id},
                        {"displayName", interface.displayName},
                        {"tlType", interface.tlType},
                        {"devices", devices}});
    }
    return json;
}

/// The end of a device's line: its addresses.
std::string AddressText(const Listing &listing, const std::string &device)
{
    const auto address = listing.addresses.find(device);
    return address == listing.addresses.end()
               ? std::string()
               : fmt::format("  {}  {}", address->second.ip, address->second.mac);
}

void PrintListing(const Listing &listing)
{
    for (const auto &interface : listing.interfaces)
    {
        Print("{}  {}  [{}]\n", interface.id, interface.displayName, interface.tlType);
        for (const auto &device : interface.devices)
        {
            const auto reason = AccessStatusReason(device.accessStatus);
            Print("    {}  {} {}{}  serial {}  {}{}{}{}\n", device.id, device.vendor, device.model,
                  device.userName.empty() ? "" : fmt::format(" \"{}\"", device.userName), device.serialNumber,
                  AccessStatusName(device.accessStatus), reason.empty() ? "" : ": ", reason,
                  AddressText(listing, device.id));
        }
    }
}

int ListOne(const CommonOptions &options)
{
    const auto all = ListingOf(ProducerFor(options.producer));
    const auto listing = Only(options.device, all);
    if (!options.device.empty() && listing.interfaces.empty())
    {
        throw std::runtime_error(WithoutDevice(DevicesOf(all), options.device));
    }
    options.json ? PrintJson(ToJson(listing)) : PrintListing(listing);
    return success;
}

/// The devices of each producer. One that fails does not keep the others from being listed.
int ListAll(const CommonOptions &options)
{
    auto json = Json::array();
    int status = success;
    bool isFound = false;
    for (const auto &file : KnownProducers())
    {
        json.push_back({{"producer", file}});
        try
        {
            const auto listing = Only(options.device, ListingOf(file));
            const bool hasAny = options.device.empty() || !listing.interfaces.empty();
            isFound = isFound || hasAny;
            json.back()["interfaces"] = ToJson(listing);
            if (!options.json && hasAny)
            {
                Print("{}\n", file);
                PrintListing(listing);
            }
        }
        catch (const std::exception &exception)
        {
            json.back()["error"] = exception.what();
            Complain(fmt::format("{}: {}", file, exception.what()));
            status = failed;
        }
    }
    if (options.json)
    {
        PrintJson(json);
    }
    if (!isFound && !options.device.empty())
    {
        throw std::runtime_error(fmt::format(
            "No producer lists a device \"{}\"; `gentlctl list --all` shows all", options.device));
    }
    return status;
}

} // namespace

void DeclareList(Commands &commands)
{
    const auto list = std::make_shared<ListOptions>();
    auto &command = commands.AddWithoutProducer(
        "list", "List interfaces and devices, with access status and why a device cannot be opened",
        [list](const CommonOptions &options) { return list->all ? ListAll(options) : ListOne(options); });
    command.add_flag("-a,--all", list->all,
                     "List the devices of all producers in GENICAM_GENTL64_PATH and of the one that belongs "
                     "to this program");
}

} // namespace gentlctl
