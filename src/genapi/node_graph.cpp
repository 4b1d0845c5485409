#include "genapi/node_graph.h"

#include "genapi/gen_api_error.h"
#include "genapi/number.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal::genapi
{
namespace
{

constexpr size_t maximumNodes = 200'000;
constexpr int maximumLevels = 200;

/// The name of an element without the prefix of its namespace.
std::string_view LocalName(const pugi::xml_node &element)
{
    const std::string_view name = element.name();
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

bool IsNested(Tag tag)
{
    return tag == Tag::EnumEntry || tag == Tag::StructEntry || tag == Tag::IntSwissKnife;
}

NodeKind NestedKind(Tag tag)
{
    return tag == Tag::EnumEntry     ? NodeKind::EnumEntry
           : tag == Tag::StructEntry ? NodeKind::StructEntry
                                     : NodeKind::IntSwissKnife;
}

void CheckLevel(int level)
{
    if (level > maximumLevels)
    {
        throw GenApiError(fmt::format("The description has more than {} levels of elements", maximumLevels));
    }
}

/// Checks the levels of what no node of the graph stands for.
void CheckLevelsIn(const pugi::xml_node &element, int level)
{
    CheckLevel(level);
    for (const auto &child : element.children())
    {
        if (child.type() == pugi::node_element)
        {
            CheckLevelsIn(child, level + 1);
        }
    }
}

pugi::xml_node RootOf(const pugi::xml_node &node)
{
    return node.type() == pugi::node_document
               ? node.find_child([](const auto &child) { return child.type() == pugi::node_element; })
               : node;
}

} // namespace

std::string_view Property::Text() const
{
    return Trimmed(element.child_value());
}

NodeGraph::NodeGraph(const pugi::xml_node &root)
{
    AddNodes(RootOf(root), 1);
    ResolveReferences();
}

void NodeGraph::AddNodes(const pugi::xml_node &parent, int level)
{
    CheckLevel(level);
    for (const auto &element : parent.children())
    {
        if (element.type() != pugi::node_element)
        {
            continue;
        }
        const auto name = LocalName(element);
        if (const auto kind = KindOf(name))
        {
            AddNode(element, *kind, noNode, level + 1);
        }
        else if (name == "Group")
        {
            AddNodes(element, level + 1);
        }
        else
        {
            CheckLevelsIn(element, level + 1);
        }
    }
}

NodeId NodeGraph::AddNode(const pugi::xml_node &element, NodeKind kind, NodeId parent, int level)
{
    CheckLevel(level);
    if (m_nodes.size() >= maximumNodes)
    {
        throw GenApiError(fmt::format("The description has more than {} nodes", maximumNodes));
    }
    const auto id = static_cast<NodeId>(m_nodes.size());
    const auto first = m_properties.size();
    for (const auto &child : element.children())
    {
        if (child.type() != pugi::node_element)
        {
            continue;
        }
        const auto tag = TagOf(LocalName(child));
        if (tag)
        {
            m_properties.push_back({*tag, noNode, child});
        }
        if (!tag || !IsNested(*tag))
        {
            CheckLevelsIn(child, level + 1);
        }
    }
    const auto count = m_properties.size() - first;
    m_nodes.push_back({kind, parent, element.attribute("Name").value(), element, static_cast<uint32_t>(first),
                       static_cast<uint32_t>(count)});
    // Behind the loop above, so that the properties of a node stand in one piece.
    for (size_t i = first; i < first + count; ++i)
    {
        if (const auto [tag, target, nested] = m_properties[i]; IsNested(tag))
        {
            const auto nestedId = AddNode(nested, NestedKind(tag), id, level + 1);
            m_properties[i].target = nestedId;
        }
    }
    return id;
}

void NodeGraph::ResolveReferences()
{
    m_names.reserve(m_nodes.size());
    for (NodeId id = 0; id < m_nodes.size(); ++id)
    {
        const auto &node = m_nodes[id];
        if (!node.name.empty() && (node.parent == noNode || node.kind == NodeKind::StructEntry))
        {
            m_names.try_emplace(node.name, id);
        }
    }
    for (auto &property : m_properties)
    {
        if (IsReference(property.tag))
        {
            property.target = Find(property.Text());
        }
    }
}

NodeId NodeGraph::Find(std::string_view name) const
{
    const auto found = m_names.find(name);
    return found == m_names.end() ? noNode : found->second;
}

std::span<const Property> NodeGraph::PropertiesOf(NodeId id) const
{
    const auto &node = m_nodes[id];
    return std::span(m_properties).subspan(node.firstProperty, node.propertyCount);
}

const Property *NodeGraph::Find(NodeId id, Tag tag) const
{
    const auto properties = PropertiesOf(id);
    const auto found = std::ranges::find(properties, tag, &Property::tag);
    return found == properties.end() ? nullptr : &*found;
}

const Property *NodeGraph::FindInherited(NodeId id, Tag tag) const
{
    const auto *const own = Find(id, tag);
    return own == nullptr && m_nodes[id].kind == NodeKind::StructEntry && m_nodes[id].parent != noNode
               ? Find(m_nodes[id].parent, tag)
               : own;
}

std::string NodeGraph::Label(NodeId id) const
{
    const auto &node = m_nodes[id];
    if (!node.name.empty())
    {
        return std::string(node.name);
    }
    const auto kind = NameOf(node.kind);
    return node.parent == noNode ? fmt::format("{} without name", kind)
                                 : fmt::format("{} in {}", kind, Label(node.parent));
}

} // namespace GenTL::internal::genapi
