#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "consumer/producer_files.h"
#include "consumer/selected_entries.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/device_recording.h"
#include "gentlctl/frame_writer.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/lens_calibration.h"
#include "gentlctl/recorder.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "utils/try.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using GenTL::internal::utils::Try;

struct RecordCommandOptions
{
    std::string folder;
    std::vector<std::string> assignments;
    RecordOptions record;
};

/// The lens in a form for other programs. The recording itself needs no vision library.
void AddCalibration(recording::RecordingWriter &writer, const recording::DeviceRecord &device,
                    const Features &remote)
{
    const auto &files = device.registers.fileAccess.files;
    const auto lens = std::ranges::find(files, lensCalibrationFile, &recording::DeviceFile::name);
    if (lens == files.end())
    {
        return;
    }
    try
    {
        const auto &content = lens->content;
        const auto calibration =
            ParseLensCalibration({reinterpret_cast<const uint8_t *>(content.data()), content.size()});
        writer.AddFile("calibration.yaml", ToYaml(calibration, DepthScaleOf(remote)));
    }
    catch (const std::exception &exception)
    {
        Complain(fmt::format("No calibration.yaml is written: {}", exception.what()));
    }
}

/// Says that events are not recorded, where the camera sends some.
void WarnOfEvents(const Features &remote)
{
    if (!remote.Has("EventSelector") || !remote.Has("EventNotification"))
    {
        return;
    }
    const auto isOn = [&](const std::string &) { return remote.Get("EventNotification") != "Off"; };
    const auto events = Try([&] { return EntriesWhere(remote, "EventSelector", isOn); });
    if (events && !events->empty())
    {
        Complain(fmt::format("The events of the camera are not recorded: {}. A replay sends none",
                             fmt::join(*events, ", ")));
    }
}

void PrintReport(const RecordReport &report, const std::string &device, const RecordCommandOptions &command,
                 uint64_t bytes, bool asJson)
{
    const auto perSecond = [](uint64_t count, double seconds)
    { return seconds > 0 ? static_cast<double>(count) / seconds : 0.0; };
    const auto received = report.delivered == 0 ? 0 : perSecond(report.delivered - 1, report.seconds);
    const auto written = perSecond(report.recorded, report.writingSeconds);
    const auto bytesPerSecond = perSecond(bytes, report.writingSeconds);
    if (asJson)
    {
        return PrintJson({{"device", device},
                          {"folder", command.folder},
                          {"recorded", report.recorded},
                          {"notRecorded", report.unwritten},
                          {"lost", report.lost},
                          {"bytes", bytes},
                          {"framesPerSecond", received},
                          {"writtenFramesPerSecond", written},
                          {"writtenBytesPerSecond", bytesPerSecond}});
    }
    Print("{}: {} frame{} recorded, {:.1f} MB, {} not recorded, {} lost\n", device, report.recorded,
          report.recorded == 1 ? "" : "s", static_cast<double>(bytes) / 1e6, report.unwritten, report.lost);
    if (report.recorded != 0)
    {
        // A single frame has no rate of receiving.
        Print("{} at {:.1f} frames/s, {:.3f} GB/s\nRecorded in {}\n",
              received > 0 ? fmt::format("Received at {:.1f} frames/s, written", received) : "Written",
              written, bytesPerSecond / 1e9, command.folder);
    }
}

int RecordDevice(const CommonOptions &options, const RecordCommandOptions &command)
{
    constexpr int toEndAndToStopWriting = 2;
    const Interrupt interrupt(toEndAndToStopWriting);
    Producer producer(RawProducerFile(options.producer));
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    Apply(remote, command.assignments);
    WarnOfEvents(remote);
    const auto description = DescribeDevice(producer, device);
    recording::RecordingWriter writer(command.folder, description);
    writer.AddFile("settings.json", JsonText(remote.Values({}), 1) + "\n");
    AddCalibration(writer, description, remote);
    const auto report =
        Record(producer, device, remote, writer, description.ticksPerSecond, command.record, interrupt);
    PrintReport(report, device.Entry().id, command, writer.Bytes(), options.json);
    if (report.unwritten != 0)
    {
        Complain(fmt::format("{} of {} frames were not recorded{}", report.unwritten, report.delivered,
                             WhyUnwritten(report.failure != nullptr, report.isAbandoned)));
    }
    if (report.failure)
    {
        std::rethrow_exception(report.failure);
    }
    if (report.recorded == 0 && interrupt.Signal() == 0)
    {
        throw std::runtime_error("No frame came within --duration, so nothing is recorded");
    }
    if (report.recorded == 0)
    {
        Complain(fmt::format("Nothing was recorded: no frame came. {} cannot be replayed", command.folder));
    }
    return interrupt.Signal() == 0 ? success : killed + interrupt.Signal();
}

constexpr auto recordFooter =
    "Records what the camera sends, before any conversion: through either producer of this project, the "
    "frames of the lower one. Ctrl-C ends the recording in order; the recording is complete then.\n\n"
    "  gentlctl record -d OVRA-D1 -n 100 -o depth\n"
    "  gentlctl replay depth grab -n 100 -o pictures";

} // namespace

void DeclareRecord(Commands &commands)
{
    const auto chosen = std::make_shared<RecordCommandOptions>();
    auto &options = chosen->record;
    auto &command =
        commands.Add("record", "Record a camera: its frames, description, settings and files",
                     [chosen](const CommonOptions &common) { return RecordDevice(common, *chosen); });
    command.add_option("-o,--output", chosen->folder, "Folder of the recording, which holds none yet")
        ->type_name("FOLDER")
        ->check(CLI::Validator(
            [](const std::string &folder)
            {
                return folder == "-"
                           ? std::string("a recording is a folder and cannot go into standard output")
                           : std::string();
            },
            ""))
        ->required();
    command.add_option("-n,--frames", options.frames, "Number of frames; 0: until Ctrl-C or --duration")
        ->check(Within(uint64_t{0}, largestCount))
        ->capture_default_str();
    AddDuration(command, "Longest time to record, as 500ms, 10s, 2min or 1h",
                [&options](std::chrono::nanoseconds time) { options.duration = time; });
    command
        .add_option("-b,--buffers", options.buffers,
                    "Buffers to queue; default: as many as the frames need, within 512 MiB")
        ->check(Within(4, 4096));
    command.add_option("-t,--timeout", options.timeoutMs, "Longest wait for a frame, ms")
        ->check(Within(uint64_t{1}, uint64_t{86'400'000}))
        ->capture_default_str();
    AddAssignments(command, chosen->assignments);
    command.footer(recordFooter);
}

} // namespace gentlctl
