#pragma once

#include "assembly.h"
#include "port/proxy_module.h"
#include "profile/profile.h"

#include <memory>
#include <string>

namespace GenTL::internal
{

class InstanceManager;

/// The object behind an IF_HANDLE: the lower interface, with a filter that admits one family of devices.
/// Other devices stay in the list, are reported as not accessible and cannot be opened.
///
/// Made by TLOpenInterface, owned by the Interface registry; the destructor calls the lower IFClose. Open
/// devices do not depend on their interface. Has no lock: constant after SetHandle, which runs inside
/// TLOpenInterface.
class Interface final : public ProxyModule
{
public:
    /// @param parentSystem the consumer's handle of the system
    Interface(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, IF_HANDLE lowerHandle,
              TL_HANDLE parentSystem, bool filterDevices, const Profile &profile = {},
              const Assembly &assembly = {});
    ~Interface() override;

    void SetHandle(IF_HANDLE handle) { m_handle = handle; }
    TL_HANDLE GetParentSystem() const { return m_parentSystem; }
    ModuleType GetModuleType() const override { return ModuleType::Interface; }
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;

    void IFGetInfo(INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);
    void IFGetNumDevices(uint32_t *piNumDevices);
    void IFGetDeviceID(uint32_t iIndex, char *sIDeviceID, size_t *piSize);
    void IFUpdateDeviceList(bool8_t *pbChanged, uint64_t iTimeout);
    /// Always queries the device's model first; if that query fails, the call fails with its error.
    void IFGetDeviceInfo(const char *sDeviceID, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                         void *pBuffer, size_t *piSize);
    /// @throws GenTLException "Access denied!", GC_ERR_ACCESS_DENIED, for a device outside of the family;
    /// GC_ERR_INVALID_PARAMETER or GC_ERR_NOT_IMPLEMENTED for the flags; whatever the constructor of Device
    /// throws
    void IFOpenDevice(const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags, DEV_HANDLE *phDevice);

private:
    bool IsAdmitted(const char *sDeviceID);
    DEV_HANDLE OpenLowerDevice(const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags);
    template <typename Call>
    void CallWithId(Call call);

    InstanceManager *m_manager;
    TL_HANDLE m_parentSystem;
    IF_HANDLE m_handle = nullptr;
    bool m_filterDevices;
    Profile m_profile;
    Assembly m_assembly;
};

/// Whether a device of this model name belongs to the family: the name begins with "ovra", in upper or lower
/// case.
bool IsAdmittedModel(std::string model);

} // namespace GenTL::internal
