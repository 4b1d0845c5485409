#pragma once

#include "simulator/system/interface.h"

namespace GenTL::simulator
{

/// Answers a query about the producer. No system need be open.
Info SystemInfo(TL_INFO_CMD command, std::span<const InterfaceModel> interfaces);

/// The system module. Its list of interfaces is empty before the first update; an interface is found by its
/// id all the same. Any thread may call.
class System : public Module
{
public:
    /// The interfaces and the cameras outlive this object.
    System(HandleTable &handles, std::span<const InterfaceModel> interfaces,
           std::vector<std::unique_ptr<CameraUnit>> &cameras);

    Info GetInfo(TL_INFO_CMD command) const { return SystemInfo(command, m_interfaces); }

    /// Returns whether the list changed.
    bool UpdateList();
    uint32_t NumInterfaces() const;
    /// @throws Error GC_ERR_INVALID_INDEX: the list is shorter.
    std::string InterfaceId(uint32_t index) const;
    /// @throws Error GC_ERR_INVALID_ID: there is no such interface.
    Info GetInterfaceInfo(const std::string &id, INTERFACE_INFO_CMD command) const;

    /// @throws Error GC_ERR_INVALID_ID: there is no such interface.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is open already.
    void *OpenInterface(const std::string &id);

    /// Some cameras were plugged or unplugged.
    void PlugsChanged();

private:
    size_t IndexOf(const std::string &id) const;
    void ShowInterfaces();

    const std::span<const InterfaceModel> m_interfaces;
    std::vector<std::unique_ptr<CameraUnit>> &m_cameras;
    mutable std::mutex m_listMutex; ///< guards what follows
    bool m_listed = false;
    std::vector<std::weak_ptr<Interface>> m_opened; ///< one for each interface
};

} // namespace GenTL::simulator
