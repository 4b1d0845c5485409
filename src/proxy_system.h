#pragma once

#include "i_proxy_system.h"
#include "port/proxy_module.h"

#include <memory>
#include <string>

namespace GenTL::internal
{

/// Owner of the lower TL_HANDLE; the destructor calls the lower TLClose. Made by TLOpen, owned by a System.
class ProxySystem final : public ProxyModule, public IProxySystem
{
public:
    ProxySystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE handle);
    ~ProxySystem() override;

    ModuleType GetModuleType() const override { return ModuleType::System; }

    const std::shared_ptr<IGenTLProxy> &GetProxy() override { return Proxy(); }
    std::string GetTLType() override;
    std::string GetXml() override;
    void TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout) override;
    void TLGetNumInterfaces(uint32_t *piNumIfaces) override;
    void TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize) override;
    void TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                            void *pBuffer, size_t *piSize) override;
    void TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface) override;
    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    void UnregisterEvent(EVENT_TYPE iEventID) override;
};

} // namespace GenTL::internal
