#pragma once

#include <cstdint>
#include <vector>

namespace GenTL::internal
{

class IPort;

/// The GenICam description of a lower module, read from the port at the address and size that the infos of
/// its first URL give. The URL's text is not used: lower modules offer plain XML in their port.
/// @throws GenTLException of the port; GC_ERR_NOT_IMPLEMENTED over a producer older than GenTL 1.1
std::vector<uint8_t> ReadDescription(IPort &port);

} // namespace GenTL::internal
