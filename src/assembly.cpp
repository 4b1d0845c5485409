#include "assembly.h"

#include "datastream/brief_frame_reader.h"
#include "datastream/event_output.h"
#include "datastream/stream_output.h"
#include "modules/listed_system.h"
#include "nodemap/node_access.h"
#include "processing/conversion_table.h"
#include "processing/processor.h"
#include "proxy_system.h"
#include "remote/conversion_delivery.h"
#include "remote/edited_remote.h"
#include "remoteport.h"
#include "utils/lower_info.h"
#include "utils/try.h"

#include <utility>

namespace GenTL::internal
{

RemoteSide MakeOverriddenRemoteSide(const LowerDevice &device)
{
    auto processor = std::make_shared<Processor>();
    auto port = std::make_shared<RemotePort>(device.proxy, device.port, processor);
    auto payloadSize = [port] { return nodemap::ReadUnsigned(*port, port->FindNode("PayloadSize")); };
    return {
        .port = std::move(port), .processor = std::move(processor), .payloadSize = std::move(payloadSize)};
}

namespace
{

/// The device's id, for messages.
std::string NameOf(const LowerDevice &device)
{
    const auto id = utils::Try(
        [&]
        {
            return utils::ReadText(
                [&](INFO_DATATYPE *type, void *buffer, size_t *size)
                { device.proxy->DevGetInfo(device.device, DEVICE_INFO_ID, type, buffer, size); });
        });
    return id.value_or("The device");
}

} // namespace

RemoteSide MakeEditedRemoteSide(const LowerDevice &device)
{
    auto processor = std::make_shared<ConversionProcessor>();
    auto delivery = std::make_shared<ConversionDelivery>(processor);
    const auto access =
        device.access == DEVICE_ACCESS_READONLY ? DeviceAccess::ReadOnly : DeviceAccess::ReadWrite;
    EditedRemote *remote = nullptr;
    auto port = std::make_shared<RemotePort>(device.proxy, device.port,
                                             [&](ProxyModule &lower)
                                             {
                                                 auto view = std::make_unique<EditedRemote>(
                                                     lower, NameOf(device), ConversionTable::Instance(),
                                                     delivery, access);
                                                 remote = view.get();
                                                 return view;
                                             });
    AddCalibratedDepth(*remote, *processor, *delivery);
    // The stream may keep the processor longer than the device.
    processor->SetDevice(
        [remote, owner = std::weak_ptr(port)]
        {
            const auto kept = owner.lock();
            if (!kept)
            {
                throw GenTLException("The device is closed", GC_ERR_INVALID_HANDLE);
            }
            return remote->ReadDeviceState();
        });
    return {.port = port,
            .processor = std::move(processor),
            .payloadSize = [port, remote] { return remote->DevicePayloadSize(); },
            .setStreamPayloadSize = [port, remote](const EditedRemote::StreamPayloadSize &payloadSize)
            { remote->SetStreamPayloadSize(payloadSize); }};
}

void AddCalibratedDepth(EditedRemote &remote, ConversionProcessor &processor, ConversionDelivery &delivery)
{
    if (auto *const lens = remote.Lens())
    {
        const CalibratedDepth::Device depth{.encoding = [&remote] { return remote.ReadEncoding(); },
                                            .sendsRawDepth = [&remote] { return remote.SendsRawDepth(); }};
        delivery.SetDepth(std::make_unique<CalibratedDepth>(processor, *lens, depth));
    }
}

std::shared_ptr<IProxySystem> MakeDescribedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE lowerSystem)
{
    return std::make_shared<ProxySystem>(std::move(proxy), lowerSystem);
}

std::shared_ptr<IProxySystem> MakeListedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE lowerSystem)
{
    return std::make_shared<ListedSystem>(std::move(proxy), lowerSystem);
}

std::unique_ptr<IFrameReader> MakeBriefFrameReader(const FrameSource &)
{
    return std::make_unique<BriefFrameReader>();
}

std::unique_ptr<IFrameReader> MakeFullFrameReader(const FrameSource &source)
{
    return std::make_unique<FullFrameReader>(source);
}

std::unique_ptr<IOutputQueue> MakeEventOutput(ILibrary &library)
{
    return std::make_unique<EventOutput>(library);
}

std::unique_ptr<IOutputQueue> MakeStreamOutput(ILibrary &library)
{
    return std::make_unique<StreamOutput>(library);
}

} // namespace GenTL::internal
