#pragma once

#include "port/i_gentl_proxy.h"

#include <memory>
#include <string>

namespace GenTL::internal
{

/// The lower producer's system module, as the local one needs it.
class IProxySystem
{
public:
    IProxySystem() = default;
    IProxySystem(const IProxySystem &) = delete;
    IProxySystem &operator=(const IProxySystem &) = delete;
    virtual ~IProxySystem() = default;

    virtual const std::shared_ptr<IGenTLProxy> &GetProxy() = 0;
    /// The lower producer's transport layer type, for example "GEV".
    virtual std::string GetTLType() = 0;
    /// The lower module's description.
    virtual std::string GetXml() = 0;
    virtual void TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout) = 0;
    virtual void TLGetNumInterfaces(uint32_t *piNumIfaces) = 0;
    virtual void TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize) = 0;
    virtual void TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                    void *pBuffer, size_t *piSize) = 0;
    virtual void TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface) = 0;
    virtual void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) = 0;
    virtual void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) = 0;
    virtual void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) = 0;
    virtual void UnregisterEvent(EVENT_TYPE iEventID) = 0;
};

} // namespace GenTL::internal
