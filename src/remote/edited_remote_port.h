#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"
#include "port/proxy_module.h"
#include "processing/conversion_table.h"
#include "remote/description_source.h"
#include "remote/device_registers.h"
#include "remote/edited_view.h"
#include "remote/i_delivery.h"

#include <memory>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

/// The remote device port of an opened device, with an edited description.
///
/// Made and owned by Device, which closes the lower handle. Nothing is written to the device while it is
/// made. The consumer uses ReadPort, WritePort and the URLs; ReadRegisters and WriteRegisters reach the
/// device itself. Any thread may call it, as EditedView says.
class EditedRemotePort final : public ProxyModule
{
public:
    /// Fetches and edits the description.
    /// @param device its name for messages
    /// @param delivery must outlive the port
    /// @throws GenTLException as DescriptionSource; more nodes or levels than a NodeGraph takes
    EditedRemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle, std::string_view device,
                     const ConversionTable &conversions, IDelivery &delivery);

    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

    /// As EditedView::ReadDeviceState.
    DeviceState ReadDeviceState(std::optional<uint64_t> streamPayloadSize);
    /// Has the device's registers read again. Any thread may call it.
    void Invalidate() noexcept { m_features.Invalidate(); }

private:
    /// The device's port without our window.
    class LowerPort final : public ProxyModule
    {
    public:
        using ProxyModule::ProxyModule;
        ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }
    };

    LowerPort m_lower;
    DescriptionSource m_source;
    genapi::NodeGraph m_graph;
    DeviceRegisters m_registers;
    genapi::GraphFeatures m_features;
    EditedView m_view;
};

} // namespace GenTL::internal
