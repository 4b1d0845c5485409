#include "port/proxy_module.h"

#include "port/stacked_access.h"

#include <utility>

namespace GenTL::internal
{

ProxyModule::ProxyModule(std::shared_ptr<IGenTLProxy> proxy, void *handle)
    : m_proxy(std::move(proxy)), m_handle(handle)
{
}

void ProxyModule::GetPortURL(char *sURL, size_t *piSize)
{
    m_proxy->GCGetPortURL(m_handle, sURL, piSize);
}

void ProxyModule::GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    m_proxy->GCGetPortInfo(m_handle, iInfoCmd, piType, pBuffer, piSize);
}

void ProxyModule::GetNumPortURLs(uint32_t *piNumURLs)
{
    m_proxy->GCGetNumPortURLs(m_handle, piNumURLs);
}

void ProxyModule::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                 void *pBuffer, size_t *piSize)
{
    m_proxy->GCGetPortURLInfo(m_handle, iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

// The lower stacked functions are not used. So a stacked access works over a lower producer without them, and
// goes through the ReadPort and WritePort of the derived class.
void ProxyModule::ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    ReadStacked(*this, pEntries, piNumEntries);
}

void ProxyModule::WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    WriteStacked(*this, pEntries, piNumEntries);
}

void ProxyModule::ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    m_proxy->GCReadPort(m_handle, iAddress, pBuffer, piSize);
}

void ProxyModule::WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    m_proxy->GCWritePort(m_handle, iAddress, pBuffer, piSize);
}

void ProxyModule::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    m_proxy->GCRegisterEvent(m_handle, iEventID, phEvent);
}

void ProxyModule::UnregisterEvent(EVENT_TYPE iEventID)
{
    m_proxy->GCUnregisterEvent(m_handle, iEventID);
}

void *ProxyModule::GetLowerHandle() const
{
    return m_handle;
}

} // namespace GenTL::internal
