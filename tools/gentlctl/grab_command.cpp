#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "gentlctl/assignments.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/frame_pipe.h"
#include "gentlctl/grab_arguments.h"
#include "gentlctl/grab_report.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/progress.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <ctime>
#include <exception>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

/// A device to grab from, open and set.
struct Camera
{
    Camera(Producer &producer, const std::string &selection, const std::vector<std::string> &assignments)
        : device(producer, selection), remote(device.PortOf("remote"))
    {
        Apply(remote, assignments);
    }

    OpenDevice device;
    Features remote;
};

/// Where the frames go. Made before the producer is loaded, so that a place that cannot be written to is told
/// at once.
class Destination
{
public:
    explicit Destination(const GrabArguments &arguments) : m_arguments(arguments)
    {
        if (arguments.GoesIntoPipe())
        {
            m_pipe = GiveStandardOutputToData();
        }
        else if (!arguments.output.empty())
        {
            MakeFolder(arguments.output);
        }
    }

    /// The folder for the files of a device, which it makes: the one that the user names, and in it one for
    /// each of several devices. Empty when there are no files.
    std::string FolderOf(const std::string &id, size_t devices) const
    {
        if (m_arguments.output.empty() || m_arguments.GoesIntoPipe() || devices == 1)
        {
            return m_arguments.GoesIntoPipe() ? "" : m_arguments.output;
        }
        // An id may have characters that a name of a file cannot have.
        auto name = id;
        std::ranges::replace_if(
            name,
            [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '.'; },
            '_');
        auto folder = m_arguments.output + "/" + name;
        MakeFolder(folder);
        return folder;
    }

    /// What writes the frames of a device; null when none are written.
    /// @param folder as FolderOf
    FrameWriter::Write WriterFor(const Features &remote, const std::string &folder) const
    {
        if (m_arguments.GoesIntoPipe())
        {
            return IntoPipe(remote);
        }
        if (folder.empty())
        {
            return nullptr;
        }
        auto files = m_arguments.files;
        files.folder = folder;
        return [files = std::move(files)](const FrameInfo &frame, uint64_t number)
        { return WriteFrame(frame, number, files); };
    }

private:
    FrameWriter::Write IntoPipe(const Features &remote) const
    {
        const FramePipeOptions options{m_arguments.files.format, m_arguments.files.pictures, RateOf(remote)};
        const auto pipe = std::make_shared<FramePipe>(m_pipe, options, Complain);
        return [pipe](const FrameInfo &frame, uint64_t)
        {
            pipe->Write(frame);
            return std::vector<std::string>();
        };
    }

    /// The rate of a video: what the device says, 0 when it does not.
    static double RateOf(const Features &remote)
    {
        for (const auto *feature : {"AcquisitionResultingFrameRate", "AcquisitionFrameRate"})
        {
            const auto value = remote.Values({feature})[feature];
            if (value.is_number())
            {
                return value.get<double>();
            }
        }
        return 0;
    }

    const GrabArguments &m_arguments;
    int m_pipe = -1;
};

/// Grabs from all devices at the same time, each on a thread of its own.
class SideBySide
{
public:
    SideBySide(const CommonOptions &options, const GrabArguments &arguments, const Destination &destination)
        : m_arguments(arguments), m_destination(destination), m_producer(options.producer)
    {
        // One without a name is the first that can be opened.
        const auto selections = options.devices.empty() ? std::vector<std::string>{""} : options.devices;
        for (const auto &selection : selections)
        {
            m_cameras.push_back(std::make_unique<Camera>(m_producer, selection, arguments.assignments));
            m_ids.push_back(m_cameras.back()->device.Entry().id);
        }
    }

    std::vector<DeviceGrab> Run(const Interrupt &interrupt)
    {
        Progress progress(isatty(STDERR_FILENO) != 0, m_arguments.grab.frames, m_ids);
        std::vector<std::future<DeviceGrab>> running;
        for (size_t i = 0; i < m_cameras.size(); ++i)
        {
            running.push_back(
                std::async(std::launch::async, [&, i] { return RunOne(i, interrupt, progress); }));
        }
        std::vector<DeviceGrab> grabs;
        for (auto &one : running)
        {
            grabs.push_back(one.get());
        }
        progress.End();
        return grabs;
    }

private:
    /// A failure is in the report: the other devices go on.
    DeviceGrab RunOne(size_t index, const Interrupt &interrupt, Progress &progress)
    {
        auto &camera = *m_cameras[index];
        DeviceGrab grab{.device = m_ids[index], .folder = "", .report = {}};
        try
        {
            grab.folder = m_destination.FolderOf(grab.device, m_cameras.size());
            const FrameConsumer consumer{m_destination.WriterFor(camera.remote, grab.folder),
                                         [&](const GrabReport &report) { progress.Show(index, report); }};
            grab.report =
                Grab(m_producer, camera.device, camera.remote, m_arguments.grab, interrupt, consumer);
        }
        catch (const std::exception &)
        {
            grab.report.failure = std::current_exception();
        }
        progress.Finish(index, grab.report);
        return grab;
    }

    const GrabArguments &m_arguments;
    const Destination &m_destination;
    Producer m_producer;
    std::vector<std::unique_ptr<Camera>> m_cameras;
    std::vector<std::string> m_ids;
};

/// Why a grab without a failure gave nothing; null when it gave something.
std::exception_ptr Emptiness(const GrabReport &report)
{
    const auto &statistics = report.statistics;
    if (statistics.Delivered() == 0 && !report.isPipeClosed)
    {
        return std::make_exception_ptr(std::runtime_error("No frame came within --duration"));
    }
    if (statistics.Incomplete() == statistics.Delivered())
    {
        return std::make_exception_ptr(
            std::runtime_error("No frame is complete, so there is no picture. PROXY_TL_LOG_LEVEL=error in "
                               "the environment makes the proxy producer log why"));
    }
    return nullptr;
}

std::string TextOf(const std::exception_ptr &failure)
{
    try
    {
        std::rethrow_exception(failure);
    }
    catch (const GenTL::internal::GenTLException &exception)
    {
        return fmt::format("{} ({})", exception.what(), exception.Code());
    }
    catch (const std::exception &exception)
    {
        return exception.what();
    }
}

/// How much a program works: the seconds for which it used a processor, and those that passed.
struct Load
{
    double used = 0;
    double passed = 0;
};

/// Both since some moment in the past.
Load LoadSoFar()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return {static_cast<double>(std::clock()) / CLOCKS_PER_SEC, std::chrono::duration<double>(now).count()};
}

/// Prints what came from the devices.
void PrintGrabs(const std::vector<DeviceGrab> &grabs, const Load &load, bool asJson)
{
    auto devices = Json::array();
    for (const auto &grab : grabs)
    {
        devices.push_back(ToJson(grab));
    }
    const double percent = load.passed > 0 ? load.used / load.passed * 100 : 0;
    if (asJson)
    {
        auto json = grabs.size() == 1 ? devices[0] : Json{{"devices", devices}};
        json.update({{"processorSeconds", load.used}, {"processorPercent", percent}});
        return PrintJson(json);
    }
    for (const auto &grab : grabs)
    {
        PrintText(ToText(grab));
    }
    Print("Processor: {:.1f} s, {:.0f} % of one core\n", load.used, percent);
}

/// Says on standard error what is missing.
void ComplainOfMissing(const std::vector<DeviceGrab> &grabs, const GrabOptions &options, int signal)
{
    for (const auto &grab : grabs)
    {
        for (const auto &line : Complaints(grab.report, options, signal))
        {
            Complain(grabs.size() == 1 ? line : fmt::format("{}: {}", grab.device, line));
        }
    }
}

/// Says on standard error which devices failed, and returns whether one did.
/// @throws the failure of a single device
bool ComplainOfFailures(const std::vector<DeviceGrab> &grabs)
{
    bool hasFailed = false;
    for (const auto &grab : grabs)
    {
        const auto failure = grab.report.failure ? grab.report.failure : Emptiness(grab.report);
        if (failure && grabs.size() == 1)
        {
            std::rethrow_exception(failure);
        }
        if (failure)
        {
            Complain(fmt::format("{}: {}", grab.device, TextOf(failure)));
            hasFailed = true;
        }
    }
    return hasFailed;
}

/// Says on standard error what `--strict` does not let pass, and returns whether there is something.
bool ComplainStrictly(const std::vector<DeviceGrab> &grabs)
{
    bool isWrong = false;
    for (const auto &grab : grabs)
    {
        if (const auto complaint = StrictComplaint(grab))
        {
            Complain(*complaint);
            isWrong = true;
        }
    }
    return isWrong;
}

/// An interrupt ends the grab in order; the status is that of a program ended by the signal.
int GrabFrames(const CommonOptions &options, const GrabArguments &arguments)
{
    CheckTogether(arguments, options.devices.size());
    const Destination destination(arguments);
    const Interrupt interrupt;
    SideBySide cameras(options, arguments, destination);
    const auto before = LoadSoFar();
    const auto grabs = cameras.Run(interrupt);
    const auto after = LoadSoFar();
    const int signal = interrupt.Signal();
    const auto hasFrames = [](const DeviceGrab &grab) { return grab.report.statistics.Delivered() != 0; };
    if (std::ranges::any_of(grabs, hasFrames) || signal != 0)
    {
        PrintGrabs(grabs, {after.used - before.used, after.passed - before.passed}, options.json);
        ComplainOfMissing(grabs, arguments.grab, signal);
    }
    if (arguments.isStrict && ComplainStrictly(grabs))
    {
        return failed;
    }
    if (signal != 0)
    {
        return killed + signal;
    }
    return ComplainOfFailures(grabs) ? failed : success;
}

constexpr auto grabFooter =
    "Writes each frame as frame-NNNNN.png (.tiff, .npy, .exr, .raw), all that is known of it, chunks "
    "included, "
    "as .json, and points also as .ply or .pcd. A format that holds several images gives frame-NNNNN-A, -B, "
    "... "
    "Several devices grab at the same time, each into a folder of its own. Ctrl-C ends the grab in order.\n\n"
    "  gentlctl grab -d OVRA-M5 -n 10 -s PixelFormat=Mono12 -f tiff -o frames\n"
    "  gentlctl grab -d OVRA-M5 -d OVRA-C5 --duration 10s --strict\n"
    "  gentlctl grab -d OVRA-C5 -n 0 --newest -f y4m -o - | ffplay -\n"
    "  gentlctl grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o depth --view";

} // namespace

void DeclareGrab(Commands &commands)
{
    const auto arguments = std::make_shared<GrabArguments>();
    auto &command = commands.Add(
        "grab", "Grab frames, measure them and write them to files",
        [arguments](const CommonOptions &common) { return GrabFrames(common, *arguments); },
        Commands::Devices::Several);
    DeclareGrabArguments(command, *arguments);
    command.footer(grabFooter);
}

} // namespace gentlctl
