#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/ipv4_address.h"
#include "consumer/producer.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/network_settings.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

/// An option that says what to set.
struct NetworkOption
{
    const char *name;
    const char *description;
    const char *ofCamera;    ///< the feature that `set` writes
    const char *ofInterface; ///< the feature that `force` writes; null where there is none
};

constexpr std::array<NetworkOption, 6> networkOptions = {{
    {"--ip", "Address", "GevPersistentIPAddress", "GevDeviceForceIPAddress"},
    {"--mask", "Subnet mask", "GevPersistentSubnetMask", "GevDeviceForceSubnetMask"},
    {"--gateway", "Gateway; 0.0.0.0 for none, which is the default of force", "GevPersistentDefaultGateway",
     "GevDeviceForceGateway"},
    {"--persistent", "Whether the camera takes its persistent address when it starts",
     "GevCurrentIPConfigurationPersistentIP", nullptr},
    {"--dhcp", "Whether it asks for an address by DHCP", "GevCurrentIPConfigurationDHCP", nullptr},
    {"--link-local", "Whether it gives itself a link-local address", "GevCurrentIPConfigurationLLA", nullptr},
}};

struct NetworkCommand
{
    std::string action = "show";
    std::array<std::string, networkOptions.size()> values; ///< of the options; empty: not given
};

CLI::Validator DottedQuad()
{
    return {[](const std::string &text) {
                return ParseIpv4(text) ? std::string()
                                       : fmt::format("\"{}\" is no address, as in 192.168.10.21", text);
            },
            ""};
}

/// The options of an action as assignments to the features of this kind.
std::vector<std::string> AssignmentsOf(const NetworkCommand &network, const char *NetworkOption::*feature)
{
    std::vector<std::string> assignments;
    for (size_t i = 0; i < networkOptions.size(); ++i)
    {
        const auto *const name = networkOptions[i].*feature;
        const auto &value = network.values[i];
        if (value.empty())
        {
            continue;
        }
        if (name == nullptr)
        {
            throw CLI::ValidationError(networkOptions[i].name, "force gives an address alone");
        }
        assignments.push_back(fmt::format("{}={}", name,
                                          value == "on"    ? "true"
                                          : value == "off" ? "false"
                                                           : value));
    }
    return assignments;
}

/// Prints the settings, and says on standard error which features are missing.
int ShowNetwork(const OpenDevice &device, const Features &remote, bool asJson)
{
    const auto settings = NetworkSettingsOf(remote);
    auto known = Json::object();
    std::vector<std::string> missing;
    for (const auto &[member, feature] : NetworkSettings())
    {
        if (settings[member].is_object())
        {
            missing.emplace_back(feature);
        }
        else
        {
            known[member] = settings[member];
        }
    }
    asJson ? PrintJson(settings) : PrintTable(known, "");
    if (!missing.empty())
    {
        Complain(fmt::format("{} ({}) lacks the features {}", device.Entry().id, device.Entry().model,
                             fmt::join(missing, ", ")));
    }
    return missing.empty() ? success : failed;
}

int SetNetwork(const CommonOptions &options, const NetworkCommand &network)
{
    const auto assignments = AssignmentsOf(network, &NetworkOption::ofCamera);
    if (network.action == "set" && assignments.empty())
    {
        throw CLI::ValidationError("set", "it needs an option that says what to set");
    }
    if (network.action == "show" && !assignments.empty())
    {
        throw CLI::ValidationError("show", "it sets nothing; write set or force in front of the options");
    }
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    ApplyNetwork(remote, fmt::format("{} ({})", device.Entry().id, device.Entry().model), assignments);
    return ShowNetwork(device, remote, options.json);
}

int ForceNetwork(const CommonOptions &options, const NetworkCommand &given)
{
    auto network = given;
    auto &[ip, mask, gateway, persistent, dhcp, linkLocal] = network.values;
    if (options.device.empty() || ip.empty() || mask.empty())
    {
        throw CLI::ValidationError("force", "it needs --device, --ip and --mask");
    }
    gateway = gateway.empty() ? "0.0.0.0" : gateway;
    const auto assignments = AssignmentsOf(network, &NetworkOption::ofInterface);
    Producer producer(options.producer);
    const auto device = ForceAddress(producer, options.device, assignments);
    if (options.json)
    {
        PrintJson({{"device", device}, {"ipAddress", ip}, {"subnetMask", mask}, {"gateway", gateway}});
    }
    else
    {
        Print("{} was told to take {}, mask {}, gateway {}, until it restarts\n", device, ip, mask, gateway);
    }
    return success;
}

} // namespace

void DeclareNetwork(Commands &commands)
{
    const auto network = std::make_shared<NetworkCommand>();
    auto &command =
        commands.Add("network", "Show or set the network settings of a camera",
                     [network](const CommonOptions &options)
                     { return (network->action == "force" ? ForceNetwork : SetNetwork)(options, *network); });
    command.add_option("action", network->action, "What to do")
        ->check(CLI::IsMember({"show", "set", "force"}))
        ->capture_default_str();
    for (size_t i = 0; i < networkOptions.size(); ++i)
    {
        const auto &option = networkOptions[i];
        auto *const added = command.add_option(option.name, network->values[i], option.description);
        option.ofInterface != nullptr ? added->type_name("ADDRESS")->check(DottedQuad())
                                      : added->check(CLI::IsMember({"on", "off"}));
    }
    command.footer(
        "A set writes the settings that the camera keeps, which it follows when it starts next. A force "
        "gives it an\naddress at once, also where it cannot be opened because its address does not fit.\n\n"
        "  gentlctl network -d CAMERA\n"
        "  gentlctl network set -d CAMERA --ip 192.168.10.50 --mask 255.255.255.0 --persistent on\n"
        "  gentlctl network force -d CAMERA --ip 192.168.10.50 --mask 255.255.255.0");
}

} // namespace gentlctl
