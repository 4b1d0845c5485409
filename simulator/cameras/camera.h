#pragma once

#include "simulator/cameras/acquisition_control.h"
#include "simulator/cameras/camera_unit.h"
#include "simulator/module/module.h"

#include <atomic>

namespace GenTL::simulator
{

/// An opened camera: the remote device module. Made by IFOpenDevice with all features at their defaults, and
/// closed with its device. It decides which frames are sent; the stream sends them.
///
/// This class holds what all kinds of camera share; the controls of the model add the rest. Any thread may
/// call.
class Camera : public Module
{
public:
    /// @throws Error what the model's `atOpening` throws
    Camera(HandleTable &handles, CameraUnit &unit, bool writable);

    /// The unit's model as the environment changed it at opening.
    const CameraModel &Model() const { return m_model; }

    AcquisitionControl &Acquisition() { return m_acquisition; }

    /// The next frame to send, or none while the camera does not acquire.
    std::optional<FrameOrder> NextFrame();

    size_t PayloadSize() const;

    /// Ends the acquisition; from now on the registers cannot be reached.
    void Unplug();

private:
    Camera(HandleTable &handles, CameraUnit &unit, CameraModel model, bool writable);

    bool IsWritable() const override { return m_writable; }
    void RequireReachable() const override;
    void OnClose() override { m_acquisition.Stop(); }
    void ConnectFeatures(CameraUnit &unit);
    void Update();

    const CameraModel m_model;
    const bool m_writable;
    std::atomic<bool> m_isGone = false;
    AcquisitionControl m_acquisition;
    std::vector<std::unique_ptr<CameraControl>> m_controls;
    std::shared_ptr<const FrameSettings> m_settings; ///< guarded by the lock of the features
};

} // namespace GenTL::simulator
