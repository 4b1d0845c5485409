#include "assembly.h"

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

} // namespace GenTL::internal
