#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "gentlctl/assignments.h"
#include "gentlctl/commands.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <stdexcept>

namespace gentlctl
{
namespace
{

void PrintReport(const GrabReport &report, const std::string &device, const std::string &folder, bool asJson)
{
    const auto rate = FrameRate(report);
    if (asJson)
    {
        return PrintJson({{"device", device},
                          {"delivered", report.delivered},
                          {"incomplete", report.incomplete},
                          {"lost", report.lost},
                          {"written", report.written},
                          {"notWritten", report.unwritten},
                          {"framesPerSecond", rate},
                          {"files", report.files},
                          {"chunks", report.chunks}});
    }
    Print("{}: {} frame{}, {} incomplete, {} lost{}\n", device, report.delivered,
          report.delivered == 1 ? "" : "s", report.incomplete, report.lost,
          rate > 0 ? fmt::format(", {:.1f} frames/s", rate) : "");
    if (!folder.empty())
    {
        Print("Written to {}\n", folder);
    }
}

/// Says on standard error which frames are missing.
void ComplainOfMissing(const GrabReport &report, uint64_t frames, int signal)
{
    if (signal != 0)
    {
        Complain(fmt::format("Ended by {}, {} of {} frames came", signal == SIGINT ? "SIGINT" : "SIGTERM",
                             std::min(report.delivered, frames), frames));
    }
    if (report.unwritten != 0)
    {
        Complain(fmt::format("{} frame{} came and {} not written{}", report.unwritten,
                             report.unwritten == 1 ? "" : "s", report.unwritten == 1 ? "was" : "were",
                             report.failure ? "" : ": the disk did not keep up"));
    }
}

} // namespace

int GrabFrames(const CommonOptions &options, const std::vector<std::string> &assignments,
               const GrabOptions &grab)
{
    if (!grab.files.folder.empty())
    {
        MakeFolder(grab.files.folder);
    }
    const Interrupt interrupt;
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    Apply(remote, assignments);
    const auto report = Grab(producer, device, remote, grab, interrupt);
    const int signal = interrupt.Signal();
    if (report.delivered != 0 || signal != 0)
    {
        PrintReport(report, device.Entry().id, grab.files.folder.string(), options.json);
        ComplainOfMissing(report, grab.frames, signal);
    }
    if (report.failure)
    {
        std::rethrow_exception(report.failure);
    }
    if (signal != 0)
    {
        return killed + signal;
    }
    if (report.incomplete == report.delivered)
    {
        throw std::runtime_error("No frame is complete, so there is no picture. PROXY_TL_LOG_LEVEL=error in "
                                 "the environment makes the proxy producer log why");
    }
    return success;
}

} // namespace gentlctl
