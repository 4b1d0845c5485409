#pragma once

#include "simulator/cameras/streamed_camera.h"
#include "simulator/recordings/recorded_registers.h"
#include "simulator/recordings/replay_options.h"

#include <mutex>
#include <string>

namespace GenTL::simulator
{

/// A recorded camera as a remote device: the recorded registers, and the recorded frames from
/// AcquisitionStart on. A camera without this command sends whenever its stream runs. Made by IFOpenDevice,
/// and closed with its device. Any thread may call.
class RecordedCamera final : public StreamedCamera
{
public:
    /// @param model has a recording, and outlives this object
    /// @throws Error the rate in the environment is not a number
    RecordedCamera(HandleTable &handles, const CameraModel &model, bool writable);

    void Read(uint64_t address, std::span<uint8_t> out) override;
    void Write(uint64_t address, std::span<const uint8_t> in) override;
    std::string Url() const override;
    Info GetPortInfo(PORT_INFO_CMD command) const override;
    Info GetUrlInfo(uint32_t index, URL_INFO_CMD command) const override;

    const CameraModel &Model() const override { return m_model; }
    bool HasFrame() const override;
    double FrameRate() const override;
    std::optional<FrameOrder> NextFrame() override;
    std::unique_ptr<FrameMaker> MakeFrames() const override;
    size_t PayloadSize() const override;
    void SetListener(const void *owner, std::function<void()> listener) override;
    void RemoveListener(const void *owner) override;

private:
    bool IsWritable() const override { return m_writable; }
    void OnClose() override { EndAcquisition(); }
    void EndAcquisition() override { SetRunning(false); }
    void Execute(const std::string &command);
    void SetRunning(bool running);

    const CameraModel &m_model;
    const recording::DeviceRecord &m_device;
    const ReplayOptions m_options;
    const bool m_writable;

    mutable std::recursive_mutex m_mutex; ///< guards what follows; held while the listener is called
    RecordedRegisters m_registers;
    const void *m_listenerOwner = nullptr;
    std::function<void()> m_listener;
    bool m_running;
    uint64_t m_sent = 0; ///< frames since AcquisitionStart
};

} // namespace GenTL::simulator
