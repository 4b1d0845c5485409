#include "remote/node_callbacks.h"

#include <utility>

namespace GenTL::internal
{

void AddCallbacks(PortOverrides &overrides, const nodemap::NodeInfo &node, ReadCallback read,
                  WriteCallback write)
{
    overrides.AddPortCallback(
        node.Address,
        {.Name = node.Name, .OnRead = std::move(read), .OnWrite = std::move(write), .Length = node.Length});
}

void AddReadCallback(PortOverrides &overrides, const nodemap::NodeInfo &node, ReadCallback read)
{
    AddCallbacks(overrides, node, std::move(read), {});
}

void AddWriteCallback(PortOverrides &overrides, const nodemap::NodeInfo &node, WriteCallback write)
{
    AddCallbacks(overrides, node, {}, std::move(write));
}

bool HasRegister(const nodemap::NodeInfo *node)
{
    return node != nullptr && node->Address != 0;
}

} // namespace GenTL::internal
