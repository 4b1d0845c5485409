#pragma once

#include "port/i_gentl_proxy.h"
#include "port/i_proxy_module.h"
#include "utils/try.h"

#include <memory>
#include <utility>

namespace GenTL::internal
{

/// Base of the modules that stand on a lower module. An operation that a derived class does not override goes
/// to the lower producer unchanged.
///
/// Holds the lower producer, so that it stays loaded as long as a module lives. The derived class's
/// destructor closes the lower handle. Constant after construction, so it needs no lock.
class ProxyModule : public IProxyModule
{
public:
    /// Calls nothing in the lower producer.
    ProxyModule(std::shared_ptr<IGenTLProxy> proxy, void *handle);

    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    void UnregisterEvent(EVENT_TYPE iEventID) override;
    void *GetLowerHandle() const override;

protected:
    const std::shared_ptr<IGenTLProxy> &Proxy() const { return m_proxy; }

private:
    std::shared_ptr<IGenTLProxy> m_proxy;
    void *m_handle;
};

/// Runs the closing calls of a destructor. Swallows std::exception, since a destructor must not throw and
/// nobody could act on a failure of the lower producer here. Any other exception ends the process.
template <typename Close>
void CloseQuietly(Close close) noexcept
{
    utils::Attempt(std::move(close));
}

} // namespace GenTL::internal
