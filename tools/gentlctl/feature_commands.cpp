#include "consumer/features.h"
#include "consumer/modules.h"
#include "gentlctl/assignments.h"
#include "gentlctl/commands.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <exception>
#include <optional>
#include <stdexcept>

namespace gentlctl
{
namespace
{

/// Values of the features in the chunks of a frame: of the named ones, or of all.
Json ChunksOf(const GrabReport &report, const std::vector<std::string> &names)
{
    if (report.failure)
    {
        std::rethrow_exception(report.failure);
    }
    if (names.empty() && report.chunks.empty())
    {
        throw std::runtime_error("The frame has no chunks: switch them on with -s ChunkModeActive=true "
                                 "-s ChunkSelector=NAME -s ChunkEnable=true");
    }
    auto values = names.empty() ? report.chunks : Json::object();
    for (const auto &name : names)
    {
        values[name] = report.chunks.contains(name)
                           ? report.chunks[name]
                           : Json{{"error", fmt::format("The frame has no \"{}\"", name)}};
    }
    return values;
}

/// Prints values, and says on standard error which ones are missing.
int PrintValues(const Json &values, bool asJson)
{
    auto known = Json::object();
    std::vector<std::string> failures;
    for (const auto &entry : values.items())
    {
        if (entry.value().is_object() && entry.value().contains("error"))
        {
            const std::string text = entry.value()["error"];
            const bool isNamed = text.find(entry.key()) != std::string::npos;
            failures.push_back(isNamed ? text : fmt::format("{}: {}", entry.key(), text));
        }
        else
        {
            known[entry.key()] = entry.value();
        }
    }
    asJson ? PrintJson(values) : PrintTable(known, "");
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
    return signal != 0 ? killed + signal : PrintValues(ChunksOf(report, names), asJson);
}

} // namespace

int Get(const CommonOptions &options, const std::string &module, const std::vector<std::string> &names,
        const std::vector<std::string> &assignments)
{
    std::optional<Interrupt> interrupt;
    if (module == "frame")
    {
        interrupt.emplace();
    }
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const Features features(modules.PortOf(interrupt ? "remote" : module));
    Apply(features, assignments);
    return interrupt ? PrintFrame(producer, modules.Device(), features, names, *interrupt, options.json)
                     : PrintValues(features.Values(names), options.json);
}

int Set(const CommonOptions &options, const std::string &module, const std::vector<std::string> &assignments)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    Apply(Features(modules.PortOf(module)), assignments);
    return success;
}

} // namespace gentlctl
