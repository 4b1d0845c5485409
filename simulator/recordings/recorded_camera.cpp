#include "simulator/recordings/recorded_camera.h"

#include "recording/file_names.h"
#include "simulator/recordings/file_url.h"
#include "simulator/recordings/recorded_answer.h"
#include "simulator/recordings/recorded_frames.h"

#include <algorithm>
#include <filesystem>

namespace GenTL::simulator
{

namespace
{

constexpr double nanosecondsInASecond = 1e9;

bool HasStart(const recording::DeviceRecord &device)
{
    return std::ranges::any_of(device.registers.commands, [](const recording::CommandPlace &command)
                               { return command.place.feature == "AcquisitionStart"; });
}

} // namespace

RecordedCamera::RecordedCamera(HandleTable &handles, const CameraModel &model, bool writable)
    : StreamedCamera(handles, model, FeatureLayout({}), ""), m_model(model),
      m_device(model.recording->Device()), m_options(ReadReplayOptions()), m_writable(writable),
      m_registers(m_device, [this](const std::string &command) { Execute(command); }),
      m_running(!HasStart(m_device))
{
}

void RecordedCamera::Read(uint64_t address, std::span<uint8_t> out)
{
    RequireReachable();
    const std::lock_guard lock(m_mutex);
    m_registers.Read(address, out);
}

void RecordedCamera::Write(uint64_t address, std::span<const uint8_t> in)
{
    RequireReachable();
    if (!m_writable)
    {
        throw Error(GC_ERR_ACCESS_DENIED, "The module was opened for reading only");
    }
    const std::lock_guard lock(m_mutex);
    m_registers.Write(address, in);
}

/// A description that was not in the camera is read from the recording.
std::string RecordedCamera::Url() const
{
    if (m_device.descriptionAddress)
    {
        return m_device.url;
    }
    const auto folder = std::filesystem::absolute(m_model.recording->Folder());
    return FileUrl(folder / recording::DescriptionFile(m_device));
}

Info RecordedCamera::GetPortInfo(PORT_INFO_CMD command) const
{
    return command == PORT_INFO_ACCESS_WRITE ? Info::Bool(m_writable)
                                             : RecordedAnswer(m_device.portInfos, command);
}

Info RecordedCamera::GetUrlInfo(uint32_t index, URL_INFO_CMD command) const
{
    if (index != 0)
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is one URL only");
    }
    return command == URL_INFO_URL ? Info::Text(Url()) : RecordedAnswer(m_device.urlInfos, command);
}

void RecordedCamera::Execute(const std::string &command)
{
    if (command == "AcquisitionStart")
    {
        m_sent = 0;
        SetRunning(true);
    }
    else if (command == "AcquisitionStop" || command == "AcquisitionAbort")
    {
        SetRunning(!HasStart(m_device));
    }
}

void RecordedCamera::SetRunning(bool running)
{
    const std::lock_guard lock(m_mutex);
    m_running = running;
    if (m_listener)
    {
        m_listener();
    }
}

bool RecordedCamera::HasFrame() const
{
    const std::lock_guard lock(m_mutex);
    return m_running;
}

/// The recorded rate follows from the time since the frame before. For the first frame, it is that of the
/// second.
double RecordedCamera::FrameRate() const
{
    if (m_options.rate)
    {
        return *m_options.rate;
    }
    const std::lock_guard lock(m_mutex);
    const auto &recording = *m_model.recording;
    if (recording.Frames() < 2)
    {
        return 0;
    }
    const auto frame = std::max<uint64_t>(m_sent % recording.Frames(), 1);
    const auto time = recording.PlaceOf(frame).time;
    const auto before = recording.PlaceOf(frame - 1).time;
    return time > before ? nanosecondsInASecond / static_cast<double>(time - before) : 0;
}

std::optional<FrameOrder> RecordedCamera::NextFrame()
{
    const std::lock_guard lock(m_mutex);
    if (!m_running)
    {
        return std::nullopt;
    }
    ++m_sent;
    m_running = !m_options.once || m_sent < m_model.recording->Frames();
    return FrameOrder{m_sent, 0, nullptr};
}

std::unique_ptr<FrameMaker> RecordedCamera::MakeFrames() const
{
    return std::make_unique<RecordedFrames>(m_model.recording);
}

size_t RecordedCamera::PayloadSize() const
{
    return static_cast<size_t>(std::max(m_device.payloadSize, m_model.recording->LargestFrame()));
}

void RecordedCamera::SetListener(const void *owner, std::function<void()> listener)
{
    const std::lock_guard lock(m_mutex);
    m_listenerOwner = owner;
    m_listener = std::move(listener);
}

void RecordedCamera::RemoveListener(const void *owner)
{
    const std::lock_guard lock(m_mutex);
    if (m_listenerOwner == owner)
    {
        m_listener = nullptr;
    }
}

} // namespace GenTL::simulator
