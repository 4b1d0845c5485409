#pragma once

#include "proxy_system.h"

#include <cstdint>
#include <string>

namespace GenTL::internal
{

/// The lower system behind its list calls: all answers about interfaces come from them, so the lower producer
/// needs no description of its System module.
///
/// Made by TLOpen, owned by a System. As thread-safe as ProxySystem, but for the selected interface, which
/// the lock of the System's registers guards.
class ListedSystem final : public IProxySystem
{
public:
    ListedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE handle);

    const std::shared_ptr<IGenTLProxy> &GetProxy() override { return m_lower.GetProxy(); }
    std::string GetTLType() override { return m_lower.GetTLType(); }
    /// The description whose addresses ReadPort and WritePort know: that of the local System module.
    std::string GetXml() override;
    void TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout) override
    {
        m_lower.TLUpdateInterfaceList(pbChanged, iTimeout);
    }
    void TLGetNumInterfaces(uint32_t *piNumIfaces) override { m_lower.TLGetNumInterfaces(piNumIfaces); }
    void TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize) override
    {
        m_lower.TLGetInterfaceID(iIndex, sID, piSize);
    }
    /// If the id is unknown, updates the list once and asks again.
    void TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                            void *pBuffer, size_t *piSize) override;
    /// If the id is unknown, updates the list once and asks again.
    void TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface) override;
    /// @throws GenTLException GC_ERR_INVALID_ADDRESS for another address than those of the features that
    /// describe interfaces; GC_ERR_NOT_AVAILABLE when no interface is selected
    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    /// @throws GenTLException GC_ERR_INVALID_ADDRESS for another address than that of InterfaceSelector
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override
    {
        m_lower.RegisterEvent(iEventID, phEvent);
    }
    void UnregisterEvent(EVENT_TYPE iEventID) override { m_lower.UnregisterEvent(iEventID); }

private:
    uint32_t Count();
    std::string SelectedId();
    std::string SelectedInfo(INTERFACE_INFO_CMD command);

    ProxySystem m_lower;
    uint32_t m_selected = 0;
};

} // namespace GenTL::internal
