#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer_files.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/throughput.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace gentlctl
{
namespace
{

struct BenchOptions
{
    ThroughputOptions measure;
    std::string beside;
    std::string settings;
    std::vector<std::string> assignments;
};

/// The producer, and the one to measure beside it. Says on standard error why there is none.
std::vector<std::string> ProducersToMeasure(const std::string &producer, const std::string &named)
{
    const auto beside = named.empty() ? RawProducerFile(producer) : ProducerAt(named);
    std::error_code ignored; // a file that is not there is told when it is loaded
    if (beside != producer && !std::filesystem::equivalent(beside, producer, ignored))
    {
        return {producer, beside};
    }
    Complain(named.empty()
                 ? "Measures this producer alone: its lower producer is not known. --beside FILE names one"
                 : "Measures this producer alone: --beside names the same file");
    return {producer};
}

int Compare(const CommonOptions &options, const BenchOptions &command)
{
    auto measure = command.measure;
    measure.device = options.device;
    measure.prepare = [&](OpenDevice &device)
    {
        RequireSettingsFile(device, command.settings);
        Apply(Features(device.PortOf("remote")), command.assignments);
    };
    const auto producers = ProducersToMeasure(options.producer, command.beside);
    const Interrupt interrupt;
    const auto results = MeasureThroughput(producers, measure, interrupt);
    options.json ? PrintJson(ToJson(results)) : PrintText(ToText(results));
    if (results.size() < producers.size())
    {
        Complain(
            fmt::format("Ended by {} before each producer was measured", NameOfSignal(interrupt.Signal())));
    }
    for (const auto &result : results)
    {
        if (!result.noLatency.empty())
        {
            Complain(result.producer + ": no latency: " + result.noLatency);
        }
    }
    return interrupt.Signal() == 0 ? success : killed + interrupt.Signal();
}

} // namespace

void DeclareBench(Commands &commands)
{
    const auto bench = std::make_shared<BenchOptions>();
    auto &command = commands.Add("bench", "Measure a producer beside its lower producer, loaded directly",
                                 [bench](const CommonOptions &options) { return Compare(options, *bench); });
    auto &measure = bench->measure;
    command
        .add_option("--beside", bench->beside, "The other producer; default: the lower producer of this one")
        ->type_name("FILE");
    command.add_option("-n,--frames", measure.frames, "Frames in each round")
        ->check(Within(uint64_t{2}, uint64_t{1'000'000}))
        ->capture_default_str();
    command.add_option("-r,--rounds", measure.rounds, "Rounds; the producers take turns")
        ->check(Within(uint64_t{1}, uint64_t{1000}))
        ->capture_default_str();
    command.add_option("-b,--buffers", measure.buffers, "Buffers to queue")
        ->check(Within(4, 1024))
        ->capture_default_str();
    command.add_option("-t,--timeout", measure.timeoutMs, "Longest wait for a frame, ms")
        ->check(Within(uint64_t{1}, uint64_t{86'400'000}))
        ->capture_default_str();
    AddSettingsFile(command, bench->settings);
    AddAssignments(command, bench->assignments);
    command.footer(
        "Rates and CPU time are medians of the rounds; intervals and latency are of all frames. Each byte "
        "of a\nframe is read once. A device whose AcquisitionFrameRate is limited shows CPU and latency, "
        "and no top speed.\n\n"
        "  gentlctl bench -d OVRA-M5 -s PixelFormat=Mono8");
}

} // namespace gentlctl
