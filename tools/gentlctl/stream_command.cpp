#include "consumer/features.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/durations.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/stream_run.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct StreamCommandOptions
{
    StreamOptions stream;
    std::string duration;
    std::string settings;
    std::vector<std::string> assignments;
};

void PrintPeriod(const std::string &device, const FrameStatistics &last, bool asJson)
{
    if (asJson)
    {
        auto json = ToJson(last);
        json["device"] = device;
        Print("{}\n", JsonText(json));
    }
    else
    {
        constexpr double milli = 1000;
        const auto &intervals = last.Intervals();
        Print("{}: {:.1f} frames/s, interval {:.2f} to {:.2f} ms, jitter {:.2f} ms, {} lost, {} incomplete\n",
              device, last.Rate(), intervals.Minimum() * milli, intervals.Maximum() * milli,
              intervals.Deviation() * milli, last.Lost(), last.Incomplete());
    }
    FlushOutput();
}

void PrintTotals(const StreamTotals &totals, bool asJson)
{
    if (asJson)
    {
        Print("{}\n", JsonText({{"delivered", totals.delivered},
                                {"incomplete", totals.incomplete},
                                {"lost", totals.lost},
                                {"reconnects", totals.reconnects}}));
        return;
    }
    Print("{} frames, {} lost, {} incomplete, {} reconnects\n", totals.delivered, totals.lost,
          totals.incomplete, totals.reconnects);
}

int StreamFrames(const CommonOptions &options, const StreamCommandOptions &command)
{
    auto stream = command.stream;
    stream.device = options.device;
    if (!command.duration.empty())
    {
        stream.duration = ParseDuration(command.duration);
    }
    const Interrupt interrupt;
    Producer producer(options.producer);
    const auto prepare = [&](OpenDevice &device)
    {
        RequireSettingsFile(device, command.settings);
        Apply(Features(device.PortOf("remote")), command.assignments);
    };
    const auto report = [&](const std::string &device, const FrameStatistics &last)
    { PrintPeriod(device, last, options.json); };
    StreamRun run(producer, stream, {prepare, Complain, report});
    PrintTotals(run.Run(interrupt), options.json);
    return interrupt.Signal() == 0 ? success : killed + interrupt.Signal();
}

} // namespace

void DeclareStream(Commands &commands)
{
    const auto stream = std::make_shared<StreamCommandOptions>();
    auto &options = stream->stream;
    auto &command =
        commands.Add("stream", "Take frames without writing them, and show statistics each second",
                     [stream](const CommonOptions &common) { return StreamFrames(common, *stream); });
    command.add_flag("--reconnect", options.reconnects,
                     "When the device is lost, wait until it is back, set it up again and go on");
    command.add_option("-n,--frames", options.frames, "End after so many frames; 0: no limit")
        ->check(Within(uint64_t{0}, largestCount))
        ->capture_default_str();
    command.add_option("--duration", stream->duration, "End after this time, as 10s or 5min")
        ->type_name("TIME");
    command.add_option("-b,--buffers", options.buffers, "Buffers to queue")
        ->check(Within(4, 1024))
        ->capture_default_str();
    command
        .add_option("-t,--timeout", options.timeoutMs,
                    "Longest wait for a frame, ms; a device that sends none for so long counts as lost")
        ->check(Within(uint64_t{1}, uint64_t{86'400'000}))
        ->capture_default_str();
    AddSettingsFile(command, stream->settings);
    AddAssignments(command, stream->assignments);
    command.footer("Standard error shows each step of a reconnect. Ctrl-C ends the stream in order.\n\n"
                   "  gentlctl stream -d OVRA-M5 --reconnect --settings camera.yaml");
}

} // namespace gentlctl
