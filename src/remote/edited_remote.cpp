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
    const genapi::AddressRange range{location.Address, location.Size};
    return DescriptionEditor({source.Text(), source.Tree().document_element(), graph, range}, conversions)
        .Edit();
}

} // namespace

EditedRemote::EditedRemote(ProxyModule &port, std::string_view device, const ConversionTable &conversions,
                           std::shared_ptr<IDelivery> delivery, DeviceAccess access)
    : m_port(port), m_delivery(std::move(delivery)), m_source(port, device), m_graph(m_source.Tree()),
      m_registers(port), m_features(m_graph, m_registers),
      m_view(EditedDescriptionOf(m_source, m_graph, conversions), m_source.Tree().document_element(),
             m_source.Location().Name, m_graph, m_features, *m_delivery, port)
{
    m_registers.WatchWindow(m_view.Base());
    if (m_view.HasCalibratedDepth())
    {
        m_lens.emplace(m_graph, m_registers, access);
    }
}

void EditedRemote::Read(uint64_t address, void *buffer, size_t size)
{
    m_view.ReadPort(address, buffer, &size);
}

void EditedRemote::Write(uint64_t address, const void *buffer, size_t size)
{
    const auto write = [&] { m_view.WritePort(address, buffer, &size); };
    if (m_view.TouchesWindow(address, size))
    {
        return write();
    }
    // The view's lock is taken before that of the lens.
    m_view.NoticeWrite(address, size);
    m_lens ? m_lens->PassWrite(address, size, write) : write();
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
    // The device may have changed by itself since its registers were last read.
    m_features.Invalidate();
    auto state = m_view.ReadDeviceState(payloadSize);
    state.lens = m_view.Lens();
    return state;
}

uint64_t EditedRemote::DevicePayloadSize()
{
    // Not the stream's: it asks for this when it defines none.
    const auto state = m_view.ReadDeviceState(std::nullopt);
    return state.payloadSize.value_or(KnownBytes(state));
}

} // namespace GenTL::internal
