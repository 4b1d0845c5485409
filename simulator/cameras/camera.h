#pragma once

#include "simulator/cameras/acquisition_control.h"
#include "simulator/cameras/camera_unit.h"
#include "simulator/cameras/streamed_camera.h"

namespace GenTL::simulator
{

/// An opened camera: the remote device module. Made by IFOpenDevice with all features at their defaults, and
/// closed with its device. It decides which frames are sent; the stream sends them.
///
/// This class holds what all kinds of camera share; the controls of the model add the rest. Any thread may
/// call.
class Camera : public StreamedCamera
{
public:
    /// @throws Error what the model's `complete` throws
    Camera(HandleTable &handles, CameraUnit &unit, bool writable);

    /// The unit's model as the environment changed it at opening.
    const CameraModel &Model() const override { return m_model; }

    bool HasFrame() const override { return m_acquisition.HasFrame(); }
    double FrameRate() const override { return m_acquisition.FrameRate(); }
    std::optional<FrameOrder> NextFrame() override;
    std::unique_ptr<FrameMaker> MakeFrames() const override;
    size_t PayloadSize() const override;
    void SetListener(const void *owner, std::function<void()> listener) override
    {
        m_acquisition.SetListener(owner, std::move(listener));
    }
    void RemoveListener(const void *owner) override { m_acquisition.RemoveListener(owner); }

private:
    Camera(HandleTable &handles, CameraUnit &unit, CameraModel model, bool writable);

    bool IsWritable() const override { return m_writable; }
    void EndAcquisition() override { m_acquisition.Stop(); }
    void OnClose() override { EndAcquisition(); }
    void ConnectFeatures(CameraUnit &unit);
    void Update();

    const CameraModel m_model;
    const bool m_writable;
    AcquisitionControl m_acquisition;
    std::vector<std::unique_ptr<CameraControl>> m_controls;
    std::shared_ptr<const FrameSettings> m_settings; ///< guarded by the lock of the features
};

} // namespace GenTL::simulator
