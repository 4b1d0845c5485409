#include "consumer/feature_description.h"

#include "consumer/ipv4_address.h"
#include "consumer/similar_names.h"
#include "genapi/graph_walks.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <stdexcept>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

/// Whether a node of this kind is a feature: it has a value, or is executed.
bool IsFeature(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Node:
    case NodeKind::Category:
    case NodeKind::EnumEntry:
    case NodeKind::StructReg:
    case NodeKind::Port:
    case NodeKind::ConfRom:
    case NodeKind::TextDesc:
    case NodeKind::IntKey:
    case NodeKind::AdvFeatureLock:
    case NodeKind::SmartFeature:
        return false;
    default:
        return true;
    }
}

std::string MacAddress(uint64_t value)
{
    std::vector<uint64_t> bytes;
    for (int shift = 40; shift >= 0; shift -= 8)
    {
        bytes.push_back((value >> static_cast<unsigned>(shift)) & 0xFFU);
    }
    return fmt::format("{:02x}", fmt::join(bytes, ":"));
}

/// Whether reading a node also reads the node that this property names.
bool IsRead(Tag tag)
{
    return tag == Tag::pValue || tag == Tag::pValueIndexed || tag == Tag::pValueDefault ||
           tag == Tag::pVariable;
}

/// The nodes that a node names with this tag, in the description's order.
std::vector<NodeId> TargetsOf(const NodeGraph &graph, NodeId id, Tag tag)
{
    std::vector<NodeId> targets;
    for (const auto &property : graph.PropertiesOf(id))
    {
        if (property.tag == tag && property.target != noNode)
        {
            targets.push_back(property.target);
        }
    }
    return targets;
}

} // namespace

FeatureDescription::FeatureDescription(GenTL::internal::IPort &port)
    : m_tree(port), m_graph(m_tree.Document())
{
    for (NodeId id = 0; id < m_graph.Size(); ++id)
    {
        for (const auto selected : TargetsOf(m_graph, id, Tag::pSelected))
        {
            m_selectors[selected].emplace_back(m_graph[id].name);
        }
    }
    for (const auto &name : ChunkIds().empty() ? std::vector<std::string>() : Names())
    {
        const auto *const transient = TransientPortOf(m_graph.Find(name));
        if (transient != nullptr && transient->chunkId)
        {
            m_chunkFeatures.emplace_back(name, *transient->chunkId);
        }
    }
}

std::vector<std::string> FeatureDescription::Names() const
{
    std::vector<std::string> names;
    // In depth, the order of a feature tree.
    WalkInDepth(m_graph, m_graph.Find("Root"),
                [&](NodeId id, std::vector<NodeId> &open)
                {
                    if (IsFeature(m_graph[id].kind))
                    {
                        names.emplace_back(m_graph[id].name);
                    }
                    else
                    {
                        AppendTargets(
                            m_graph, id, [](Tag tag) { return tag == Tag::pFeature; }, open);
                    }
                });
    return names;
}

bool FeatureDescription::Has(const std::string &name) const
{
    const auto id = m_graph.Find(name);
    return id != noNode && IsFeature(m_graph[id].kind);
}

NodeId FeatureDescription::Find(const std::string &name) const
{
    if (!Has(name))
    {
        const auto similar = SimilarNames(Names(), name);
        throw std::runtime_error(
            similar.empty()
                ? fmt::format("There is no feature \"{}\"; `gentlctl get` without a name lists all", name)
                : fmt::format("There is no feature \"{}\"; there is {}", name, fmt::join(similar, ", ")));
    }
    return m_graph.Find(name);
}

const TransientPort *FeatureDescription::TransientPortOf(NodeId feature) const
{
    const TransientPort *found = nullptr;
    WalkInDepth(m_graph, feature,
                [&](NodeId id, std::vector<NodeId> &open)
                {
                    const auto *const port = m_graph.FindInherited(id, Tag::pPort);
                    const auto name = port == nullptr ? std::string_view() : port->Text();
                    const auto transient = m_tree.TransientPorts().find(name);
                    if (found == nullptr && transient != m_tree.TransientPorts().end())
                    {
                        found = &transient->second;
                    }
                    AppendTargets(m_graph, id, IsRead, open);
                });
    return found;
}

std::optional<uint64_t> FeatureDescription::EventIdOf(NodeId feature) const
{
    const auto *const port = TransientPortOf(feature);
    return port == nullptr ? std::nullopt : port->eventId;
}

std::optional<std::string> FeatureDescription::LockOf(NodeId feature) const
{
    for (const auto id : ValueChain(m_graph, feature))
    {
        if (const auto lock = m_tree.Locks().find(m_graph[id].name); lock != m_tree.Locks().end())
        {
            return lock->second;
        }
    }
    return std::nullopt;
}

std::vector<std::string> FeatureDescription::SelectedBy(NodeId selector) const
{
    std::vector<std::string> names;
    for (const auto selected : TargetsOf(m_graph, selector, Tag::pSelected))
    {
        names.emplace_back(m_graph[selected].name);
    }
    return names;
}

std::vector<std::string> FeatureDescription::SelectorsOf(NodeId feature) const
{
    const auto found = m_selectors.find(feature);
    return found == m_selectors.end() ? std::vector<std::string>() : found->second;
}

NumberForm FeatureDescription::FormOf(NodeId feature) const
{
    const auto form = PropertyOf(feature, "Representation");
    return form == "IPV4Address" ? Ipv4Text : form == "MACAddress" ? MacAddress : nullptr;
}

std::string_view FeatureDescription::PropertyOf(NodeId feature, const char *property) const
{
    for (const auto id : ValueChain(m_graph, feature))
    {
        const std::string_view text = m_graph[id].element.child(property).text().get();
        if (!text.empty())
        {
            return text;
        }
    }
    return {};
}

} // namespace gentlctl
