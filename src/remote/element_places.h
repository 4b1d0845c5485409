#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

/// Where an element stands in the text that it was parsed from, as byte offsets.
struct ElementPlace
{
    size_t begin;        ///< of the start tag
    size_t contentBegin; ///< behind the start tag
    size_t contentEnd;   ///< before the end tag
    size_t end;          ///< behind the end tag
    bool isEmptyTag;     ///< `<A/>`: all but `begin` lie behind the tag
};

/// A range of bytes in a text.
struct TextRange
{
    size_t begin;
    size_t end;
};

/// The place of an element of a tree that was parsed from this text.
ElementPlace PlaceOf(std::string_view text, const pugi::xml_node &element);

/// The value of an attribute in the start tag, between its quotes; none without the attribute.
std::optional<TextRange> AttributeValue(std::string_view text, const ElementPlace &place,
                                        std::string_view attribute);

/// The name without its prefix.
std::string_view LocalName(const pugi::xml_node &element);

/// The first child with this local name; a null node without one.
pugi::xml_node ChildOf(const pugi::xml_node &element, std::string_view localName);

} // namespace GenTL::internal
