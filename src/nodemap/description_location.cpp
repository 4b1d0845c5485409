#include "nodemap/description_location.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace GenTL::internal
{

namespace
{

char ToLower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Removes `prefix`, which is in lower case, from the front of the text.
/// @return false: the text begins with something else, and stays
bool TakePrefix(std::string_view &text, std::string_view prefix)
{
    if (text.size() < prefix.size())
    {
        return false;
    }
    for (size_t i = 0; i < prefix.size(); ++i)
    {
        if (ToLower(text[i]) != prefix[i])
        {
            return false;
        }
    }
    text.remove_prefix(prefix.size());
    return true;
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view blanks{" \t\r\n\0", 5};
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
    {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<uint64_t> ParseNumber(std::string_view text, int base)
{
    uint64_t value = 0;
    const auto *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

std::optional<uint64_t> ParseBase16(std::string_view text)
{
    text = Trimmed(text);
    TakePrefix(text, "0x");
    return ParseNumber(text, 16);
}

/// Replaces %XX by the byte that it means.
std::string Decoded(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i)
    {
        const auto byte =
            text[i] == '%' && i + 2 < text.size() ? ParseNumber(text.substr(i + 1, 2), 16) : std::nullopt;
        decoded.push_back(byte ? static_cast<char>(*byte) : text[i]);
        i += byte ? 2U : 0U;
    }
    return decoded;
}

/// Reads what stands behind `local:`.
void ParseLocal(std::string_view rest, DescriptionLocation &location)
{
    TakePrefix(rest, "///");
    const auto last = rest.rfind(';');
    const auto first = last == std::string_view::npos || last == 0 ? last : rest.rfind(';', last - 1);
    if (last == std::string_view::npos || first == last || first == std::string_view::npos)
    {
        return;
    }
    auto sizeText = rest.substr(last + 1);
    sizeText = sizeText.substr(0, sizeText.find('?'));
    const auto address = ParseBase16(rest.substr(first + 1, last - first - 1));
    const auto size = ParseBase16(sizeText);
    if (address && size)
    {
        location.Scheme = UrlScheme::Local;
        location.Name = rest.substr(0, first);
        location.Address = *address;
        location.Size = *size;
        location.DecimalSize = ParseNumber(Trimmed(sizeText), 10);
    }
}

/// Reads what stands behind `file:`.
void ParseFile(std::string_view rest, DescriptionLocation &location)
{
    location.Scheme = UrlScheme::File;
    rest = rest.substr(0, rest.find('?'));
    // file:///path and file://localhost/path name a path from the root.
    if (TakePrefix(rest, "//"))
    {
        rest.remove_prefix(std::min(rest.find('/'), rest.size()));
    }
    location.Path = Decoded(rest);
}

} // namespace

DescriptionLocation ParseLocation(std::string_view url)
{
    auto rest = Trimmed(url);
    DescriptionLocation location;
    location.Url = rest;
    if (TakePrefix(rest, "local:"))
    {
        ParseLocal(rest, location);
    }
    else if (TakePrefix(rest, "file:"))
    {
        ParseFile(rest, location);
    }
    else if (TakePrefix(rest, "http:") || TakePrefix(rest, "https:"))
    {
        location.Scheme = UrlScheme::Http;
    }
    return location;
}

std::string StemOf(std::string_view name)
{
    const auto folder = name.find_last_of("/\\");
    if (folder != std::string_view::npos)
    {
        name.remove_prefix(folder + 1);
    }
    const auto dot = name.rfind('.');
    return std::string(name.substr(0, dot == 0 ? std::string_view::npos : dot));
}

} // namespace GenTL::internal
