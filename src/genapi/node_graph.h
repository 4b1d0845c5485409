#pragma once

#include "genapi/elements.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal::genapi
{

/// The position of a node in its graph.
using NodeId = uint32_t;

inline constexpr NodeId noNode = UINT32_MAX;

/// A child of a node's element: a literal, a reference to another node, or a nested node.
struct Property
{
    Tag tag;
    /// The node that a reference names, or the nested node. noNode for a literal, and for a name that no node
    /// has.
    NodeId target;
    pugi::xml_node element;
    /// The whole text if a comment or a CDATA section splits it; else null.
    const std::string *joinedText = nullptr;

    /// The literal or the name, without the white space around it.
    std::string_view Text() const;
    /// The text as it is.
    std::string_view RawText() const;
    std::string_view Attribute(const char *name) const { return element.attribute(name).value(); }
};

/// A node of a description.
struct Node
{
    NodeKind kind;
    /// The node around a nested one: a StructEntry's StructReg, an EnumEntry's Enumeration, a register. Else
    /// noNode.
    NodeId parent;
    /// Empty for a StructReg and for a formula inside of a register, which nobody can name.
    std::string_view name;
    pugi::xml_node element;
    uint32_t firstProperty;
    uint32_t propertyCount;
    /// The tags of its properties, a bit for each.
    uint64_t tags;
};

/// The nodes of a device description and their references.
///
/// Made once from a parsed document, which must outlive it: names, texts and elements lie there. Never
/// changes, so any thread may use it. It checks its limits only: a missing node or a wrong text shows when it
/// is used.
class NodeGraph
{
public:
    /// `root` is the document or its RegisterDescription. The nodes of all groups count as the root's. Of two
    /// nodes with the same name, references mean the first.
    /// @throws GenApiError more than 200,000 nodes, or more than 200 levels of elements
    explicit NodeGraph(const pugi::xml_node &root);
    NodeGraph(const NodeGraph &) = delete;
    NodeGraph &operator=(const NodeGraph &) = delete;

    /// noNode if there is none. The entries of enumerations are not found here: their names are not unique.
    NodeId Find(std::string_view name) const;
    size_t Size() const { return m_nodes.size(); }
    const Node &operator[](NodeId id) const { return m_nodes[id]; }

    /// The children of a node's element, in document order, as far as they are listed in elements.inc.
    std::span<const Property> PropertiesOf(NodeId id) const;
    /// The first property with this tag, or null.
    const Property *Find(NodeId id, Tag tag) const;
    /// Like Find, but a StructEntry without the property has that of its StructReg.
    const Property *FindInherited(NodeId id, Tag tag) const;
    /// The name of a node; of a node without name its place: "IntSwissKnife in WidthReg".
    std::string Label(NodeId id) const;

private:
    void AddNodes(const pugi::xml_node &parent, int level);
    Property PropertyOf(Tag tag, const pugi::xml_node &element);
    NodeId AddNode(const pugi::xml_node &element, NodeKind kind, NodeId parent, int level);
    void IndexNames();
    void ResolveReferences();
    size_t SlotOf(std::string_view name) const;

    std::vector<Node> m_nodes;
    std::vector<Property> m_properties;
    std::deque<std::string> m_joinedTexts; ///< to which properties point
    /// A hash table of the named nodes, at most half full; noNode in a free slot.
    std::vector<NodeId> m_slots;
};

} // namespace GenTL::internal::genapi
