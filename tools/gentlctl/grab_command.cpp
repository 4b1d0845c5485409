#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/failure_text.h"
#include "gentlctl/frame_destination.h"
#include "gentlctl/grab_arguments.h"
#include "gentlctl/grab_report.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/side_by_side.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

/// What to say of a grab that gave no complete frame and did not fail; null when it gave one.
std::exception_ptr NoCompleteFrame(const GrabReport &report)
{
    const auto &statistics = report.statistics;
    if (statistics.Delivered() == 0 && !report.isPipeClosed)
    {
        return std::make_exception_ptr(std::runtime_error("No frame came within --duration"));
    }
    if (statistics.Incomplete() == statistics.Delivered())
    {
        return std::make_exception_ptr(
            std::runtime_error("No frame is complete, so there is no picture. PROXY_TL_LOG_LEVEL=error in "
                               "the environment makes the proxy producer log why"));
    }
    return nullptr;
}

/// How much a program works: the seconds for which it used a processor, and those that passed.
struct Load
{
    double used = 0;
    double passed = 0;
};

/// Both since some moment in the past.
Load LoadSoFar()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return {static_cast<double>(std::clock()) / CLOCKS_PER_SEC, std::chrono::duration<double>(now).count()};
}

/// Prints what came from the devices.
void PrintGrabs(const std::vector<DeviceGrab> &grabs, const Load &load, bool asJson)
{
    auto devices = Json::array();
    for (const auto &grab : grabs)
    {
        devices.push_back(ToJson(grab));
    }
    const double percent = load.passed > 0 ? load.used / load.passed * 100 : 0;
    if (asJson)
    {
        auto json = grabs.size() == 1 ? devices[0] : Json{{"devices", devices}};
        json.update({{"processorSeconds", load.used}, {"processorPercent", percent}});
        return PrintJson(json);
    }
    for (const auto &grab : grabs)
    {
        PrintText(ToText(grab));
    }
    Print("CPU: {:.1f} s, {:.0f} % of one core\n", load.used, percent);
}

/// Says on standard error what is missing.
void ComplainOfMissing(const std::vector<DeviceGrab> &grabs, const GrabOptions &options, int signal)
{
    for (const auto &grab : grabs)
    {
        for (const auto &line : Complaints(grab.report, options, signal))
        {
            Complain(grabs.size() == 1 ? line : fmt::format("{}: {}", grab.device, line));
        }
    }
}

/// Returns whether a device failed. Says on standard error which devices gave nothing; those of several that
/// failed otherwise were told when they did.
/// @param signal that ended the grab, which may have given nothing then; 0 without
/// @throws the failure of a single device
bool ComplainOfFailures(const std::vector<DeviceGrab> &grabs, int signal)
{
    bool hasFailed = false;
    for (const auto &grab : grabs)
    {
        const auto &report = grab.report;
        const auto noFrame = report.failure || signal != 0 ? nullptr : NoCompleteFrame(report);
        const auto failure = report.failure ? report.failure : noFrame;
        if (failure && grabs.size() == 1)
        {
            std::rethrow_exception(failure);
        }
        if (noFrame)
        {
            Complain(fmt::format("{}: {}", grab.device, FailureText(noFrame)));
        }
        hasFailed = hasFailed || failure;
    }
    return hasFailed;
}

/// Says on standard error what `--strict` does not let pass, and returns whether there is something.
bool ComplainStrictly(const std::vector<DeviceGrab> &grabs)
{
    bool isWrong = false;
    for (const auto &grab : grabs)
    {
        if (const auto complaint = StrictComplaint(grab))
        {
            Complain(*complaint);
            isWrong = true;
        }
    }
    return isWrong;
}

/// An interrupt ends the grab in order; the status is that of a program ended by the signal.
int GrabFrames(const CommonOptions &options, const GrabArguments &arguments)
{
    CheckTogether(arguments, options.devices.size());
    const FrameDestination destination(arguments);
    constexpr int toEndAndToStopWriting = 2;
    const Interrupt interrupt(toEndAndToStopWriting);
    SideBySide cameras(options.producer, options.devices, arguments, destination);
    const auto before = LoadSoFar();
    const auto grabs = cameras.Run(interrupt);
    const auto after = LoadSoFar();
    const int signal = interrupt.Signal();
    const auto hasFrames = [](const DeviceGrab &grab) { return grab.report.statistics.Delivered() != 0; };
    if (std::ranges::any_of(grabs, hasFrames) || signal != 0)
    {
        PrintGrabs(grabs, {after.used - before.used, after.passed - before.passed}, options.json);
        ComplainOfMissing(grabs, arguments.grab, signal);
    }
    const bool isTooLittle = arguments.isStrict && ComplainStrictly(grabs);
    if (ComplainOfFailures(grabs, signal) || isTooLittle)
    {
        return failed;
    }
    return signal != 0 ? killed + signal : success;
}

constexpr auto grabFooter =
    "Writes each frame as frame-NNNNN.png (.tiff, .npy, .exr, .raw), all that is known of it, chunks "
    "included, as .json, and points also as .ply or .pcd. A format that holds several images gives "
    "frame-NNNNN-A, -B, "
    "... Several devices grab at the same time, each into a folder of its own. Ctrl-C ends the grab in "
    "order.\n\n"
    "  gentlctl grab -d OVRA-M5 -n 10 -s PixelFormat=Mono12 -f tiff -o frames\n"
    "  gentlctl grab -d OVRA-M5 -d OVRA-C5 --duration 10s --strict\n"
    "  gentlctl grab -d OVRA-C5 -n 0 --newest -f y4m -o - | ffplay -\n"
    "  gentlctl grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o depth --view";

} // namespace

void DeclareGrab(Commands &commands)
{
    const auto arguments = std::make_shared<GrabArguments>();
    auto &command = commands.Add(
        "grab", "Grab frames, measure them and write them to files",
        [arguments](const CommonOptions &common) { return GrabFrames(common, *arguments); },
        Commands::Devices::Several);
    DeclareGrabArguments(command, *arguments);
    command.footer(grabFooter);
}

} // namespace gentlctl
