#include "gentlctl/commands.h"

#include "consumer/access_status.h"
#include "consumer/json.h"
#include "consumer/producer.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <vector>

namespace gentlctl
{
namespace
{

Json ToJson(const DeviceEntry &device)
{
    return {{"id", device.id},
            {"vendor", device.vendor},
            {"model", device.model},
            {"serialNumber", device.serialNumber},
            {"userName", device.userName},
            {"accessStatus", AccessStatusName(device.accessStatus)},
            {"reason", AccessStatusReason(device.accessStatus)}};
}

Json ToJson(const InterfaceEntry &interface)
{
    auto devices = Json::array();
    for (const auto &device : interface.devices)
    {
        devices.push_back(ToJson(device));
    }
    return {{"id", interface.id},
            {"displayName", interface.displayName},
            {"tlType", interface.tlType},
            {"devices", devices}};
}

void PrintInterfaces(const std::vector<InterfaceEntry> &interfaces)
{
    for (const auto &interface : interfaces)
    {
        Print("{}  {}  [{}]\n", interface.id, interface.displayName, interface.tlType);
        for (const auto &device : interface.devices)
        {
            const auto reason = AccessStatusReason(device.accessStatus);
            Print("    {}  {} {}  serial {}  {}{}{}\n", device.id, device.vendor, device.model,
                  device.serialNumber, AccessStatusName(device.accessStatus), reason.empty() ? "" : ": ",
                  reason);
        }
    }
}

int List(const CommonOptions &options)
{
    Producer producer(options.producer);
    const auto interfaces = producer.Enumerate();
    if (options.json)
    {
        auto json = Json::array();
        for (const auto &interface : interfaces)
        {
            json.push_back(ToJson(interface));
        }
        PrintJson(json);
        return success;
    }
    PrintInterfaces(interfaces);
    return success;
}

} // namespace

void DeclareList(Commands &commands)
{
    commands.Add("list", "List interfaces and devices, with access status and why a device cannot be opened",
                 List);
}

} // namespace gentlctl
