#pragma once

#include "simulator/cameras/camera_unit.h"
#include "simulator/cameras/streamed_camera.h"
#include "simulator/streaming/data_stream.h"

namespace GenTL::simulator
{

/// An opened device. It owns its camera, which is the remote device, and opens the camera's one stream. Made
/// by the interface, which opens at most one device for a camera. Any thread may call.
class Device : public Module
{
public:
    Device(HandleTable &handles, CameraUnit &unit, DEVICE_ACCESS_FLAGS access);

    bool IsReadOnly() const { return m_access == DEVICE_ACCESS_READONLY; }

    Info GetInfo(DEVICE_INFO_CMD command) const;

    void *CameraHandle();

    /// The camera was unplugged: tells the consumer, and makes the registers unreachable for good.
    void Lose();

    /// @throws Error GC_ERR_INVALID_ID: no stream of this id.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is open already.
    /// @throws Error GC_ERR_ACCESS_DENIED: the device was opened for reading only.
    void *OpenStream(const std::string &id);

private:
    void OnClose() override;

    CameraUnit &m_unit;
    const DEVICE_ACCESS_FLAGS m_access;
    const std::shared_ptr<StreamedCamera> m_camera;
    std::mutex m_openMutex;
    std::weak_ptr<DataStream> m_stream;
};

/// Answers a query about a camera. `open` is its device, or null while it is closed.
Info DeviceInfo(const CameraUnit &unit, const Device *open, DEVICE_INFO_CMD command);

} // namespace GenTL::simulator
