#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/port_overrides.h"

namespace GenTL::internal
{

using ReadCallback = decltype(PortCallback::OnRead);
using WriteCallback = decltype(PortCallback::OnWrite);

/// Makes callbacks answer for the register of a node.
/// @throws GenTLException "Port callback register size mismatch detected on {} ({})", GC_ERR_ERROR
void AddCallbacks(PortOverrides &overrides, const nodemap::NodeInfo &node, ReadCallback read,
                  WriteCallback write);
void AddReadCallback(PortOverrides &overrides, const nodemap::NodeInfo &node, ReadCallback read);
void AddWriteCallback(PortOverrides &overrides, const nodemap::NodeInfo &node, WriteCallback write);

/// Whether the node exists and has a register. A literal value has none, so nothing can answer in its place.
bool HasRegister(const nodemap::NodeInfo *node);

} // namespace GenTL::internal
