#include "gentlctl/grab_arguments.h"

#include "gentlctl/command.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

namespace gentlctl
{
namespace
{

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

/// A combination of options that cannot be.
struct Contradiction
{
    bool isGiven;
    const char *option;
    const char *reason;
};

void AddLimits(CLI::App &command, GrabOptions &grab)
{
    auto *const frames =
        command.add_option("-n,--frames", grab.frames, "Number of frames; 0: until Ctrl-C or --duration")
            ->check(Within(uint64_t{0}, largestCount))
            ->capture_default_str();
    AddDuration(command,
                "Longest time to grab, as 500ms, 10s, 2min or 1h; without --frames, as many frames as come",
                [&grab, frames](std::chrono::nanoseconds time)
                {
                    grab.duration = time;
                    grab.frames = frames->count() != 0 ? grab.frames : 0;
                });
    command
        .add_option("-b,--buffers", grab.buffers,
                    "Buffers to queue; default: as many as the frames need, within 512 MiB")
        ->check(Within(2, 1024))
        ->capture_default_str();
    command.add_option("-t,--timeout", grab.timeoutMs, "Longest wait for a frame, ms")
        ->check(Within(uint64_t{1}, uint64_t{86'400'000}))
        ->capture_default_str();
}

void AddOutput(CLI::App &command, GrabArguments &arguments)
{
    auto &files = arguments.files;
    auto *const output =
        command
            .add_option("-o,--output", arguments.output,
                        "Folder for the files, or - for standard output; default: write nothing")
            ->type_name("FOLDER");
    command.add_option("-f,--format", files.format, "Format of the images")
        ->check(CLI::IsMember({"png", "tiff", "npy", "exr", "raw", "y4m"}))
        ->capture_default_str();
    command
        .add_option("--points", files.points,
                    "Format of the points of depth cameras; default: ply, but none with raw")
        ->check(CLI::IsMember({"ply", "pcd", "none"}))
        ->needs(output);
    command
        .add_option_function<std::string>(
            "-v,--view", [&files](const std::string &angles) { files.view = ParseAngles(angles); },
            "Also render the points from the side into frame-NNNNN-view.png: degrees by which the "
            "viewpoint turns right and up (28,20 without a value)")
        ->expected(0, 1)
        ->type_name("RIGHT,UP")
        ->needs(output);
}

void AddPictures(CLI::App &command, PictureOptions &pictures)
{
    command.add_flag_function(
        "--scale,!--no-scale", [&pictures](int64_t count) { pictures.scale = count > 0; },
        "Multiply samples of 10 to 14 bits to the full 16, so that every viewer shows them right; "
        "--no-scale keeps their values. Default: --scale in png, --no-scale in tiff, npy and exr");
    command
        .add_option_function<std::string>(
            "--bayer", [&pictures](const std::string &choice) { pictures.keepsMosaic = choice == "mosaic"; },
            "Bayer images in colour, or as the mosaic that the sensor has; default: color")
        ->check(CLI::IsMember({"color", "mosaic"}));
}

} // namespace

void DeclareGrabArguments(CLI::App &command, GrabArguments &arguments)
{
    auto &grab = arguments.grab;
    AddLimits(command, grab);
    AddOutput(command, arguments);
    AddPictures(command, arguments.files.pictures);
    command.add_flag("--newest", grab.newest,
                     "Always take the newest frame: drop those that came while the last was being written");
    command.add_flag("--trigger", grab.trigger,
                     "Set TriggerMode and TriggerSource, and execute TriggerSoftware for each frame");
    command.add_flag("--strict", arguments.isStrict,
                     "Exit with status 1 when a frame was lost, incomplete or not written");
    AddSettingsFile(command, arguments.settings);
    AddAssignments(command, arguments.assignments);
}

void CheckTogether(const GrabArguments &arguments, size_t devices)
{
    const auto &files = arguments.files;
    const bool isPipe = arguments.GoesIntoPipe();
    const bool isRaw = files.format == "raw";
    const bool isVideo = files.format == "y4m";
    const Contradiction contradictions[] = {
        {isPipe && !isRaw && !isVideo, "--output", "into standard output go -f raw and -f y4m"},
        {isPipe && devices > 1, "--output", "standard output takes the frames of one device"},
        {isPipe && (files.view || files.points), "--output", "into standard output go no points"},
        {isVideo && !isPipe, "--format", "y4m goes into standard output, with -o -"},
        {(isRaw || isVideo) && files.pictures.scale, "--scale",
         "raw frames stay as they are, and video has 8 bits"},
        {isRaw && files.pictures.keepsMosaic, "--bayer", "raw frames stay as they are"},
    };
    for (const auto &[isGiven, option, reason] : contradictions)
    {
        if (isGiven)
        {
            throw CLI::ValidationError(option, reason);
        }
    }
}

} // namespace gentlctl
