#include "gentlctl/grab_report.h"

#include "gentlctl/frame_writer.h"
#include "gentlctl/interrupt.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace gentlctl
{
namespace
{

double Milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string Row(const char *name, const Spread &seconds)
{
    constexpr double ms = 1000;
    return fmt::format("  {:8} {:10.3f} {:10.3f} {:10.3f} {:10.3f} ms", name, seconds.Minimum() * ms,
                       seconds.Mean() * ms, seconds.Maximum() * ms, seconds.Deviation() * ms);
}

std::string FrameCount(uint64_t count)
{
    return fmt::format("{} frame{}", count, count == 1 ? "" : "s");
}

} // namespace

Json ToJson(const DeviceGrab &grab)
{
    const auto &report = grab.report;
    Json json{{"device", grab.device}};
    json.update(ToJson(report.statistics));
    if (report.noLatency.empty())
    {
        json["latencyUncertaintyMs"] = Milliseconds(report.latencyUncertainty);
    }
    else
    {
        json["noLatency"] = report.noLatency;
    }
    json["written"] = report.written;
    json["notWritten"] = report.unwritten;
    json["files"] = report.files;
    json["chunks"] = report.chunks;
    return json;
}

std::string ToText(const DeviceGrab &grab)
{
    const auto &statistics = grab.report.statistics;
    auto text = fmt::format(
        "{}: {}, {} incomplete, {} lost{}{}\n", grab.device, FrameCount(statistics.Delivered()),
        statistics.Incomplete(), statistics.Lost(),
        statistics.Skipped() != 0 ? fmt::format(", {} skipped for newer ones", statistics.Skipped()) : "",
        statistics.Rate() > 0 ? fmt::format(", {:.1f} frames/s", statistics.Rate()) : "");
    if (statistics.Intervals().Count() != 0)
    {
        text +=
            fmt::format("  {:8} {:>10} {:>10} {:>10} {:>10}\n", "", "minimum", "mean", "maximum", "jitter");
        text += Row("interval", statistics.Intervals()) + "\n";
        text += statistics.Latency().Count() != 0
                    ? fmt::format("{}, give or take {:.3f} ms\n", Row("latency", statistics.Latency()),
                                  Milliseconds(grab.report.latencyUncertainty))
                    : fmt::format("  {:8} not known: {}\n", "latency", grab.report.noLatency);
    }
    return grab.folder.empty() || grab.report.written == 0
               ? text
               : text + fmt::format("Written to {}\n", grab.folder);
}

std::vector<std::string> Complaints(const GrabReport &report, const GrabOptions &options, int signal)
{
    std::vector<std::string> lines;
    if (signal != 0)
    {
        const auto *const name = NameOfSignal(signal);
        const auto came = report.statistics.Delivered();
        lines.push_back(options.frames != 0 ? fmt::format("Ended by {}, {} of {} frames came", name,
                                                          std::min(came, options.frames), options.frames)
                                            : fmt::format("Ended by {} after {}", name, FrameCount(came)));
    }
    if (report.isPipeClosed)
    {
        lines.push_back(fmt::format("The reader closed the pipe after {}", FrameCount(report.written)));
    }
    else if (report.unwritten != 0)
    {
        lines.push_back(fmt::format("{} came and {} not written{}", FrameCount(report.unwritten),
                                    report.unwritten == 1 ? "was" : "were",
                                    WhyUnwritten(report.failure != nullptr, report.isAbandoned)));
    }
    return lines;
}

std::optional<std::string> StrictComplaint(const DeviceGrab &grab)
{
    const auto &[device, folder, report] = grab;
    const auto lost = report.statistics.Lost();
    const auto incomplete = report.statistics.Incomplete();
    const auto unwritten = report.isPipeClosed ? 0 : report.unwritten;
    if (lost + incomplete + unwritten == 0)
    {
        return std::nullopt;
    }
    return fmt::format("{}: {} lost, {} incomplete, {} not written, which --strict does not let pass", device,
                       FrameCount(lost), incomplete, unwritten);
}

} // namespace gentlctl
