#include "consumer/features.h"
#include "consumer/modules.h"
#include "consumer/name_patterns.h"
#include "consumer/selected_entries.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/grab.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct GetOptions
{
    std::string module = "remote"; ///< "frame": the chunks of a frame
    bool isLong = false;
    std::vector<std::string> names;
    std::vector<std::string> assignments;
};

struct SetOptions
{
    std::string module = "remote";
    std::vector<std::string> assignments;
};

/// Whether the camera is told to send chunks besides the image.
bool SendsChunks(const Features &remote)
{
    const auto isOn = [&](const char *name) { return remote.Has(name) && remote.Get(name) == true; };
    if (!isOn("ChunkModeActive") || !remote.Has("ChunkSelector"))
    {
        return isOn("ChunkModeActive");
    }
    const auto isSent = [&](const std::string &chunk) { return chunk != "Image" && isOn("ChunkEnable"); };
    return !EntriesWhere(remote, "ChunkSelector", isSent).empty();
}

/// Values of the features in the chunks of a frame: of the named ones, or of all.
Json ChunksOf(const GrabReport &report, const Features &remote, const std::vector<std::string> &names)
{
    if (report.failure)
    {
        std::rethrow_exception(report.failure);
    }
    if (report.chunks.empty())
    {
        throw std::runtime_error(
            SendsChunks(remote)
                ? "The frame has no chunks, although they are switched on: the producer did not pass them. "
                  "qvr_proxygentl.cti cannot convert depth with chunks; qvr_anygentl.cti can"
                : "The frame has no chunks: switch them on with -s ChunkModeActive=true "
                  "-s ChunkSelector=NAME -s ChunkEnable=true");
    }
    auto values = names.empty() ? report.chunks : Json::object();
    std::vector<std::string> known;
    for (const auto &chunk : report.chunks.items())
    {
        known.push_back(chunk.key());
    }
    for (const auto &name : names)
    {
        const auto matching = IsPattern(name) ? MatchingNames(known, name) : std::vector<std::string>{name};
        if (matching.empty())
        {
            values[name] = {{"error", fmt::format("The frame has nothing that matches \"{}\"", name)}};
        }
        for (const auto &one : matching)
        {
            values[one] = report.chunks.contains(one)
                              ? report.chunks[one]
                              : Json{{"error", fmt::format("The frame has no \"{}\"", one)}};
        }
    }
    return values;
}

/// Prints values, and says on standard error which ones are missing.
int PrintValues(const Json &values, Extent extent, bool asJson)
{
    auto known = Json::object();
    std::vector<std::string> failures;
    for (const auto &entry : values.items())
    {
        if (entry.value().is_object() && entry.value().contains("error"))
        {
            const auto text = entry.value()["error"].get<std::string>();
            const bool isNamed = text.find(entry.key()) != std::string::npos;
            failures.push_back(isNamed ? text : fmt::format("{}: {}", entry.key(), text));
        }
        else
        {
            known[entry.key()] = entry.value();
        }
    }
    if (asJson)
    {
        PrintJson(values);
    }
    else
    {
        extent == Extent::Details ? PrintDetails(known) : PrintTable(known, "");
    }
    for (const auto &failure : failures)
    {
        Complain(failure);
    }
    return failures.empty() ? success : failed;
}

/// Grabs a frame and prints its chunks.
int PrintFrame(Producer &producer, OpenDevice &device, const Features &remote,
               const std::vector<std::string> &names, const Interrupt &interrupt, bool asJson)
{
    GrabOptions grab;
    grab.frames = 1;
    const auto report = Grab(producer, device, remote, grab, interrupt);
    const int signal = interrupt.Signal();
    return signal != 0 ? killed + signal
                       : PrintValues(ChunksOf(report, remote, names), Extent::Value, asJson);
}

int Get(const CommonOptions &options, const GetOptions &get)
{
    std::optional<Interrupt> interrupt;
    if (get.module == "frame")
    {
        interrupt.emplace();
    }
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const Features features(modules.PortOf(interrupt ? "remote" : get.module));
    Apply(features, get.assignments);
    const auto extent = get.isLong ? Extent::Details : Extent::Value;
    return interrupt ? PrintFrame(producer, modules.Device(), features, get.names, *interrupt, options.json)
                     : PrintValues(features.Values(get.names, extent), extent, options.json);
}

int Set(const CommonOptions &options, const SetOptions &set)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const Features features(modules.PortOf(set.module));
    Apply(features, set.assignments);
    if (options.json)
    {
        PrintJson(features.Values(NamesIn(set.assignments)));
    }
    return success;
}

} // namespace

void DeclareGet(Commands &commands)
{
    const auto get = std::make_shared<GetOptions>();
    auto &command = commands.Add("get", "Print the values of features",
                                 [get](const CommonOptions &options) { return Get(options, *get); });
    command
        .add_option("features", get->names,
                    "Names of features, or patterns such as 'Exposure*'; default: all")
        ->type_name("NAME");
    auto modules = ModuleNames();
    modules.emplace_back("frame");
    AddModule(command, get->module, modules,
              "Module to address; \"frame\" grabs a frame and prints its chunks");
    command.add_flag("-l,--long", get->isLong,
                     "Print all that is known of each feature: value, unit, range and step or entries, "
                     "access, visibility, "
                     "description; chunks of a frame have a value only");
    AddAssignments(command, get->assignments);
    command.footer("  gentlctl get -d OVRA-M5 Width PixelFormat\n"
                   "  gentlctl get -d OVRA-M5 -l 'Exposure*'\n"
                   "  gentlctl get -d OVRA-M5 -m frame -s ChunkModeActive=true -s ChunkSelector=Timestamp "
                   "-s ChunkEnable=true");
}

void DeclareSet(Commands &commands)
{
    const auto set = std::make_shared<SetOptions>();
    auto &command = commands.Add("set", "Set features and execute commands",
                                 [set](const CommonOptions &options) { return Set(options, *set); });
    command
        .add_option("assignments", set->assignments,
                    "Features to set, as NAME=VALUE, and commands to execute, as NAME, in the given order")
        ->type_name("NAME[=VALUE]")
        ->check(Assignment())
        ->required();
    AddModule(command, set->module, ModuleNames(), "Module to address");
    command.footer("  gentlctl set -d OVRA-M5 ExposureTime=5000 TimestampLatch");
}

} // namespace gentlctl
