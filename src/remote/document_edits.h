#pragma once

#include "remote/splice_list.h"

#include <pugixml.hpp>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The text of a description with edits by element. What no edit touches stays byte for byte.
///
/// Owned by DescriptionEditor and used by its thread; text and tree must outlive it. New elements get the
/// prefix of the root element.
class DocumentEdits
{
public:
    /// @param root the root element of the tree that was parsed from `text`
    DocumentEdits(std::string_view text, const pugi::xml_node &root);

    /// `<name>content</name>`, with content as it is.
    std::string Element(std::string_view name, std::string_view content) const;
    /// `<name>text</name>`, with what XML reserves escaped.
    std::string TextElement(std::string_view name, std::string_view text) const;
    /// `<kind Name="name">content</kind>`. `attributes` go behind the name, each with a blank in front.
    std::string Node(std::string_view kind, std::string_view name, std::string_view content,
                     std::string_view attributes = {}) const;
    /// The start tag of an element as in the text, but `<A>` for `<A/>`.
    std::string StartTag(const pugi::xml_node &element) const;
    /// An element of the text, with references renamed.
    std::string Copy(const pugi::xml_node &element) const;

    /// Replaces the name in an element that refers to a node. Copies made afterwards have the new name, too.
    void RenameReference(const pugi::xml_node &reference, std::string_view name);
    /// Changes an attribute, if the element has it.
    /// @return the place of the old value; npos without the attribute
    size_t SetAttribute(const pugi::xml_node &element, const char *attribute, std::string_view value);
    /// Replaces an element.
    void Replace(const pugi::xml_node &element, std::string text);
    void Remove(const pugi::xml_node &element) { Replace(element, {}); }
    void InsertBefore(const pugi::xml_node &element, std::string text);
    /// Inserts a child behind the last child that has one of these names; in front of all if none has.
    void InsertBehind(const pugi::xml_node &parent, std::span<const std::string_view> names,
                      std::string text);
    /// Inserts behind all children.
    void Append(const pugi::xml_node &parent, std::string text);

    size_t Size() const;
    std::string Apply() const;

private:
    /// Inserts into an element without end tag, which gets one.
    void Fill(const pugi::xml_node &parent, std::string_view text);

    std::string_view m_text;
    std::string m_prefix; ///< with the colon; may be empty
    SpliceList m_renames;
    SpliceList m_edits;
};

} // namespace GenTL::internal
