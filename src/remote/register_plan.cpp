#include "remote/register_plan.h"

#include "genapi/graph_walks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace GenTL::internal
{

using genapi::NodeGraph;
using genapi::NodeId;
using genapi::NodeKind;
using genapi::noNode;
using genapi::Tag;

namespace
{

constexpr std::array visibleNames{names::category, names::transport, names::devicePixelFormat,
                                  names::devicePixelSize, names::devicePayloadSize};

/// Whether the registers of a port lie in the device, and not in a frame or an event.
bool IsOfDevice(const NodeGraph &graph, NodeId port)
{
    return graph.Find(port, Tag::ChunkID) == nullptr && graph.Find(port, Tag::pChunkID) == nullptr &&
           graph.Find(port, Tag::EventID) == nullptr;
}

NodeId DefaultPort(const NodeGraph &graph)
{
    const auto device = graph.Find("Device");
    if (device != noNode && graph[device].kind == NodeKind::Port)
    {
        return device;
    }
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        if (graph[id].kind == NodeKind::Port && IsOfDevice(graph, id))
        {
            return id;
        }
    }
    return noNode;
}

} // namespace

RegisterPlan::RegisterPlan(const NodeGraph &graph) : m_graph(graph), m_defaultPort(DefaultPort(graph)) {}

size_t RegisterPlan::Add(RegisterRole role, std::string_view name, NodeId replaced)
{
    const auto port = PortOf(replaced);
    const auto *const swap = m_graph.Find(port, Tag::SwapEndianess);
    EditedRegister entry;
    entry.role = role;
    entry.node = fmt::format("QvrAny{}", name);
    entry.port = m_graph[port].name;
    entry.isSwapped = swap != nullptr && swap->Text() == "Yes";
    m_registers.push_back(std::move(entry));
    return m_registers.size() - 1;
}

NodeId RegisterPlan::PortOf(NodeId feature) const
{
    if (feature == noNode)
    {
        return m_defaultPort;
    }
    for (const auto id : genapi::ValueChain(m_graph, feature))
    {
        const auto *const reference = m_graph.FindInherited(id, Tag::pPort);
        if (reference != nullptr && reference->target != noNode && IsOfDevice(m_graph, reference->target))
        {
            return reference->target;
        }
    }
    return m_defaultPort;
}

bool RegisterPlan::IsFree(const std::string &suffix) const
{
    const auto isFree = [&](std::string_view name)
    { return m_graph.Find(std::string(name) + suffix) == noNode; };
    return std::ranges::all_of(visibleNames, isFree) &&
           std::ranges::all_of(m_registers, isFree, &EditedRegister::node);
}

void RegisterPlan::ChooseNames()
{
    for (int number = 2; !IsFree(m_suffix); ++number)
    {
        m_suffix = fmt::format("_{}", number);
    }
    for (auto &entry : m_registers)
    {
        entry.node += m_suffix;
    }
}

} // namespace GenTL::internal
