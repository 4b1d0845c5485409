#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/grab.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <csignal>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace gentlctl
{
namespace
{

struct GrabCommandOptions
{
    std::string settings; ///< file to load first; empty for none
    std::vector<std::string> assignments;
    GrabOptions grab;
};

/// "RIGHT,UP" in degrees; an empty text gives the default.
ViewAngles ParseAngles(const std::string &text)
{
    if (text.empty())
    {
        return {};
    }
    constexpr double limit = 89;
    ViewAngles angles;
    const char *end = text.data() + text.size();
    const auto right = std::from_chars(text.data(), end, angles.right);
    const bool hasRight = right.ec == std::errc() && right.ptr != end && *right.ptr == ',';
    const auto up = hasRight ? std::from_chars(right.ptr + 1, end, angles.up) : right;
    if (!hasRight || up.ec != std::errc() || up.ptr != end || !(std::abs(angles.right) <= limit) ||
        !(std::abs(angles.up) <= limit))
    {
        throw CLI::ValidationError(
            "--view", fmt::format("\"{}\" is not two angles from -89 to 89, as --view=28,20", text));
    }
    return angles;
}

void PrintReport(const GrabReport &report, const std::string &device, const std::string &folder, bool asJson)
{
    const auto rate = FrameRate(report);
    if (asJson)
    {
        return PrintJson({{"device", device},
                          {"delivered", report.delivered},
                          {"incomplete", report.incomplete},
                          {"lost", report.lost},
                          {"written", report.written},
                          {"notWritten", report.unwritten},
                          {"framesPerSecond", rate},
                          {"files", report.files},
                          {"chunks", report.chunks}});
    }
    Print("{}: {} frame{}, {} incomplete, {} lost{}\n", device, report.delivered,
          report.delivered == 1 ? "" : "s", report.incomplete, report.lost,
          rate > 0 ? fmt::format(", {:.1f} frames/s", rate) : "");
    if (!folder.empty())
    {
        Print("Written to {}\n", folder);
    }
}

/// Says on standard error which frames are missing.
void ComplainOfMissing(const GrabReport &report, uint64_t frames, int signal)
{
    if (signal != 0)
    {
        Complain(fmt::format("Ended by {}, {} of {} frames came", signal == SIGINT ? "SIGINT" : "SIGTERM",
                             std::min(report.delivered, frames), frames));
    }
    if (report.unwritten != 0)
    {
        Complain(fmt::format("{} frame{} came and {} not written{}", report.unwritten,
                             report.unwritten == 1 ? "" : "s", report.unwritten == 1 ? "was" : "were",
                             report.failure ? "" : ": the disk did not keep up"));
    }
}

/// An interrupt ends the grab in order; the status is that of a program ended by the signal.
int GrabFrames(const CommonOptions &options, const GrabCommandOptions &command)
{
    const auto &grab = command.grab;
    if (!grab.files.folder.empty())
    {
        MakeFolder(grab.files.folder);
    }
    const Interrupt interrupt;
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    RequireSettingsFile(device, command.settings);
    Apply(remote, command.assignments);
    const auto report = Grab(producer, device, remote, grab, interrupt);
    const int signal = interrupt.Signal();
    if (report.delivered != 0 || signal != 0)
    {
        PrintReport(report, device.Entry().id, grab.files.folder.string(), options.json);
        ComplainOfMissing(report, grab.frames, signal);
    }
    if (report.failure)
    {
        std::rethrow_exception(report.failure);
    }
    if (signal != 0)
    {
        return killed + signal;
    }
    if (report.incomplete == report.delivered)
    {
        throw std::runtime_error("No frame is complete, so there is no picture. PROXY_TL_LOG_LEVEL=error in "
                                 "the environment makes the proxy producer log why");
    }
    return success;
}

constexpr auto grabFooter =
    "Writes each frame as frame-NNNNN.png (.tiff, .raw), all that is known of it, chunks included, as .json, "
    "and "
    "points also as .ply. A format that holds several images gives frame-NNNNN-A, -B, ... Ctrl-C ends the "
    "grab in "
    "order.\n\n"
    "  gentlctl grab -d OVRA-M5 -n 10 -s PixelFormat=Mono12 -f tiff -o frames\n"
    "  gentlctl grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o depth --view";

void AddFrameFiles(CLI::App &command, FrameFileOptions &files)
{
    auto *output =
        command.add_option("-o,--output", files.folder, "Folder for the files; default: write nothing")
            ->type_name("FOLDER");
    command.add_option("-f,--format", files.format, "Format of the images")
        ->check(CLI::IsMember({"png", "tiff", "raw"}))
        ->capture_default_str();
    command
        .add_option_function<std::string>(
            "-v,--view", [&files](const std::string &angles) { files.view = ParseAngles(angles); },
            "Also render the points from the side into frame-NNNNN-view.png: degrees by which the "
            "viewpoint turns right and up (28,20 without a value)")
        ->expected(0, 1)
        ->type_name("RIGHT,UP")
        ->needs(output);
}

} // namespace

void DeclareGrab(Commands &commands)
{
    const auto grab = std::make_shared<GrabCommandOptions>();
    auto &options = grab->grab;
    options.showProgress = isatty(STDERR_FILENO) != 0;
    auto &command = commands.Add("grab", "Grab frames and write them to files",
                                 [grab](const CommonOptions &common) { return GrabFrames(common, *grab); });
    command.add_option("-n,--frames", options.frames, "Number of frames")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}).description(""))
        ->capture_default_str();
    AddFrameFiles(command, options.files);
    command
        .add_option("-b,--buffers", options.buffers,
                    "Buffers to queue; default: as many as the frames need, within 512 MiB")
        ->check(CLI::Range(2, 1024).description(""))
        ->capture_default_str();
    command.add_option("-t,--timeout", options.timeoutMs, "Longest wait for a frame, ms")
        ->check(CLI::Range(uint64_t{1}, uint64_t{86'400'000}).description(""))
        ->capture_default_str();
    AddSettingsFile(command, grab->settings);
    AddAssignments(command, grab->assignments);
    command.footer(grabFooter);
}

} // namespace gentlctl
