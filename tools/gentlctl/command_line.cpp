#include "gentlctl/command_line.h"

#include "consumer/producer_files.h"
#include "gentlctl/commands.h"
#include "gentlctl/standard_output.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace gentlctl
{
namespace
{

const std::vector<std::string> moduleNames{"system", "interface", "device", "remote", "stream"};
const std::vector<std::string> readableModules{"system", "interface", "device", "remote", "stream", "frame"};

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

CLI::Validator Assignment()
{
    return {[](std::string &text)
            {
                const auto split = text.find('=');
                return split != std::string::npos && split != 0
                           ? std::string()
                           : fmt::format("\"{}\" is not of the form NAME=VALUE", text);
            },
            ""};
}

/// Says in one line what is wrong with the command line, and which help to read.
std::string FailureText(const CLI::App *app, const CLI::Error &error)
{
    const auto unknown = app->remaining();
    const auto chosen = app->get_subcommands();
    std::string what = error.what();
    if (chosen.empty())
    {
        std::vector<std::string> commands;
        for (const auto *command : app->get_subcommands([](const CLI::App *) { return true; }))
        {
            commands.push_back(command->get_name());
        }
        what = fmt::format("{}; there is {}",
                           unknown.empty() ? "A command is missing"
                                           : fmt::format("There is no command \"{}\"", unknown[0]),
                           fmt::join(commands, ", "));
    }
    return fmt::format("gentlctl: {} (see gentlctl {}--help)\n", what,
                       chosen.empty() ? "" : chosen[0]->get_name() + " ");
}

constexpr auto grabFooter =
    "Writes each frame as frame-NNNNN.png (.tiff, .raw), all that is known of it, chunks included, as .json, "
    "and "
    "points also as .ply. A format that holds several images gives frame-NNNNN-A, -B, ... Ctrl-C ends the "
    "grab in "
    "order.\n\n"
    "  gentlctl grab -d OVRA-M5 -n 10 -s PixelFormat=Mono12 -f tiff -o frames\n"
    "  gentlctl grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o depth --view";

/// The command line: its options, and the command to run once they are parsed.
struct CommandLine
{
    CLI::App app{"Works with the devices of any GenTL producer."};
    CommonOptions common;
    GrabOptions grab;
    std::string module = "remote";
    std::string file;
    std::vector<std::string> names;
    std::vector<std::string> assignments;
    int status = success; ///< of the command that was run

    CommandLine()
    {
        app.require_subcommand(1);
        app.failure_message(FailureText);
        app.fallthrough();
        app.add_option(
               "--producer", common.producer,
               "File of the producer; default: the proxy producer that belongs to this program, else the "
               "first producer in GENICAM_GENTL64_PATH")
            ->type_name("FILE");
        app.add_flag("--json", common.json, "Print JSON");
        app.footer("Exit status: 0 done, 1 failed (the reason is on standard error), 2 wrong usage, "
                   "130 or 143 ended by SIGINT or SIGTERM.");
        AddList();
        AddInfo();
        AddXml();
        AddGet();
        AddSet();
        AddFormats();
        AddFiles();
        AddCalibration();
        AddGrab();
    }

private:
    template <typename Run>
    CLI::App *Add(const char *name, const char *description, Run run)
    {
        auto *command = app.add_subcommand(name, description);
        command->callback(
            [this, run]
            {
                common.producer = FindProducerFile(common.producer);
                status = run();
            });
        return command;
    }

    void AddDevice(CLI::App *command)
    {
        command
            ->add_option(
                "-d,--device", common.device,
                "Id, model, serial number or user name of the device; default: the first that can be opened")
            ->type_name("DEVICE");
    }

    void AddModule(CLI::App *command, const std::vector<std::string> &choice, const char *description)
    {
        command->add_option("-m,--module", module, description)
            ->check(CLI::IsMember(choice))
            ->capture_default_str();
    }

    void AddAssignments(CLI::App *command)
    {
        command
            ->add_option("-s,--set", assignments,
                         "Feature to set first; may be repeated, applied in the given order")
            ->type_name("NAME=VALUE")
            ->check(Assignment());
    }

    void AddList()
    {
        Add("list", "List interfaces and devices, with access status and why a device cannot be opened",
            [this] { return List(common); });
    }

    void AddInfo()
    {
        AddDevice(Add("info", "Print every info command of every module", [this] { return Info(common); }));
    }

    void AddXml()
    {
        auto *command = Add("xml", "Print the GenICam description of a module",
                            [this] { return Xml(common, module, file); });
        command->add_option("module", module, "Module to describe")
            ->check(CLI::IsMember(moduleNames))
            ->capture_default_str();
        command->add_option("-o,--output", file, "Write to this file")->type_name("FILE");
        AddDevice(command);
    }

    void AddGet()
    {
        auto *command = Add("get", "Print the values of features",
                            [this] { return Get(common, module, names, assignments); });
        command->add_option("features", names, "Names of features; default: all")->type_name("NAME");
        AddModule(command, readableModules,
                  "Module to address; \"frame\" grabs a frame and prints its chunks");
        AddAssignments(command);
        AddDevice(command);
    }

    void AddSet()
    {
        auto *command = Add("set", "Set features", [this] { return Set(common, module, assignments); });
        command->add_option("assignments", assignments, "Features to set, in the given order")
            ->type_name("NAME=VALUE")
            ->check(Assignment())
            ->required();
        AddModule(command, moduleNames, "Module to address");
        AddDevice(command);
    }

    void AddFormats()
    {
        AddDevice(Add("formats",
                      "Explain the pixel formats that the device sends and an application may choose",
                      [this] { return Formats(common); }));
    }

    void AddFiles()
    {
        auto *command = Add("files", "List or fetch the files on the device",
                            [this] { return Files(common, names, file.empty() ? "." : file); });
        command->add_option("names", names, "Files to fetch; default: list all")->type_name("NAME");
        command->add_option("-o,--output", file, "Folder for the files")
            ->type_name("FOLDER")
            ->default_str(".");
        AddDevice(command);
    }

    void AddCalibration()
    {
        auto *command = Add("calibration", "Check and print the lens calibration of the device",
                            [this] { return Calibration(common, file); });
        command->add_option("-o,--output", file, "Write the calibration data to this file")
            ->type_name("FILE");
        AddDevice(command);
    }

    void AddGrab()
    {
        grab.showProgress = isatty(STDERR_FILENO) != 0;
        auto *command = Add("grab", "Grab frames and write them to files",
                            [this] { return GrabFrames(common, assignments, grab); });
        command->add_option("-n,--frames", grab.frames, "Number of frames")
            ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}).description(""))
            ->capture_default_str();
        AddFrameFiles(command);
        command
            ->add_option("-b,--buffers", grab.buffers,
                         "Buffers to queue; default: as many as the frames need, within 512 MiB")
            ->check(CLI::Range(2, 1024).description(""))
            ->capture_default_str();
        command->add_option("-t,--timeout", grab.timeoutMs, "Longest wait for a frame, ms")
            ->check(CLI::Range(uint64_t{1}, uint64_t{86'400'000}).description(""))
            ->capture_default_str();
        AddAssignments(command);
        AddDevice(command);
        command->footer(grabFooter);
    }

    void AddFrameFiles(CLI::App *command)
    {
        auto *output =
            command
                ->add_option("-o,--output", grab.files.folder, "Folder for the files; default: write nothing")
                ->type_name("FOLDER");
        command->add_option("-f,--format", grab.files.format, "Format of the images")
            ->check(CLI::IsMember({"png", "tiff", "raw"}))
            ->capture_default_str();
        command
            ->add_option_function<std::string>(
                "-v,--view", [this](const std::string &angles) { grab.files.view = ParseAngles(angles); },
                "Also render the points from the side into frame-NNNNN-view.png: degrees by which the "
                "viewpoint turns right and up (28,20 without a value)")
            ->expected(0, 1)
            ->type_name("RIGHT,UP")
            ->needs(output);
    }
};

} // namespace

int RunCommandLine(int argc, char **argv)
{
    CommandLine line;
    try
    {
        line.app.parse(argc, argv);
        return line.status;
    }
    catch (const CLI::ParseError &error)
    {
        std::ostringstream help;
        const int code = line.app.exit(error, help, std::cerr);
        PrintText(help.str());
        return code == 0 ? success : wrongUsage;
    }
}

} // namespace gentlctl
