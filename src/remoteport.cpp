#include "remoteport.h"

#include "remote/overridden_view.h"
#include "utils/checks.h"

#include <utility>

namespace GenTL::internal
{

RemotePort::RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
                       std::shared_ptr<IProcessor> processor)
    : RemotePort(proxy, handle,
                 [&processor](ProxyModule &port)
                 { return std::make_unique<OverriddenView>(port, std::move(processor)); })
{
}

RemotePort::RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
                       const MakeView &makeView)
    : ProxyModule(proxy, handle)
{
    m_view = makeView(*this);
    m_features.emplace(*this, m_view->Parser());
}

void RemotePort::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    m_view->Read(iAddress, pBuffer, *piSize);
}

void RemotePort::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    m_view->Write(iAddress, pBuffer, *piSize);
}

// The view asks the lower port for its own description while it is made.
void RemotePort::GetPortURL(char *sURL, size_t *piSize)
{
    m_view ? m_view->GetPortURL(sURL, piSize) : ProxyModule::GetPortURL(sURL, piSize);
}

void RemotePort::GetNumPortURLs(uint32_t *piNumURLs)
{
    m_view ? m_view->GetNumPortURLs(piNumURLs) : ProxyModule::GetNumPortURLs(piNumURLs);
}

void RemotePort::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                void *pBuffer, size_t *piSize)
{
    m_view ? m_view->GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize)
           : ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

const nodemap::NodeInfo &RemotePort::FindNode(const std::string &name) const
{
    return m_features->Find(name);
}

std::optional<nodemap::NodeInfo> RemotePort::TryFindNode(const std::string &name) const
{
    return m_features->Parser().TryFindNode(name);
}

} // namespace GenTL::internal
