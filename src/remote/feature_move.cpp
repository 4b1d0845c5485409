#include "remote/feature_move.h"

#include "remote/element_order.h"
#include "remote/element_places.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace GenTL::internal
{

using genapi::IsReference;
using genapi::NodeGraph;
using genapi::NodeId;
using genapi::NodeKind;
using genapi::Tag;

namespace
{

bool IsValueFeature(NodeKind kind)
{
    constexpr std::array kinds{NodeKind::Integer, NodeKind::Float, NodeKind::Enumeration, NodeKind::Boolean,
                               NodeKind::Command};
    return std::ranges::find(kinds, kind) != kinds.end();
}

/// Whether a reference is about the feature that a consumer sees.
bool KeepsPublicName(Tag tag, NodeKind kind)
{
    constexpr std::array always{Tag::pFeature, Tag::pSelected,  Tag::pInvalidator,
                                Tag::pAlias,   Tag::pCastAlias, Tag::pError};
    constexpr std::array ofValues{Tag::pValue, Tag::pValueCopy, Tag::pValueIndexed, Tag::pValueDefault};
    return std::ranges::find(always, tag) != always.end() ||
           (IsValueFeature(kind) && std::ranges::find(ofValues, tag) != ofValues.end());
}

/// Sets a child of a node to a text: replaces it, or inserts it in its place.
void SetChild(const pugi::xml_node &element, std::string_view name, std::string_view text,
              DocumentEdits &edits)
{
    if (const auto child = ChildOf(element, name))
    {
        edits.Replace(child, edits.TextElement(name, text));
        return;
    }
    edits.InsertBehind(element, NodeChildrenUpTo(name), edits.TextElement(name, text));
}

/// Which children of a replaced feature the public one gets, and whether before or behind the value.
bool IsBeforeValue(std::string_view name, bool isFeature)
{
    // The pInvalidator of a register has another place, and the producer's value needs none.
    const bool isOfRegister = name == "pInvalidator" && !isFeature;
    return name != "ImposedAccessMode" && !isOfRegister && IsNodeChild(name);
}

bool IsBehindValue(std::string_view name, bool isEnumeration)
{
    constexpr std::array<std::string_view, 5> names{"Unit", "Representation", "DisplayNotation",
                                                    "DisplayPrecision", "pSelected"};
    return std::ranges::find(names, name) != names.end() || (isEnumeration && name == "PollingTime");
}

} // namespace

void RenameReferences(const NodeGraph &graph, std::span<const FeatureMove> moves, DocumentEdits &edits)
{
    std::vector<const FeatureMove *> moveOf(graph.Size());
    for (const auto &move : moves)
    {
        moveOf[move.feature] = &move;
    }
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        for (const auto &property : graph.PropertiesOf(id))
        {
            if (property.target != genapi::noNode && moveOf[property.target] != nullptr &&
                IsReference(property.tag) && !KeepsPublicName(property.tag, graph[id].kind))
            {
                edits.RenameReference(property.element, moveOf[property.target]->deviceName);
            }
        }
    }
}

void MoveAside(const NodeGraph &graph, const FeatureMove &move, DocumentEdits &edits)
{
    const auto &element = graph[move.feature].element;
    edits.SetAttribute(element, "Name", move.deviceName);
    // The new name is not one of the standard.
    edits.SetAttribute(element, "NameSpace", "Custom");
    // Visibility first: both may be inserted at one place.
    if (!move.isShown)
    {
        SetChild(element, "Visibility", "Invisible", edits);
    }
    else if (const auto name = ChildOf(element, "DisplayName"))
    {
        edits.Replace(name, edits.TextElement("DisplayName", std::string("Device ") + name.text().get()));
    }
    SetChild(element, "ImposedAccessMode", "RO", edits);
    for (const auto &child : element.children())
    {
        const auto name = LocalName(child);
        if (name == "pSelected")
        {
            edits.Remove(child);
        }
        else if (name == "Streamable")
        {
            // No is the default, so a feature without it needs none.
            edits.Replace(child, edits.TextElement(name, "No"));
        }
    }
}

std::string PublicFeature(const NodeGraph &graph, const FeatureMove &move, std::string_view value,
                          const DocumentEdits &edits)
{
    const auto &node = graph[move.feature];
    const bool isFeature = IsValueFeature(node.kind);
    std::string before;
    std::string behind;
    for (const auto &child : node.element.children())
    {
        const auto name = LocalName(child);
        if (IsBeforeValue(name, isFeature))
        {
            before += edits.Copy(child);
        }
        else if (IsBehindValue(name, node.kind == NodeKind::Enumeration))
        {
            behind += edits.Copy(child);
        }
    }
    if (isFeature)
    {
        return fmt::format("{}{}{}{}</{}>\n", edits.StartTag(node.element), before, value, behind,
                           node.element.name());
    }
    const bool isStandard = std::string_view(node.element.attribute("NameSpace").value()) == "Standard";
    return edits.Node(move.registerBecomes, node.name, before + std::string(value) + behind,
                      isStandard ? " NameSpace=\"Standard\"" : "");
}

void AddInvalidators(const NodeGraph &graph, std::span<const NodeId> chain,
                     std::span<const std::string> writers, DocumentEdits &edits)
{
    std::string invalidators;
    for (const auto &writer : writers)
    {
        invalidators += edits.TextElement("pInvalidator", writer);
    }
    std::vector<bool> isInChain(graph.Size());
    for (const auto id : chain)
    {
        isInChain[id] = true;
    }
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        const auto &node = graph[id];
        const bool isRegister = isInChain[id] && IsRegister(node.kind) && node.kind != NodeKind::StructEntry;
        const auto properties = graph.PropertiesOf(id);
        const auto known = std::ranges::find_if(
            properties,
            [&](const auto &property)
            {
                return property.tag == Tag::pInvalidator &&
                       (isRegister || (property.target != genapi::noNode && isInChain[property.target]));
            });
        if (known != properties.end())
        {
            edits.InsertBefore(known->element, invalidators);
        }
        else if (isRegister)
        {
            edits.InsertBehind(node.element, childrenBeforeInvalidators, invalidators);
        }
    }
}

} // namespace GenTL::internal
