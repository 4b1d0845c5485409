#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"
#include "processing/conversion_processor.h"
#include "remote/description_source.h"
#include "remote/device_registers.h"
#include "remote/edited_view.h"
#include "remote/i_delivery.h"
#include "remote/i_remote_view.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

/// A device under its edited description, with all that stands behind it: the device's own description, its
/// nodes, and the processing that the consumer configures through it.
///
/// Made when a device is opened, and owned by its RemotePort. Nothing is written to the device meanwhile. Any
/// thread may call it.
class EditedRemote final : public IRemoteView
{
public:
    /// What the lower stream says of its payload size; none while it is closed or defines none.
    using StreamPayloadSize = std::function<std::optional<uint64_t>()>;

    /// @param port must outlive this object
    /// @param device the device's name for messages
    /// @throws GenTLException as DescriptionSource; a description with too many nodes
    EditedRemote(ProxyModule &port, std::string_view device, std::shared_ptr<ConversionProcessor> processor);
    ~EditedRemote() override;

    void Read(uint64_t address, void *buffer, size_t size) override;
    void Write(uint64_t address, const void *buffer, size_t size) override;
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;

    /// Not to be called beside a call that asks for a payload size.
    void SetStream(StreamPayloadSize payloadSize) { m_streamPayloadSize = std::move(payloadSize); }
    /// Bytes of a frame before processing, as the device says.
    /// @throws GenTLException when the device tells neither a payload size nor the format of its images
    uint64_t DevicePayloadSize();

private:
    /// The processing, as the description shows it.
    class Delivery final : public IDelivery
    {
    public:
        explicit Delivery(ConversionProcessor &processor) : m_processor(processor) {}

        void SetConversion(Component component, PixelFormat input, PixelFormat output) override
        {
            m_processor.SetConversion(component, input, output);
        }
        PixelFormat OutputOf(Component component, PixelFormat input) const override
        {
            return m_processor.OutputOf(component, input);
        }
        uint64_t PayloadSize() override { return m_processor.PayloadSize(); }
        bool IsRunning() const override { return m_processor.IsRunning(); }

    private:
        ConversionProcessor &m_processor;
    };

    EditedView MakeView(IPort &port);

    std::shared_ptr<ConversionProcessor> m_processor;
    DescriptionSource m_source;
    genapi::NodeGraph m_graph;
    DeviceRegisters m_registers;
    genapi::GraphFeatures m_features;
    Delivery m_delivery;
    EditedView m_view;
    StreamPayloadSize m_streamPayloadSize;
};

} // namespace GenTL::internal
