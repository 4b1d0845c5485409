#include "remote/document_edits.h"

#include "remote/element_places.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal
{

namespace
{

std::string Escaped(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (const char letter : text)
    {
        switch (letter)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    }
    return escaped;
}

std::string PrefixOf(const pugi::xml_node &root)
{
    const std::string_view name = root.name();
    return std::string(name.substr(0, name.find(':') + 1));
}

} // namespace

DocumentEdits::DocumentEdits(std::string_view text, const pugi::xml_node &root)
    : m_text(text), m_prefix(PrefixOf(root))
{
}

std::string DocumentEdits::Element(std::string_view name, std::string_view content) const
{
    return fmt::format("<{0}{1}>{2}</{0}{1}>", m_prefix, name, content);
}

std::string DocumentEdits::TextElement(std::string_view name, std::string_view text) const
{
    return Element(name, Escaped(text));
}

std::string DocumentEdits::Node(std::string_view kind, std::string_view name, std::string_view content,
                                std::string_view attributes) const
{
    return fmt::format("<{0}{1} Name=\"{2}\"{3}>{4}</{0}{1}>\n", m_prefix, kind, Escaped(name), attributes,
                       content);
}

std::string DocumentEdits::StartTag(const pugi::xml_node &element) const
{
    const auto place = PlaceOf(m_text, element);
    std::string tag(m_text.substr(place.begin, place.contentBegin - place.begin));
    if (place.isEmptyTag)
    {
        tag.erase(tag.size() - 2, 1);
    }
    return tag;
}

std::string DocumentEdits::Copy(const pugi::xml_node &element) const
{
    const auto place = PlaceOf(m_text, element);
    return m_renames.ApplyWithin(m_text, place.begin, place.end);
}

void DocumentEdits::RenameReference(const pugi::xml_node &reference, std::string_view name)
{
    const auto place = PlaceOf(m_text, reference);
    m_renames.Replace(place.contentBegin, place.contentEnd, Escaped(name));
}

size_t DocumentEdits::SetAttribute(const pugi::xml_node &element, const char *attribute,
                                   std::string_view value)
{
    const auto range = AttributeValue(m_text, PlaceOf(m_text, element), attribute);
    if (!range)
    {
        return std::string_view::npos;
    }
    m_edits.Replace(range->begin, range->end, Escaped(value));
    return range->begin;
}

void DocumentEdits::Replace(const pugi::xml_node &element, std::string text)
{
    const auto place = PlaceOf(m_text, element);
    m_edits.Replace(place.begin, place.end, std::move(text));
}

void DocumentEdits::InsertBefore(const pugi::xml_node &element, std::string text)
{
    m_edits.Insert(PlaceOf(m_text, element).begin, std::move(text));
}

void DocumentEdits::InsertBehind(const pugi::xml_node &parent, std::span<const std::string_view> names,
                                 std::string text)
{
    for (auto child = parent.last_child(); child; child = child.previous_sibling())
    {
        if (std::ranges::find(names, LocalName(child)) != names.end())
        {
            m_edits.Insert(PlaceOf(m_text, child).end, std::move(text));
            return;
        }
    }
    const auto place = PlaceOf(m_text, parent);
    place.isEmptyTag ? Fill(parent, text) : m_edits.Insert(place.contentBegin, std::move(text));
}

void DocumentEdits::Append(const pugi::xml_node &parent, std::string text)
{
    const auto place = PlaceOf(m_text, parent);
    place.isEmptyTag ? Fill(parent, text) : m_edits.Insert(place.contentEnd, std::move(text));
}

void DocumentEdits::Fill(const pugi::xml_node &parent, std::string_view text)
{
    const auto place = PlaceOf(m_text, parent);
    m_edits.Replace(place.end - 2, place.end, fmt::format(">{}</{}>", text, parent.name()));
}

size_t DocumentEdits::Size() const
{
    return m_renames.SizeAfter(m_edits.SizeAfter(m_text.size()));
}

std::string DocumentEdits::Apply() const
{
    auto all = m_edits;
    all.Add(m_renames);
    return all.Apply(m_text);
}

} // namespace GenTL::internal
