#pragma once

#include "simulator/system/interface.h"

namespace GenTL::simulator
{

/// What the producer tells of itself, before TLOpen too.
Info SystemInfo(TL_INFO_CMD command);

/// The system module. The list of interfaces is empty, and no interface known, before its first update.
/// Any thread may call.
class System : public Module
{
public:
    System(HandleTable &handles, std::vector<std::unique_ptr<CameraUnit>> &cameras);

    /// True if the list changed.
    bool UpdateList();
    uint32_t NumInterfaces() const;
    /// @throws Error GC_ERR_INVALID_INDEX: the list is shorter.
    std::string InterfaceId(uint32_t index) const;
    /// @throws Error GC_ERR_INVALID_ID: the list holds no such interface.
    Info GetInterfaceInfo(const std::string &id, INTERFACE_INFO_CMD command) const;

    /// @throws Error GC_ERR_INVALID_ID: the list holds no such interface.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is open.
    void *OpenInterface(const std::string &id);

private:
    size_t IndexOf(const std::string &id) const;
    void ShowInterfaces();

    std::vector<std::unique_ptr<CameraUnit>> &m_cameras;
    mutable std::mutex m_listMutex; ///< guards what follows
    bool m_listed = false;
    std::vector<std::weak_ptr<Interface>> m_opened; ///< one for each interface
};

} // namespace GenTL::simulator
