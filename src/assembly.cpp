#include "assembly.h"

#include "datastream/brief_frame_reader.h"
#include "datastream/event_output.h"
#include "datastream/stream_output.h"
#include "modules/listed_system.h"
#include "nodemap/node_access.h"
#include "processing/processor.h"
#include "proxy_system.h"
#include "remoteport.h"

#include <utility>

namespace GenTL::internal
{

RemoteSide MakeOverriddenRemoteSide(const LowerDevice &device)
{
    auto processor = std::make_shared<Processor>();
    auto port = std::make_shared<RemotePort>(device.proxy, device.port, processor);
    auto payloadSize = [port] { return nodemap::ReadUnsigned(*port, port->FindNode("PayloadSize")); };
    return {std::move(port), std::move(processor), std::move(payloadSize)};
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
