#pragma once

#include "simulator/system/device.h"

namespace GenTL::simulator
{

/// A simulated adapter as data. Only a network adapter has addresses.
struct InterfaceModel
{
    std::string id;
    std::string displayName;
    uint64_t macAddress = 0;
    uint32_t ipAddress = 0;
    uint32_t subnetMask = 0;
    uint32_t gateway = 0;
    Transport transport = gigEVision;
};

/// All interfaces of simulated cameras. Those of the wide world are the last.
const std::vector<InterfaceModel> &InterfaceCatalog();

/// The interfaces of the catalogue; those of the wide world only with QVR_SIM_WIDE=1.
std::span<const InterfaceModel> InterfacesWanted();

Info InterfaceInfo(const InterfaceModel &model, INTERFACE_INFO_CMD command);

/// An opened interface with the cameras that are connected to it. Its list of devices is empty before the
/// first update; a device is found by its id all the same. Any thread may call.
class Interface : public Module
{
public:
    Interface(HandleTable &handles, const InterfaceModel &model, std::vector<CameraUnit *> cameras);

    Info GetInfo(INTERFACE_INFO_CMD command) const { return InterfaceInfo(m_model, command); }

    /// Returns whether the list changed.
    bool UpdateList();
    uint32_t NumDevices() const;
    /// @throws Error GC_ERR_INVALID_INDEX: the list is shorter.
    std::string DeviceId(uint32_t index) const;
    /// @throws Error GC_ERR_INVALID_ID: no such camera is connected.
    Info GetDeviceInfo(const std::string &id, DEVICE_INFO_CMD command) const;

    /// @throws Error GC_ERR_INVALID_ID: no such camera is connected.
    /// @throws Error GC_ERR_IO: it is in the list and was unplugged since.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is open already.
    /// @throws Error GC_ERR_INVALID_PARAMETER: `access` is unknown.
    void *OpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS access);

    /// Some cameras were plugged or unplugged: loses the open devices that are gone, and tells the consumer
    /// that the list is out of date.
    void PlugsChanged();

private:
    size_t IndexOf(const std::string &id) const;
    std::shared_ptr<Device> OpenedDevice(size_t index) const;
    std::vector<size_t> PluggedCameras() const;
    void ShowDevices();
    void ForceAddress();

    const InterfaceModel &m_model;
    const std::vector<CameraUnit *> m_cameras;
    mutable std::mutex m_listMutex; ///< guards what follows
    bool m_isUpdated = false;
    std::vector<size_t> m_listed;                ///< the cameras in the list
    std::vector<std::weak_ptr<Device>> m_opened; ///< one for each camera
};

} // namespace GenTL::simulator
