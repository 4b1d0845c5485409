#include "gentlctl/commands.h"
#include "gentlctl/output.h"
#include "gentlctl/producer.h"

#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <cmath>
#include <csignal>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using namespace gentlctl;

const std::vector<std::string> modules{"system", "interface", "device", "remote", "stream"};
const std::vector<std::string> readModules{"system", "interface", "device", "remote", "stream", "frame"};

/// "RIGHT,UP" in degrees; the usual ones of an empty text.
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

/// What is wrong with the command line, in one line, and where to read more.
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

/// The command line: options, and what to run once they are read.
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
               "The producer's file; else the proxy producer that belongs to this program, else the first "
               "in GENICAM_GENTL64_PATH")
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
            ->add_option("-d,--device", common.device,
                         "Id, model, serial number or user name; else the first that can be opened")
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
                         "Set a feature before; may be repeated, in the order that counts")
            ->type_name("NAME=VALUE")
            ->check(Assignment());
    }

    void AddList()
    {
        Add("list", "Interfaces and devices, access status, and why a device cannot be opened",
            [this] { return List(common); });
    }

    void AddInfo()
    {
        AddDevice(Add("info", "Every info command of every module", [this] { return Info(common); }));
    }

    void AddXml()
    {
        auto *command =
            Add("xml", "The GenICam description of a module", [this] { return Xml(common, module, file); });
        command->add_option("module", module, "Whose description")
            ->check(CLI::IsMember(modules))
            ->capture_default_str();
        command->add_option("-o,--output", file, "Write to this file")->type_name("FILE");
        AddDevice(command);
    }

    void AddGet()
    {
        auto *command =
            Add("get", "Values of features", [this] { return Get(common, module, names, assignments); });
        command->add_option("features", names, "Names; all features when none is given")->type_name("NAME");
        AddModule(command, readModules, "Whose features; \"frame\" grabs one and gives its chunks");
        AddAssignments(command);
        AddDevice(command);
    }

    void AddSet()
    {
        auto *command = Add("set", "Write features", [this] { return Set(common, module, assignments); });
        command->add_option("assignments", assignments, "In the order in which they are written")
            ->type_name("NAME=VALUE")
            ->check(Assignment())
            ->required();
        AddModule(command, modules, "Whose features");
        AddDevice(command);
    }

    void AddFormats()
    {
        AddDevice(Add("formats", "Pixel formats: what the device sends, and what an application may choose",
                      [this] { return Formats(common); }));
    }

    void AddFiles()
    {
        auto *command = Add("files", "Files on the device",
                            [this] { return Files(common, names, file.empty() ? "." : file); });
        command->add_option("names", names, "Files to fetch; all are listed when none is given")
            ->type_name("NAME");
        command->add_option("-o,--output", file, "Folder for the files")
            ->type_name("FOLDER")
            ->default_str(".");
        AddDevice(command);
    }

    void AddCalibration()
    {
        auto *command = Add("calibration", "Lens calibration of the device, checked",
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
        command->add_option("-n,--frames", grab.frames, "How many frames")
            ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}).description(""))
            ->capture_default_str();
        auto *output = command
                           ->add_option("-o,--output", grab.folder,
                                        "Folder for the files; nothing is written without one")
                           ->type_name("FOLDER");
        command->add_option("-f,--format", grab.format, "Form of the images")
            ->check(CLI::IsMember({"png", "tiff", "raw"}))
            ->capture_default_str();
        command
            ->add_option_function<std::string>(
                "-v,--view", [this](const std::string &angles) { grab.view = ParseAngles(angles); },
                "Picture points from the side, too, as frame-NNNNN-view.png: degrees by which the viewpoint "
                "is turned to the right and up (28,20 when none are given)")
            ->expected(0, 1)
            ->type_name("RIGHT,UP")
            ->needs(output);
        command
            ->add_option("-b,--buffers", grab.buffers,
                         "Buffers to queue; when not told, as many as the frames need, within 512 MiB")
            ->check(CLI::Range(2, 1024).description(""))
            ->capture_default_str();
        command->add_option("-t,--timeout", grab.timeoutMs, "Longest wait for a frame, ms")
            ->check(CLI::Range(uint64_t{1}, uint64_t{86'400'000}).description(""))
            ->capture_default_str();
        AddAssignments(command);
        AddDevice(command);
        command->footer(
            "Writes frame-NNNNN.png (.tiff, .raw) and .json with all that is known of the frame, its chunks "
            "included; of points also .ply. Images of several in one become frame-NNNNN-A, -B, ... Ctrl-C "
            "ends "
            "it in order.\n\n"
            "  gentlctl grab -d OVRA-M5 -n 10 -s PixelFormat=Mono12 -f tiff -o frames\n"
            "  gentlctl grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o depth "
            "--view");
    }
};

int Run(int argc, char **argv)
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

/// Runs a step; a failure is told.
template <typename Step>
int StatusOf(Step step)
{
    try
    {
        return step();
    }
    catch (const GenTL::internal::GenTLException &exception)
    {
        Complain(fmt::format("{} ({})", exception.what(), exception.Code()));
    }
    catch (const std::exception &exception)
    {
        Complain(exception.what());
    }
    return failed;
}

int Finish()
{
    FinishOutput();
    return success;
}

} // namespace

int main(int argc, char **argv)
{
    TakeStandardOutput();
    // A file that grows too large is a failure like others, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // What fails is told once, by the exception; the library code's log lines would repeat it. A producer's
    // own log is its own affair.
    spdlog::set_level(spdlog::level::off);
    try
    {
        const int status = StatusOf([&] { return Run(argc, argv); });
        const int finished = StatusOf(Finish);
        return status != success ? status : finished;
    }
    catch (const std::exception &)
    {
        return failed;
    }
}
