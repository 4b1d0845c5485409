#include "remote/edited_remote.h"

#include "processing/conversion_table.h"
#include "remote/description_editor.h"
#include "utils/checks.h"

#include <utility>

namespace GenTL::internal
{

namespace
{

/// Bytes of a frame as the device sends it.
uint64_t PayloadSizeOf(const DeviceState &state)
{
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

} // namespace

EditedRemote::EditedRemote(ProxyModule &port, std::string_view device,
                           std::shared_ptr<ConversionProcessor> processor)
    : m_processor(std::move(processor)), m_source(port, device), m_graph(m_source.Tree()), m_registers(port),
      m_features(m_graph, m_registers), m_delivery(*m_processor), m_view(MakeView(port))
{
    m_processor->SetDevice(
        [this]
        { return m_view.ReadDeviceState(m_streamPayloadSize ? m_streamPayloadSize() : std::nullopt); });
}

EditedRemote::~EditedRemote()
{
    m_processor->SetDevice({});
}

EditedView EditedRemote::MakeView(IPort &port)
{
    const auto &location = m_source.Location();
    const auto root = m_source.Tree().document_element();
    DescriptionEditor editor({.text = m_source.Text(),
                              .root = root,
                              .graph = m_graph,
                              .range = {.address = location.address, .length = location.size}},
                             ConversionTable::Instance());
    auto edited = editor.Edit();
    m_registers.WatchWindow(edited.base);
    EditedUrl url(edited, root, location.name);
    return {std::move(edited), std::move(url), m_graph, m_features, m_delivery, port};
}

uint64_t EditedRemote::DevicePayloadSize()
{
    return PayloadSizeOf(m_view.ReadDeviceState(std::nullopt));
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
    m_view.GetPortUrl(sURL, piSize);
}

void EditedRemote::GetNumPortURLs(uint32_t *piNumURLs)
{
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 1;
}

void EditedRemote::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                  void *pBuffer, size_t *piSize)
{
    m_view.GetPortUrlInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

} // namespace GenTL::internal
