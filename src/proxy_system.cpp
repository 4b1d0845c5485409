#include "proxy_system.h"

#include "port/module_description.h"
#include "utils/lower_info.h"

#include <utility>

namespace GenTL::internal
{

ProxySystem::ProxySystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE handle)
    : ProxyModule(std::move(proxy), handle)
{
}

ProxySystem::~ProxySystem()
{
    CloseQuietly([this] { Proxy()->TLClose(GetLowerHandle()); });
}

std::string ProxySystem::GetTLType()
{
    return utils::ReadText([this](INFO_DATATYPE *type, void *buffer, size_t *size)
                           { Proxy()->GCGetInfo(TL_INFO_TLTYPE, type, buffer, size); });
}

std::string ProxySystem::GetXml()
{
    const auto bytes = ReadDescription(*this);
    return {bytes.begin(), bytes.end()};
}

void ProxySystem::TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout)
{
    Proxy()->TLUpdateInterfaceList(GetLowerHandle(), pbChanged, iTimeout);
}

void ProxySystem::TLGetNumInterfaces(uint32_t *piNumIfaces)
{
    Proxy()->TLGetNumInterfaces(GetLowerHandle(), piNumIfaces);
}

void ProxySystem::TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize)
{
    Proxy()->TLGetInterfaceID(GetLowerHandle(), iIndex, sID, piSize);
}

void ProxySystem::TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                     void *pBuffer, size_t *piSize)
{
    Proxy()->TLGetInterfaceInfo(GetLowerHandle(), sIfaceID, iInfoCmd, piType, pBuffer, piSize);
}

void ProxySystem::TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface)
{
    Proxy()->TLOpenInterface(GetLowerHandle(), sIfaceID, phIface);
}

void ProxySystem::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    ProxyModule::ReadPort(iAddress, pBuffer, piSize);
}

void ProxySystem::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    ProxyModule::WritePort(iAddress, pBuffer, piSize);
}

void ProxySystem::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    ProxyModule::RegisterEvent(iEventID, phEvent);
}

void ProxySystem::UnregisterEvent(EVENT_TYPE iEventID)
{
    ProxyModule::UnregisterEvent(iEventID);
}

} // namespace GenTL::internal
