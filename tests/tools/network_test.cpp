// The network settings of cameras.

#include "consumer/features.h"
#include "consumer/ipv4_address.h"
#include "consumer/modules.h"
#include "consumer/network_addresses.h"
#include "gentlctl/network_settings.h"
#include "gentlctl_run.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

using gentlctl_run::Run;

const std::string anyProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
const std::string simulator = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";

Run Network(const std::string &arguments, const std::string &redirection = "2>&1")
{
    return gentlctl_run::Gentlctl("network --producer " + anyProducer + " " + arguments, redirection,
                                  "QVR_SIM_WIDE=1 ");
}

TEST(Ipv4Address, IsADottedQuad)
{
    EXPECT_EQ(Ipv4Text(0xC0A80A15), "192.168.10.21");
    EXPECT_EQ(ParseIpv4("192.168.10.21"), 0xC0A80A15);
    EXPECT_EQ(ParseIpv4("255.255.255.255"), 0xFFFFFFFF);
    for (const auto *text :
         {"", "192", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1.2.3.x", "0xC0A80A15", " 1.2.3.4"})
    {
        EXPECT_FALSE(ParseIpv4(text)) << text;
    }
}

TEST(Network, ShowsTheSettingsOfACamera)
{
    const auto run = Network("-d WIDE-G2");
    EXPECT_EQ(run.output, "ipAddress             192.168.12.21\n"
                          "subnetMask            255.255.255.0\n"
                          "gateway               0.0.0.0\n"
                          "persistent            false\n"
                          "dhcp                  true\n"
                          "linkLocal             true\n"
                          "persistentIpAddress   0.0.0.0\n"
                          "persistentSubnetMask  0.0.0.0\n"
                          "persistentGateway     0.0.0.0\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(Network("show -d WIDE-G2").output, run.output);
}

TEST(Network, SetsWhatIsNamedAndLeavesTheRest)
{
    const auto run = Network("set -d WIDE-G2 --json --persistent on --dhcp off --ip 10.0.1.2 "
                             "--mask 255.255.0.0 --gateway 10.0.0.1");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(Json::parse(run.output, nullptr, false), (Json{{"ipAddress", "192.168.12.21"},
                                                             {"subnetMask", "255.255.255.0"},
                                                             {"gateway", "0.0.0.0"},
                                                             {"persistent", true},
                                                             {"dhcp", false},
                                                             {"linkLocal", true},
                                                             {"persistentIpAddress", "10.0.1.2"},
                                                             {"persistentSubnetMask", "255.255.0.0"},
                                                             {"persistentGateway", "10.0.0.1"}}))
        << run.output;
    const auto mask = Json::parse(Network("set -d WIDE-G2 --json --mask 255.0.0.0").output, nullptr, false);
    EXPECT_EQ(mask["persistentSubnetMask"], "255.0.0.0");
    EXPECT_EQ(mask["persistentIpAddress"], "0.0.0.0");
    EXPECT_EQ(mask["dhcp"], true);
}

TEST(Network, SaysWhyACameraRefuses)
{
    const auto run = Network("set -d WIDE-G2 --link-local off");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output.find("gentlctl: Cannot set GevCurrentIPConfigurationLLA to \"false\": "), 0U)
        << run.output;
    EXPECT_NE(run.output.find("The camera always has the link-local address"), std::string::npos)
        << run.output;
}

TEST(Network, NamesTheFeaturesThatAreMissing)
{
    const auto shown = Network("-d OVRA-M1");
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.output,
              "gentlctl: SIM-SIM0002 (OVRA-M1) lacks the features GevCurrentIPAddress, GevCurrentSubnetMask, "
              "GevCurrentDefaultGateway, GevCurrentIPConfigurationPersistentIP, "
              "GevCurrentIPConfigurationDHCP, GevCurrentIPConfigurationLLA, GevPersistentIPAddress, "
              "GevPersistentSubnetMask, GevPersistentDefaultGateway\n");
    const auto set = Network("set -d OVRA-M1 --ip 10.0.1.2 --dhcp off");
    EXPECT_EQ(set.status, 1);
    EXPECT_EQ(set.output, "gentlctl: SIM-SIM0002 (OVRA-M1) lacks the features GevPersistentIPAddress, "
                          "GevCurrentIPConfigurationDHCP\n");
    const auto json = Json::parse(Network("-d OVRA-M1 --json", "2> /dev/null").output, nullptr, false);
    EXPECT_TRUE(json["ipAddress"].contains("error")) << json;
    const auto usb = Network("force -d WIDE-U1 --ip 10.0.1.2 --mask 255.0.0.0");
    EXPECT_EQ(usb.status, 1);
    EXPECT_EQ(usb.output, "gentlctl: The interface SIM-WIDE-USB lacks the features GevDeviceForceIPAddress, "
                          "GevDeviceForceSubnetMask, GevDeviceForceGateway, GevDeviceForceIP\n");
}

TEST(Network, SaysWhichAddressACameraWasToldToTake)
{
    const auto run = Network("force -d SIM0005 --ip 192.168.11.77 --mask 255.255.255.0");
    EXPECT_EQ(run.output, "SIM-SIM0005 was told to take 192.168.11.77, mask 255.255.255.0, gateway 0.0.0.0, "
                          "until it restarts\n");
    EXPECT_EQ(run.status, 0);
    const auto json =
        Network("force --json -d SIM0005 --ip 192.168.11.77 --mask 255.255.255.0 --gateway 192.168.11.1");
    EXPECT_EQ(Json::parse(json.output, nullptr, false), (Json{{"device", "SIM-SIM0005"},
                                                              {"ipAddress", "192.168.11.77"},
                                                              {"subnetMask", "255.255.255.0"},
                                                              {"gateway", "192.168.11.1"}}));
}

TEST(Network, ForcesTheAddressOfTheNamedCameraAlone)
{
    const GenTL::internal::EnvironmentVariable wide("QVR_SIM_WIDE", "1");
    Producer producer(simulator);
    EXPECT_EQ(ForceAddress(producer, "WIDE-G2",
                           {"GevDeviceForceIPAddress=10.0.1.2", "GevDeviceForceSubnetMask=255.0.0.0",
                            "GevDeviceForceGateway=10.0.0.1"}),
              "SIM-SIM0008");
    ForceAddress(producer, "OVRA-S2", {"GevDeviceForceIPAddress=10.0.1.3"});
    Modules modules(producer, "OVRA-S2");
    const auto addresses = NetworkAddresses(Features(modules.PortOf("interface")), 5);
    EXPECT_EQ(addresses.at("SIM-SIM0005").ip, "10.0.1.3");
    EXPECT_EQ(addresses.at("SIM-SIM0002").ip, "192.168.11.21");
    EXPECT_EQ(addresses.at("SIM-SIM0007").ip, "192.168.11.25");

    OpenDevice device(producer, "WIDE-G2");
    const auto settings = NetworkSettingsOf(Features(device.PortOf("remote")));
    EXPECT_EQ(settings["ipAddress"], "10.0.1.2");
    EXPECT_EQ(settings["subnetMask"], "255.0.0.0");
    EXPECT_EQ(settings["gateway"], "10.0.0.1");
    EXPECT_THROW(ForceAddress(producer, "WIDE-G2", {"GevDeviceForceIPAddress=10.0.1.4"}), std::runtime_error);
}

TEST(Network, RefusesWrongUsage)
{
    for (const auto *line :
         {"set -d WIDE-G2", "show -d WIDE-G2 --ip 1.2.3.4", "-d WIDE-G2 --dhcp on", "set --ip 1.2.3",
          "set --dhcp yes", "force -d WIDE-G2 --ip 1.2.3.4", "force --ip 1.2.3.4 --mask 255.0.0.0",
          "force -d WIDE-G2 --ip 1.2.3.4 --mask 255.0.0.0 --dhcp on", "reset"})
    {
        EXPECT_EQ(Network(line).status, 2) << line;
    }
}

TEST(Set, TakesAddressesAsTheyAreShown)
{
    const auto run = gentlctl_run::Gentlctl("get --producer " + anyProducer +
                                                " -d WIDE-G2 -s GevPersistentIPAddress=10.0.1.2 "
                                                "GevPersistentIPAddress",
                                            "2>&1", "QVR_SIM_WIDE=1 ");
    EXPECT_EQ(run.output, "GevPersistentIPAddress  10.0.1.2\n");
}

} // namespace
} // namespace gentlctl
