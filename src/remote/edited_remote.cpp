#include "remote/edited_remote.h"

#include "remote/description_editor.h"
#include "utils/checks.h"

#include <utility>

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

EditedRemote::EditedRemote(ProxyModule &port, std::string_view device, const ConversionTable &conversions,
                           std::shared_ptr<IDelivery> delivery)
    : m_port(port), m_delivery(std::move(delivery)), m_source(port, device), m_graph(m_source.Tree()),
      m_registers(port), m_features(m_graph, m_registers),
      m_view(EditedDescriptionOf(m_source, m_graph, conversions), m_source.Tree().document_element(),
             m_source.Location().name, m_graph, m_features, *m_delivery, port)
{
    m_registers.WatchWindow(m_view.Base());
}

void EditedRemote::Read(uint64_t address, void *buffer, size_t size)
{
    m_view.ReadPort(address, buffer, &size);
}

void EditedRemote::Write(uint64_t address, const void *buffer, size_t size)
{
    m_view.WritePort(address, buffer, &size);
}

void EditedRemote::GetPortURL(char *sURL, size_t *piSize)
{
    m_view.HasWindow() ? m_view.GetPortUrl(sURL, piSize) : m_port.ProxyModule::GetPortURL(sURL, piSize);
}

void EditedRemote::GetNumPortURLs(uint32_t *piNumURLs)
{
    if (!m_view.HasWindow())
    {
        return m_port.ProxyModule::GetNumPortURLs(piNumURLs);
    }
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 1;
}

void EditedRemote::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                  void *pBuffer, size_t *piSize)
{
    if (!m_view.HasWindow())
    {
        return m_port.ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
    }
    m_view.GetPortUrlInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

void EditedRemote::SetStreamPayloadSize(StreamPayloadSize payloadSize)
{
    const utils::MutexLock lock(m_streamMutex);
    m_streamPayloadSize = std::move(payloadSize);
}

DeviceState EditedRemote::ReadDeviceState()
{
    std::optional<uint64_t> payloadSize;
    {
        // Held over the call, so that nobody closes the stream meanwhile.
        const utils::MutexLock lock(m_streamMutex);
        payloadSize = m_streamPayloadSize ? m_streamPayloadSize() : std::nullopt;
    }
    return m_view.ReadDeviceState(payloadSize);
}

uint64_t EditedRemote::DevicePayloadSize()
{
    // Not the stream's: it asks for this when it defines none.
    const auto state = m_view.ReadDeviceState(std::nullopt);
    uint64_t bytes = 0;
    for (const auto &image : state.images)
    {
        if (image.format == nullptr && !state.payloadSize)
        {
            throw GenTLException("Neither the payload size nor the size of a pixel is known!",
                                 GC_ERR_NOT_AVAILABLE);
        }
        bytes += image.format != nullptr ? GetSizeInBytes(*image.format, image.size) : 0;
    }
    return state.payloadSize.value_or(bytes);
}

} // namespace GenTL::internal
