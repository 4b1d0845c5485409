#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"
#include "port/proxy_module.h"
#include "processing/conversion_table.h"
#include "remote/description_source.h"
#include "remote/device_registers.h"
#include "remote/edited_view.h"
#include "remote/i_delivery.h"
#include "remote/i_remote_view.h"
#include "remote/lens_reader.h"
#include "utils/mutex.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

/// A device under its edited description, with all that the view needs: the device's own description, its
/// nodes and its registers.
///
/// Made when a device is opened, and owned by its RemotePort. Nothing is written to the device meanwhile. Any
/// thread may call it, as EditedView says.
class EditedRemote final : public IRemoteView
{
public:
    /// What the lower stream says of its payload size; none while it is closed or defines none.
    using StreamPayloadSize = std::function<std::optional<uint64_t>()>;

    /// Fetches and edits the description.
    /// @param port must outlive this object
    /// @param device its name for messages
    /// @param access the producer writes nothing by itself to a device that is open for reading only
    /// @throws GenTLException as DescriptionSource; more nodes or levels than a NodeGraph takes
    EditedRemote(ProxyModule &port, std::string_view device, const ConversionTable &conversions,
                 std::shared_ptr<IDelivery> delivery, DeviceAccess access = DeviceAccess::ReadWrite);

    void Read(uint64_t address, void *buffer, size_t size) override;
    void Write(uint64_t address, const void *buffer, size_t size) override;
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;

    /// The lens calibration of a device whose depth the processing calibrates; null for any other.
    LensReader *Lens() { return m_lens ? &*m_lens : nullptr; }
    /// How the device encodes its raw depth now.
    Scan3dInfo ReadEncoding() { return m_view.ReadEncoding(); }
    /// As EditedView::SendsRawDepth.
    bool SendsRawDepth() { return m_view.SendsRawDepth(); }

    /// Sets the source of the stream's payload size. Waits until a running call of the earlier source has
    /// ended.
    void SetStreamPayloadSize(StreamPayloadSize payloadSize);
    /// What the device and its stream say of its frames now: the device is asked again.
    /// @throws as EditedView::ReadDeviceState and IDelivery::Lens
    DeviceState ReadDeviceState();
    /// Bytes of a frame before processing, as the device says.
    /// @throws GenTLException when the device tells neither a payload size nor the format of its images
    uint64_t DevicePayloadSize();

private:
    ProxyModule &m_port;
    std::shared_ptr<IDelivery> m_delivery;
    DescriptionSource m_source;
    genapi::NodeGraph m_graph;
    DeviceRegisters m_registers;
    genapi::GraphFeatures m_features;
    EditedView m_view;
    std::optional<LensReader> m_lens;
    utils::Mutex m_streamMutex;
    StreamPayloadSize m_streamPayloadSize QVR_GUARDED_BY(m_streamMutex);
};

} // namespace GenTL::internal
