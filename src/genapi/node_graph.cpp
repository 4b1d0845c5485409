#include "genapi/node_graph.h"

#include "genapi/gen_api_error.h"
#include "genapi/number.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <functional>

namespace GenTL::internal::genapi
{
namespace
{

constexpr size_t maximumNodes = 200'000;
constexpr int maximumLevels = 200;

uint64_t BitOf(Tag tag)
{
    static_assert(static_cast<int>(Tag::IntSwissKnife) < 64);
    return uint64_t{1} << static_cast<int>(tag);
}

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

/// Calls `action` with each child element. Without iterators: each of their operations is a call into
/// pugixml, and a description has tens of thousands of elements.
template <typename Action>
void ForEachElement(const pugi::xml_node &parent, Action action)
{
    auto child = parent.first_child();
    for (auto type = child.type(); type != pugi::node_null; type = child.type())
    {
        if (type == pugi::node_element)
        {
            action(child);
        }
        child = child.next_sibling();
    }
}

/// Checks the nesting of elements that do not become nodes.
void CheckLevelsIn(const pugi::xml_node &element, int level)
{
    CheckLevel(level);
    ForEachElement(element, [level](const pugi::xml_node &child) { CheckLevelsIn(child, level + 1); });
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
    return Trimmed(RawText());
}

std::string_view Property::RawText() const
{
    return joinedText != nullptr ? std::string_view(*joinedText) : element.child_value();
}

NodeGraph::NodeGraph(const pugi::xml_node &root)
{
    // Enough for a large description. The system provides the memory only when it is used.
    m_nodes.reserve(4096);
    m_properties.reserve(16384);
    AddNodes(RootOf(root), 1);
    IndexNames();
    ResolveReferences();
}

void NodeGraph::AddNodes(const pugi::xml_node &parent, int level)
{
    CheckLevel(level);
    ForEachElement(parent,
                   [&](const pugi::xml_node &element)
                   {
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
                   });
}

Property NodeGraph::PropertyOf(Tag tag, const pugi::xml_node &element)
{
    Property property{tag, noNode, element};
    // Nearly every text is in one piece, and is not copied.
    if (!IsNested(tag) && element.first_child().next_sibling())
    {
        auto &text = m_joinedTexts.emplace_back();
        for (const auto &child : element.children())
        {
            text += child.value();
        }
        property.joinedText = &text;
    }
    return property;
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
    uint64_t tags = 0;
    ForEachElement(element,
                   [&](const pugi::xml_node &child)
                   {
                       const auto tag = TagOf(LocalName(child));
                       if (tag)
                       {
                           m_properties.push_back(PropertyOf(*tag, child));
                           tags |= BitOf(*tag);
                       }
                       if (!tag || !IsNested(*tag))
                       {
                           CheckLevelsIn(child, level + 1);
                       }
                   });
    const auto count = m_properties.size() - first;
    m_nodes.push_back({kind, parent, element.attribute("Name").value(), element, static_cast<uint32_t>(first),
                       static_cast<uint32_t>(count), tags});
    // After the loop above, so that the properties of a node stand in one piece.
    for (size_t i = first; i < first + count; ++i)
    {
        if (const auto property = m_properties[i]; IsNested(property.tag))
        {
            const auto nestedId = AddNode(property.element, NestedKind(property.tag), id, level + 1);
            m_properties[i].target = nestedId;
        }
    }
    return id;
}

void NodeGraph::IndexNames()
{
    m_slots.assign(std::bit_ceil(2 * m_nodes.size() + 1), noNode);
    for (NodeId id = 0; id < m_nodes.size(); ++id)
    {
        const auto &node = m_nodes[id];
        if (!node.name.empty() && (node.parent == noNode || node.kind == NodeKind::StructEntry))
        {
            auto &slot = m_slots[SlotOf(node.name)];
            slot = slot == noNode ? id : slot;
        }
    }
}

void NodeGraph::ResolveReferences()
{
    for (auto &property : m_properties)
    {
        if (IsReference(property.tag))
        {
            property.target = Find(property.Text());
        }
    }
}

/// The slot of the node with this name, else the free slot for it.
size_t NodeGraph::SlotOf(std::string_view name) const
{
    const auto mask = m_slots.size() - 1;
    auto slot = std::hash<std::string_view>{}(name)&mask;
    while (m_slots[slot] != noNode && m_nodes[m_slots[slot]].name != name)
    {
        slot = (slot + 1) & mask;
    }
    return slot;
}

NodeId NodeGraph::Find(std::string_view name) const
{
    return m_slots[SlotOf(name)];
}

std::span<const Property> NodeGraph::PropertiesOf(NodeId id) const
{
    const auto &node = m_nodes[id];
    return std::span(m_properties).subspan(node.firstProperty, node.propertyCount);
}

const Property *NodeGraph::Find(NodeId id, Tag tag) const
{
    // Most look-ups find nothing, and a node may have thousands of entries.
    if ((m_nodes[id].tags & BitOf(tag)) == 0)
    {
        return nullptr;
    }
    return &*std::ranges::find(PropertiesOf(id), tag, &Property::tag);
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
