#include "gentlctl/side_by_side.h"

#include "gentlctl/assignments.h"
#include "gentlctl/failure_text.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/progress.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <exception>
#include <functional>
#include <future>
#include <stdexcept>
#include <utility>

namespace gentlctl
{
namespace
{

/// Says when the writing falls behind: once that frames are left out, and once that frames are written after
/// the end.
class WritingReport
{
public:
    explicit WritingReport(std::function<void(const std::string &line)> tell) : m_tell(std::move(tell)) {}

    void Take(const GrabReport &report)
    {
        if (report.unwritten != 0 && !std::exchange(m_hasToldOfLoss, true))
        {
            m_tell("The writing does not keep up, and frames are left out; lower the rate, or use -f raw");
        }
        constexpr int patience = 6; // half seconds
        if (report.hasEnded && ++m_waits == patience)
        {
            m_tell(fmt::format("Writing the last {} frames; Ctrl-C leaves them out", report.waiting));
        }
        if (report.isAbandoned && !std::exchange(m_hasToldOfSignal, true))
        {
            m_tell(fmt::format("A signal leaves out the last {} frames", report.waiting));
        }
    }

private:
    const std::function<void(const std::string &line)> m_tell;
    bool m_hasToldOfLoss = false;
    int m_waits = 0; ///< for the writer after the end
    bool m_hasToldOfSignal = false;
};

} // namespace

SideBySide::Camera::Camera(Producer &producer, const std::string &selection)
    : device(producer, selection), remote(device.PortOf("remote"))
{
}

SideBySide::SideBySide(const std::string &producer, const std::vector<std::string> &devices,
                       const GrabArguments &arguments, const FrameDestination &destination)
    : m_arguments(arguments), m_destination(destination), m_producer(producer)
{
    for (const auto &selection : devices.empty() ? std::vector<std::string>{""} : devices)
    {
        m_cameras.push_back(std::make_unique<Camera>(m_producer, selection));
        m_ids.push_back(m_cameras.back()->device.Entry().id);
        Set(*m_cameras.back(), devices.size() > 1);
    }
}

void SideBySide::Set(Camera &camera, bool isOneOfSeveral) const
{
    try
    {
        RequireSettingsFile(camera.device, m_arguments.settings);
        Apply(camera.remote, m_arguments.assignments);
    }
    catch (const std::exception &)
    {
        if (!isOneOfSeveral)
        {
            throw;
        }
        throw std::runtime_error(
            fmt::format("{}: {}", camera.device.Entry().id, FailureText(std::current_exception())));
    }
}

std::vector<DeviceGrab> SideBySide::Run(const Interrupt &interrupt)
{
    Progress progress(isatty(STDERR_FILENO) != 0, m_arguments.grab.frames, m_ids);
    std::vector<std::future<DeviceGrab>> running;
    for (size_t i = 0; i < m_cameras.size(); ++i)
    {
        running.push_back(std::async(std::launch::async, [&, i] { return RunOne(i, interrupt, progress); }));
    }
    std::vector<DeviceGrab> grabs;
    grabs.reserve(running.size());
    for (auto &one : running)
    {
        grabs.push_back(one.get());
    }
    progress.End();
    return grabs;
}

DeviceGrab SideBySide::RunOne(size_t index, const Interrupt &interrupt, Progress &progress)
{
    auto &camera = *m_cameras[index];
    DeviceGrab grab{.device = m_ids[index], .folder = "", .report = {}};
    try
    {
        grab.folder = m_destination.FolderOf(grab.device, m_cameras.size());
        const auto tell = [&](const std::string &line) { Tell(index, line, progress); };
        WritingReport writing(tell);
        const FrameConsumer consumer{m_destination.WriterFor(camera.remote, grab.folder, tell),
                                     [&](const GrabReport &report)
                                     {
                                         writing.Take(report);
                                         progress.Show(index, report);
                                     }};
        grab.report = Grab(m_producer, camera.device, camera.remote, m_arguments.grab, interrupt, consumer);
    }
    catch (const std::exception &)
    {
        grab.report.failure = std::current_exception();
    }
    progress.Finish(index, grab.report);
    if (grab.report.failure && m_cameras.size() > 1)
    {
        Tell(index, FailureText(grab.report.failure), progress);
    }
    return grab;
}

void SideBySide::Tell(size_t index, const std::string &line, Progress &progress) const
{
    const auto &id = m_ids[index];
    progress.Clear();
    Complain(m_cameras.size() > 1 && !line.starts_with(id) ? fmt::format("{}: {}", id, line) : line);
}

} // namespace gentlctl
