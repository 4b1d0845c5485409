#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/json.h"
#include "consumer/producer.h"
#include "consumer/stream.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/durations.h"
#include "gentlctl/event_monitor.h"
#include "gentlctl/frame_drain.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct EventsOptions
{
    std::vector<std::string> modules = ModuleNames();
    std::vector<std::string> assignments;
    uint64_t count = 0; ///< 0: no limit
    std::string duration;
    bool grabs = false;
};

/// Says once what is listened to.
void Announce(const EventMonitor &monitor)
{
    Complain(fmt::format("Waits for events of {}", fmt::join(monitor.Registered(), "; ")));
    for (const auto &refused : monitor.Refused())
    {
        Complain(refused);
    }
}

using Clock = std::chrono::steady_clock;

Clock::time_point EndOf(const std::string &duration)
{
    const auto limit = duration.empty()
                           ? std::chrono::hours(24 * 365)
                           : std::chrono::duration_cast<Clock::duration>(ParseDuration(duration));
    return Clock::now() + limit;
}

/// Prints events as they come.
/// @return how many
uint64_t PrintEvents(EventMonitor &monitor, Clock::time_point until, uint64_t most, bool isJson)
{
    uint64_t shown = 0;
    while (most == 0 || shown < most)
    {
        const auto event = monitor.Next(until);
        if (!event)
        {
            break;
        }
        Print("{}\n", isJson ? JsonText(ToJson(*event)) : InWords(*event));
        FlushOutput();
        ++shown;
    }
    return shown;
}

int ShowEvents(const CommonOptions &options, const EventsOptions &command)
{
    const auto until = EndOf(command.duration);
    const Interrupt interrupt;
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    EventMonitor monitor(producer, device, command.modules);
    const InterruptWatch watch(interrupt, [&] { monitor.End(); });
    Announce(monitor);
    const Features remote(device.PortOf("remote"));
    Apply(remote, command.assignments);
    std::optional<FrameDrain> drain;
    if (command.grabs)
    {
        drain.emplace(producer, device, remote);
    }
    const auto shown = PrintEvents(monitor, until, command.count, options.json);
    if (interrupt.Signal() != 0)
    {
        return killed + interrupt.Signal();
    }
    if (command.count != 0 && shown < command.count)
    {
        throw std::runtime_error(
            fmt::format("{} of {} events came within {}", shown, command.count, command.duration));
    }
    return success;
}

} // namespace

void DeclareEvents(Commands &commands)
{
    const auto events = std::make_shared<EventsOptions>();
    auto &command =
        commands.Add("events", "Show the events of a device and of the modules above it as they come",
                     [events](const CommonOptions &options) { return ShowEvents(options, *events); });
    command.add_option("-m,--module", events->modules, "Module to listen to; may be repeated. Default: all")
        ->check(CLI::IsMember(ModuleNames()))
        ->allow_extra_args(false);
    command.add_option("-n,--events", events->count, "End after so many events; 0: no limit")
        ->check(Within(uint64_t{0}, largestCount))
        ->capture_default_str();
    command.add_option("--duration", events->duration, "End after this time, as 10s or 5min")
        ->type_name("TIME");
    command.add_flag("--grab", events->grabs, "Let the device send frames meanwhile, and throw them away");
    AddAssignments(command, events->assignments);
    command.footer(
        "A line for each event: when it came, of which module, its type, its id, and what the description "
        "of the\nmodule says about it. With --json a line is a JSON object.\n\n"
        "  gentlctl events -d OVRA-M5 -s EventSelector=ExposureEnd -s EventNotification=On --grab");
}

} // namespace gentlctl
