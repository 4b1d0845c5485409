#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/durations.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/soak.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <memory>
#include <string>

namespace gentlctl
{
namespace
{

struct SoakCommandOptions
{
    SoakOptions soak;
    std::string duration;
    int64_t memoryMiB = 16;
};

int RunSoak(const CommonOptions &options, const SoakCommandOptions &command)
{
    auto soak = command.soak;
    soak.producer = options.producer;
    soak.device = options.device;
    soak.memoryLimit = command.memoryMiB << 20U;
    if (!command.duration.empty())
    {
        soak.duration = ParseDuration(command.duration);
    }
    const Interrupt interrupt;
    const auto eachMinute = [](const SoakReport &report) { Complain(ToText(report)); };
    const auto report = Soak(soak, {Complain, eachMinute}, interrupt);
    options.json ? PrintJson(ToJson(report)) : Print("{}\n", ToText(report));
    const auto findings = FaultsIn(report, soak);
    for (const auto &finding : findings)
    {
        Complain(finding);
    }
    return !findings.empty() ? failed : interrupt.Signal() != 0 ? killed + interrupt.Signal() : success;
}

} // namespace

void DeclareSoak(Commands &commands)
{
    const auto soak = std::make_shared<SoakCommandOptions>();
    auto &command =
        commands.Add("soak", "Open, grab and close again and again, and watch what the process holds",
                     [soak](const CommonOptions &options) { return RunSoak(options, *soak); });
    command.add_option("-c,--cycles", soak->soak.cycles, "End after so many cycles; 0: no limit")
        ->check(Within(uint64_t{0}, largestCount))
        ->capture_default_str();
    command.add_option("--duration", soak->duration, "End after this time, as 10min or 8h")
        ->type_name("TIME");
    command.add_option("-n,--frames", soak->soak.frames, "Frames in each cycle")
        ->check(Within(uint64_t{0}, largestCount))
        ->capture_default_str();
    command.add_option("-t,--timeout", soak->soak.timeoutMs, "Longest wait for a frame, ms")
        ->check(Within(uint64_t{1}, uint64_t{86'400'000}))
        ->capture_default_str();
    command
        .add_option("--memory-limit", soak->memoryMiB,
                    "MiB by which the memory may grow after the first rounds")
        ->check(Within(int64_t{0}, int64_t{1} << 20U))
        ->capture_default_str();
    command.footer(
        "Each cycle stops in the next of four orders, those of common applications; after four cycles the "
        "library\nis closed and loaded anew. A line on standard error each minute shows memory, file "
        "handles and threads.\nExit status 1: a cycle failed, or something grew: the memory by more than "
        "the limit, or the number of\nhandles or threads at all.\n\n"
        "  gentlctl soak -d OVRA-M5 --duration 8h");
}

} // namespace gentlctl
