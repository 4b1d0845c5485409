// USB, network, limits and processor, as the kernel tells them.
//
// What most machines are set to, and what only some cameras need otherwise, is advice: an ordinary machine is
// not to look broken.

#include "consumer/folder.h"
#include "doctor/doctor.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;

constexpr auto usbArea = "USB";
constexpr auto networkArea = "network";
constexpr auto limitsArea = "limits";
constexpr auto processorArea = "processor";

constexpr uint64_t enoughUsbMegabytes = 128;
constexpr uint64_t enoughReceiveBytes = 8U << 20U;
constexpr uint64_t jumboBytes = 8000;
constexpr uint64_t gigabit = 1000;
constexpr uint64_t enoughLockedBytes = 64U << 20U;
constexpr unsigned capNetRaw = 13;

std::optional<uint64_t> NumberIn(std::string_view text, int base = 10)
{
    uint64_t number = 0;
    const auto error = std::from_chars(text.data(), text.data() + text.size(), number, base).ec;
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

std::vector<std::string> NamesIn(const fs::path &folder)
{
    std::vector<std::string> names;
    for (const auto &entry : EntriesIn(folder))
    {
        names.push_back(entry.filename().string());
    }
    return names;
}

/// The folders of the USB3 Vision cameras below `sys`. A camera has several interfaces, each a folder.
std::set<std::string> UsbCameras(const Surroundings &surroundings)
{
    const fs::path devices = "sys/bus/usb/devices";
    std::set<std::string> cameras;
    for (const auto &name : NamesIn(surroundings.root / devices))
    {
        const bool isCamera = surroundings.Line(devices / name / "bInterfaceClass") == "ef" &&
                              surroundings.Line(devices / name / "bInterfaceSubClass") == "05";
        if (isCamera)
        {
            cameras.insert((devices / name.substr(0, name.find(':'))).string());
        }
    }
    return cameras;
}

Finding ProbeUsbCamera(const Surroundings &surroundings, const fs::path &camera)
{
    const auto number = [&](const char *file)
    { return NumberIn(surroundings.Line(camera / file)).value_or(0); };
    const auto vendor = surroundings.Line(camera / "idVendor");
    const auto node = fmt::format("dev/bus/usb/{:03}/{:03}", number("busnum"), number("devnum"));
    const auto file = surroundings.root / node;
    std::error_code ignored;
    Finding finding{Level::Fine, usbArea,
                    "/" + node,  fmt::format("{} can be opened", surroundings.Line(camera / "product")),
                    "",          ""};
    if (!fs::exists(file, ignored))
    {
        finding.level = Level::Broken;
        finding.text = "the camera is there and its node is not";
        finding.cure = "in a container: start it with --device /dev/bus/usb";
    }
    else if (!surroundings.isWritable(file))
    {
        finding.level = Level::Broken;
        finding.text = "this user may not open the camera";
        finding.cure =
            fmt::format("as root: echo 'SUBSYSTEM==\"usb\", ATTR{{idVendor}}==\"{}\", MODE=\"0666\"' > "
                        "/etc/udev/rules.d/70-camera.rules && udevadm control --reload && udevadm trigger",
                        vendor);
    }
    return finding;
}

Finding ProbeUsbMemory(const Surroundings &surroundings)
{
    const fs::path file = "sys/module/usbcore/parameters/usbfs_memory_mb";
    const auto megabytes = NumberIn(surroundings.Line(file)).value_or(0);
    // 0 is no limit.
    if (megabytes == 0 || megabytes >= enoughUsbMegabytes)
    {
        return {Level::Fine, usbArea, "usbfs_memory_mb", "is enough for transfers of images", "", ""};
    }
    return {Level::WillHurt,
            usbArea,
            "usbfs_memory_mb",
            fmt::format("{} MB for all USB cameras together: large images do not come", megabytes),
            "",
            "as root: echo 1000 > /sys/module/usbcore/parameters/usbfs_memory_mb; for good: "
            "usbcore.usbfs_memory_mb="
            "1000 on the kernel's command line"};
}

/// Network adapters with a cable that carries something.
std::vector<std::string> WiredAdapters(const Surroundings &surroundings)
{
    const fs::path net = "sys/class/net";
    std::vector<std::string> adapters;
    std::error_code ignored;
    for (const auto &name : NamesIn(surroundings.root / net))
    {
        constexpr auto ethernet = "1";
        const bool isWired = surroundings.Line(net / name / "type") == ethernet &&
                             surroundings.Line(net / name / "operstate") == "up" &&
                             !fs::exists(surroundings.root / net / name / "wireless", ignored) &&
                             !fs::exists(surroundings.root / net / name / "bridge", ignored);
        if (isWired)
        {
            adapters.push_back(name);
        }
    }
    return adapters;
}

void ProbeAdapter(const Surroundings &surroundings, const std::string &name, Findings &findings)
{
    const auto folder = fs::path("sys/class/net") / name;
    const auto packet = NumberIn(surroundings.Line(folder / "mtu")).value_or(0);
    const auto speed = NumberIn(surroundings.Line(folder / "speed"));
    const bool isLarge = packet >= jumboBytes;
    findings.push_back(
        {isLarge ? Level::Fine : Level::Advice, networkArea, name, fmt::format("packets of {} bytes", packet),
         isLarge ? "" : "GigE Vision cameras at full rate: six times as many packets, and frames get lost",
         isLarge ? ""
                 : fmt::format(
                       "as root: ip link set dev {} mtu 9000, if camera and switch can do it; then set the "
                       "camera's GevSCPSPacketSize",
                       name)});
    if (speed && *speed < gigabit)
    {
        findings.push_back({Level::WillHurt, networkArea, name, fmt::format("runs at {} Mbit/s", *speed),
                            "GigE Vision cameras, which need 1000",
                            "change the cable or the switch: all eight wires are needed for a gigabit"});
    }
}

Finding ProbeReceiveBuffers(const Surroundings &surroundings)
{
    const auto bytes = NumberIn(surroundings.Line("proc/sys/net/core/rmem_max"));
    if (!bytes || *bytes >= enoughReceiveBytes)
    {
        return {Level::Fine,
                networkArea,
                "net.core.rmem_max",
                bytes ? fmt::format("{} bytes", *bytes) : "is not told here",
                "",
                ""};
    }
    return {Level::Advice,
            networkArea,
            "net.core.rmem_max",
            fmt::format("a receive buffer has {} bytes at most", *bytes),
            "GigE Vision cameras: frames get lost while the consumer is busy",
            "as root: sysctl -w net.core.rmem_max=33554432; for good: the same line in "
            "/etc/sysctl.d/60-camera.conf"};
}

/// The soft limit in a line of `limits`; nothing when it is unlimited or not told.
std::optional<uint64_t> SoftLimit(const Surroundings &surroundings, std::string_view name)
{
    return NumberIn(surroundings.Value("proc/self/limits", name));
}

/// The words of a line of the processor's description.
std::set<std::string> FlagsIn(const Surroundings &surroundings)
{
    std::string text;
    for (const auto *const key : {"flags", "Features"})
    {
        text += surroundings.Value("proc/cpuinfo", key) + " ";
    }
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

struct InstructionSet
{
    std::string_view name;
    std::array<const char *, 4> flags; ///< all of them; null for none
};

/// In the order in which they are preferred.
constexpr std::array<InstructionSet, 5> instructionSets{{
    {"AVX-512", {"avx512f", "avx512bw", "avx512dq", "avx512vl"}},
    {"AVX2", {"avx2", "fma", "bmi2", nullptr}},
    {"SSE4", {"sse4_1", "sse4_2", "ssse3", nullptr}},
    {"NEON", {"asimd", nullptr, nullptr, nullptr}},
    {"SSE2", {"sse2", nullptr, nullptr, nullptr}},
}};

} // namespace

Findings ProbeUsb(const Surroundings &surroundings)
{
    Findings findings;
    const auto cameras = UsbCameras(surroundings);
    for (const auto &camera : cameras)
    {
        findings.push_back(ProbeUsbCamera(surroundings, camera));
    }
    if (cameras.empty())
    {
        return {{Level::Fine, usbArea, "", "no USB3 Vision camera is connected", "", ""}};
    }
    findings.push_back(ProbeUsbMemory(surroundings));
    return findings;
}

Findings ProbeNetwork(const Surroundings &surroundings)
{
    Findings findings;
    const auto adapters = WiredAdapters(surroundings);
    for (const auto &name : adapters)
    {
        ProbeAdapter(surroundings, name, findings);
    }
    if (adapters.empty())
    {
        return {{Level::Fine, networkArea, "", "no wired network adapter is up", "", ""}};
    }
    findings.push_back(ProbeReceiveBuffers(surroundings));
    return findings;
}

Findings ProbeLimits(const Surroundings &surroundings)
{
    Findings findings;
    const auto add =
        [&](const char *what, bool isEnough, const char *text, const char *lack, const char *cure)
    {
        findings.push_back({isEnough ? Level::Fine : Level::Advice, limitsArea, what, isEnough ? text : lack,
                            "", isEnough ? "" : cure});
    };
    const auto priority = SoftLimit(surroundings, "Max realtime priority");
    add("real-time priority", !priority || *priority > 0, "threads may ask for one",
        "threads may not ask for one, which costs frames on a busy machine only",
        "if frames get lost under load: \"@video - rtprio 50\" in /etc/security/limits.d/camera.conf");
    const auto locked = SoftLimit(surroundings, "Max locked memory");
    add("locked memory", !locked || *locked >= enoughLockedBytes, "is enough for image buffers",
        "is less than image buffers take; only producers that lock their buffers need it",
        "if a producer asks for it: \"@video - memlock unlimited\" in /etc/security/limits.d/camera.conf");
    const auto capabilities = NumberIn(surroundings.Value("proc/self/status", "CapEff"), 16).value_or(0);
    add("raw sockets", ((capabilities >> capNetRaw) & 1U) != 0, "are allowed",
        "are not allowed; GigE Vision producers take UDP sockets then",
        "if a producer asks for it: setcap cap_net_raw+ep on the consumer's program");
    return findings;
}

Findings ProbeProcessor(const Surroundings &surroundings)
{
    const auto flags = FlagsIn(surroundings);
    for (const auto &[name, needed] : instructionSets)
    {
        if (std::ranges::any_of(needed,
                                [&](const char *flag) { return flag != nullptr && !flags.contains(flag); }))
        {
            continue;
        }
        const bool isFast = name != "SSE2" && name != "SSE4";
        return {{isFast ? Level::Fine : Level::WillHurt, processorArea, std::string(name),
                 "is the best that it offers to the vision library",
                 isFast ? "" : "high frame rates: conversions take two to four times as long",
                 isFast ? "" : "in a virtual machine: pass the host's processor on (cpu model \"host\")"}};
    }
    return {{Level::WillHurt, processorArea, "/proc/cpuinfo", "tells no instruction set that is known", "",
             "conversions run without vectors; is /proc mounted?"}};
}

} // namespace gentlctl
