#include "machine.h"

namespace gentlctl
{
namespace
{

class MachineAilment : public testing::TestWithParam<Ailment>
{
};

TEST_P(MachineAilment, IsFoundWithTheRightCure)
{
    ExpectFound(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    OfUsb, MachineAilment,
    testing::Values(Ailment{"ForbiddenCamera", [](Machine &m) { m.unwritable.insert("005"); }, Level::Broken,
                            "USB", "/dev/bus/usb/002/005", "may not open",
                            "ATTR{idVendor}==\"1234\", MODE=\"0666\""},
                    Ailment{"CameraWithoutNode", [](Machine &m) { m.Remove("dev"); }, Level::Broken, "USB",
                            "/dev/bus/usb/002/005", "its node is not", "--device /dev/bus/usb"},
                    Ailment{"LittleMemory",
                            [](Machine &m)
                            { m.Write("sys/module/usbcore/parameters/usbfs_memory_mb", "16\n"); },
                            Level::WillHurt, "USB", "usbfs_memory_mb", "16 MB", "echo 1000 >"}),
    [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    OfTheNetwork, MachineAilment,
    testing::Values(Ailment{"SmallBuffers",
                            [](Machine &m) { m.Write("proc/sys/net/core/rmem_max", "212992\n"); },
                            Level::Advice, "network", "net.core.rmem_max", "212992 bytes",
                            "sysctl -w net.core.rmem_max="},
                    Ailment{"SmallPackets", [](Machine &m) { m.Write("sys/class/net/eth0/mtu", "1500\n"); },
                            Level::Advice, "network", "eth0", "packets of 1500 bytes",
                            "ip link set dev eth0 mtu 9000"},
                    Ailment{"SlowCable", [](Machine &m) { m.Write("sys/class/net/eth0/speed", "100\n"); },
                            Level::WillHurt, "network", "eth0", "100 Mbit/s", "change the cable"}),
    [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    OfTheProcessor, MachineAilment,
    testing::Values(Ailment{"WithoutWideVectors",
                            [](Machine &m) { m.Write("proc/cpuinfo", "flags : sse2 ssse3 sse4_1 sse4_2\n"); },
                            Level::WillHurt, "processor", "SSE4", "the best that it offers",
                            "host's processor"},
                    Ailment{"Untold", [](Machine &m) { m.Remove("proc/cpuinfo"); }, Level::WillHurt,
                            "processor", "/proc/cpuinfo", "no instruction set", "is /proc mounted?"}),
    [](const auto &row) { return row.param.name; });

/// The findings of a probe as text.
std::string TextOfProbe(Findings (*probe)(const Surroundings &), const Machine &machine)
{
    return ReportText(probe(machine.surroundings));
}

TEST(Adapters, ThatAreDownOrWirelessDoNotCount)
{
    Machine machine;
    for (const std::string name : {"eth1", "wlan0"})
    {
        machine.Write("sys/class/net/" + name + "/type", "1\n");
        machine.Write("sys/class/net/" + name + "/operstate", name == "eth1" ? "down\n" : "up\n");
        machine.Write("sys/class/net/" + name + "/mtu", "1500\n");
    }
    machine.Write("sys/class/net/wlan0/wireless/status", "");
    EXPECT_TRUE(Ills(machine).empty()) << ReportText(Ills(machine));
}

TEST(UsbMemory, IsOfNoInterestWithoutACamera)
{
    Machine machine;
    machine.Remove("sys/bus/usb");
    machine.Write("sys/module/usbcore/parameters/usbfs_memory_mb", "16\n");
    EXPECT_NE(TextOfProbe(ProbeUsb, machine).find("no USB3 Vision camera is connected"), std::string::npos);
    EXPECT_TRUE(Ills(machine).empty());
}

TEST(Limits, AreToldWithACureAndDoNotCount)
{
    Machine machine;
    machine.Write("proc/self/limits",
                  "Max locked memory         65536                65536                bytes\n"
                  "Max realtime priority     0                    0\n");
    machine.Write("proc/self/status", "CapEff:\t0000000000000000\n");
    const auto text = TextOfProbe(ProbeLimits, machine);
    for (const auto *const part : {"threads may not ask for one", "rtprio 50", "less than image buffers take",
                                   "memlock unlimited", "are not allowed", "setcap cap_net_raw"})
    {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    }
    EXPECT_EQ(WorstOf(Examine(machine.surroundings)), Level::Advice);
}

TEST(Processor, OfAnotherKindIsKnown)
{
    Machine machine;
    machine.Write("proc/cpuinfo", "Features\t: fp asimd evtstrm\n");
    EXPECT_NE(TextOfProbe(ProbeProcessor, machine).find("NEON"), std::string::npos);
}

} // namespace
} // namespace gentlctl
