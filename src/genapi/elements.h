#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal::genapi
{

/// The kind of a node: the name of its element.
enum class NodeKind : uint8_t
{
#define NODE_KIND(name) name,
#include "genapi/elements.inc"
};

/// The kind of a property: the name of the child element. A nested node counts as a property, too: an
/// EnumEntry, a StructEntry, or the IntSwissKnife in an address.
enum class Tag : uint8_t
{
#define TEXT(name) name,
#define REFERENCE(name) name,
#include "genapi/elements.inc"
    EnumEntry,
    StructEntry,
    IntSwissKnife,
};

std::string_view NameOf(NodeKind kind);
/// The name with its article, for messages: "an IntReg".
std::string WithArticle(NodeKind kind);
std::string_view NameOf(Tag tag);
std::optional<NodeKind> KindOf(std::string_view element);
/// The tag of a child with a literal or a reference, or of a nested node.
std::optional<Tag> TagOf(std::string_view element);

/// Whether the text of the child is the name of a node.
bool IsReference(Tag tag);
/// Whether a node of this kind has an address.
bool IsRegister(NodeKind kind);
/// Whether the value of the node is a floating number.
bool IsFloat(NodeKind kind);

} // namespace GenTL::internal::genapi
