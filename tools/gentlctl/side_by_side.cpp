#include "gentlctl/side_by_side.h"

#include "gentlctl/assignments.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/progress.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"

#include <unistd.h>

#include <exception>
#include <future>

namespace gentlctl
{

SideBySide::Camera::Camera(Producer &producer, const std::string &selection, const GrabArguments &arguments)
    : device(producer, selection), remote(device.PortOf("remote"))
{
    RequireSettingsFile(device, arguments.settings);
    Apply(remote, arguments.assignments);
}

SideBySide::SideBySide(const std::string &producer, const std::vector<std::string> &devices,
                       const GrabArguments &arguments, const FrameDestination &destination)
    : m_arguments(arguments), m_destination(destination), m_producer(producer)
{
    for (const auto &selection : devices.empty() ? std::vector<std::string>{""} : devices)
    {
        m_cameras.push_back(std::make_unique<Camera>(m_producer, selection, arguments));
        m_ids.push_back(m_cameras.back()->device.Entry().id);
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
        const auto tell = [&progress](const std::string &line)
        {
            progress.Clear();
            Complain(line);
        };
        const FrameConsumer consumer{m_destination.WriterFor(camera.remote, grab.folder, tell),
                                     [&](const GrabReport &report) { progress.Show(index, report); }};
        grab.report = Grab(m_producer, camera.device, camera.remote, m_arguments.grab, interrupt, consumer);
    }
    catch (const std::exception &)
    {
        grab.report.failure = std::current_exception();
    }
    progress.Finish(index, grab.report);
    return grab;
}

} // namespace gentlctl
