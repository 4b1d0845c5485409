#include "remote/element_places.h"

#include "utils/gentl_exception.h"

namespace GenTL::internal
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

/// What is no element and may hold '<' and '>': each with its end.
struct Skipped
{
    std::string_view start;
    std::string_view end;
};

constexpr Skipped skippedTexts[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

/// The place of what the caller looks for.
/// @throws GenTLException it is not there: the text is not that of the tree
size_t Found(size_t position)
{
    if (position == std::string_view::npos)
    {
        throw GenTLException("The description's text does not match its tree", GC_ERR_ERROR);
    }
    return position;
}

/// Behind the '>' of a tag. Values of attributes may hold one.
size_t EndOfTag(std::string_view text, size_t begin)
{
    while (true)
    {
        const auto position = Found(text.find_first_of(">\"'", begin));
        if (text[position] == '>')
        {
            return position + 1;
        }
        begin = Found(text.find(text[position], position + 1)) + 1;
    }
}

/// The next tag of an element from a position on.
size_t NextTag(std::string_view text, size_t position)
{
    while (true)
    {
        position = Found(text.find('<', position));
        const auto *skipped = std::begin(skippedTexts);
        while (skipped != std::end(skippedTexts) && !text.substr(position).starts_with(skipped->start))
        {
            ++skipped;
        }
        if (skipped == std::end(skippedTexts))
        {
            return position;
        }
        position = Found(text.find(skipped->end, position + skipped->start.size())) + skipped->end.size();
    }
}

bool IsEmptyTag(std::string_view text, size_t tagEnd)
{
    return text[tagEnd - 2] == '/';
}

/// The end tag of the element whose content begins here.
size_t EndTagOf(std::string_view text, size_t contentBegin)
{
    int depth = 0;
    size_t position = contentBegin;
    while (true)
    {
        position = NextTag(text, position);
        const bool isEndTag = text.substr(position).starts_with("</");
        if (isEndTag && depth == 0)
        {
            return position;
        }
        const auto tagEnd = EndOfTag(text, position);
        if (isEndTag)
        {
            --depth;
        }
        else if (!IsEmptyTag(text, tagEnd))
        {
            ++depth;
        }
        position = tagEnd;
    }
}

} // namespace

ElementPlace PlaceOf(std::string_view text, const pugi::xml_node &element)
{
    // The offset is that of the name.
    const auto begin = static_cast<size_t>(element.offset_debug()) - 1;
    const auto contentBegin = EndOfTag(text, begin);
    if (IsEmptyTag(text, contentBegin))
    {
        return {begin, contentBegin, contentBegin, contentBegin, true};
    }
    // A long element ends behind its last child.
    const auto last = element.last_child();
    const bool isLong = last.type() == pugi::node_element;
    const auto contentEnd = EndTagOf(text, isLong ? PlaceOf(text, last).end : contentBegin);
    return {begin, contentBegin, contentEnd, EndOfTag(text, contentEnd), false};
}

std::optional<TextRange> AttributeValue(std::string_view text, const ElementPlace &place,
                                        std::string_view attribute)
{
    auto position = text.find_first_of(" \t\r\n/>", place.begin);
    while (true)
    {
        position = Found(text.find_first_not_of(blanks, position));
        if (position >= place.contentBegin || text[position] == '>' || text[position] == '/')
        {
            return std::nullopt;
        }
        const auto nameEnd = Found(text.find_first_of(" \t\r\n=", position));
        const auto quote = Found(text.find_first_of("\"'", nameEnd));
        const auto end = Found(text.find(text[quote], quote + 1));
        if (text.substr(position, nameEnd - position) == attribute)
        {
            return TextRange{quote + 1, end};
        }
        position = end + 1;
    }
}

std::string_view LocalName(const pugi::xml_node &element)
{
    const std::string_view name = element.name();
    return name.substr(name.find(':') + 1);
}

pugi::xml_node ChildOf(const pugi::xml_node &element, std::string_view localName)
{
    for (const auto &child : element.children())
    {
        if (LocalName(child) == localName)
        {
            return child;
        }
    }
    return {};
}

} // namespace GenTL::internal
