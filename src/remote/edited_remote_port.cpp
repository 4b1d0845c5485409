#include "remote/edited_remote_port.h"

#include "remote/description_editor.h"
#include "utils/checks.h"

namespace GenTL::internal
{

namespace
{

EditedDescription EditedDescriptionOf(const DescriptionSource &source, const genapi::NodeGraph &graph,
                                      const ConversionTable &conversions)
{
    const auto &location = source.Location();
    const genapi::AddressRange range{location.address, location.size};
    return DescriptionEditor({source.Text(), source.Tree().document_element(), graph, range}, conversions)
        .Edit();
}

} // namespace

EditedRemotePort::EditedRemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
                                   std::string_view device, const ConversionTable &conversions,
                                   IDelivery &delivery)
    : ProxyModule(proxy, handle), m_lower(proxy, handle), m_source(m_lower, device), m_graph(m_source.Tree()),
      m_registers(m_lower), m_features(m_graph, m_registers),
      m_view(EditedDescriptionOf(m_source, m_graph, conversions), m_source.Tree().document_element(),
             m_source.Location().name, m_graph, m_features, delivery, m_lower)
{
    m_registers.WatchWindow(m_view.Base());
}

void EditedRemotePort::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    m_view.ReadPort(iAddress, pBuffer, piSize);
}

void EditedRemotePort::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    m_view.WritePort(iAddress, pBuffer, piSize);
}

void EditedRemotePort::GetPortURL(char *sURL, size_t *piSize)
{
    m_view.HasWindow() ? m_view.GetPortUrl(sURL, piSize) : ProxyModule::GetPortURL(sURL, piSize);
}

void EditedRemotePort::GetNumPortURLs(uint32_t *piNumURLs)
{
    if (!m_view.HasWindow())
    {
        return ProxyModule::GetNumPortURLs(piNumURLs);
    }
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 1;
}

void EditedRemotePort::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                      void *pBuffer, size_t *piSize)
{
    if (!m_view.HasWindow())
    {
        return ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
    }
    m_view.GetPortUrlInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

DeviceState EditedRemotePort::ReadDeviceState(std::optional<uint64_t> streamPayloadSize)
{
    return m_view.ReadDeviceState(streamPayloadSize);
}

} // namespace GenTL::internal
