#include "nodemap/url_answers.h"

#include "nodemap/description_location.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

namespace GenTL::internal
{

namespace
{

int32_t SchemeOf(const DescriptionLocation &location)
{
    switch (location.Scheme)
    {
    case UrlScheme::Local:
        return URL_SCHEME_LOCAL;
    case UrlScheme::File:
        return URL_SCHEME_FILE;
    case UrlScheme::Http:
        return URL_SCHEME_HTTP;
    case UrlScheme::Other:
        break;
    }
    throw GenTLException(fmt::format("{} has no known scheme", location.Url), GC_ERR_NOT_AVAILABLE);
}

/// A number of the query "SchemaVersion=1.1.0"; `index` counts from 0.
std::optional<int32_t> SchemaNumber(std::string_view url, size_t index)
{
    constexpr std::string_view key = "SchemaVersion=";
    const auto start = url.find(key);
    if (start == std::string_view::npos)
    {
        return std::nullopt;
    }
    auto text = url.substr(start + key.size());
    for (; index > 0; --index)
    {
        const auto dot = text.find('.');
        if (dot == std::string_view::npos)
        {
            return std::nullopt;
        }
        text.remove_prefix(dot + 1);
    }
    int32_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

utils::Info SchemaAnswer(std::string_view url, size_t index)
{
    if (const auto number = SchemaNumber(url, index))
    {
        return utils::Info::Int32(*number);
    }
    throw GenTLException(fmt::format("{} names no schema version", url), GC_ERR_NOT_AVAILABLE);
}

/// @throws GenTLException GC_ERR_NOT_AVAILABLE for a URL of another scheme
const DescriptionLocation &Local(const DescriptionLocation &location)
{
    if (location.Scheme != UrlScheme::Local)
    {
        throw GenTLException(fmt::format("{} is not in the port", location.Url), GC_ERR_NOT_AVAILABLE);
    }
    return location;
}

} // namespace

utils::Info AnswerFromUrl(std::string_view url, URL_INFO_CMD command)
{
    using utils::Info;
    const auto location = ParseLocation(url);
    switch (command)
    {
    case URL_INFO_URL:
        return Info::Text(url);
    case URL_INFO_SCHEMA_VER_MAJOR:
        return SchemaAnswer(url, 0);
    case URL_INFO_SCHEMA_VER_MINOR:
        return SchemaAnswer(url, 1);
    case URL_INFO_FILE_REGISTER_ADDRESS:
        return Info::Uint64(Local(location).Address);
    case URL_INFO_FILE_SIZE:
        return Info::Uint64(Local(location).Size);
    case URL_INFO_SCHEME:
        return Info::Int32(SchemeOf(location));
    case URL_INFO_FILENAME:
        return Info::Text(location.Name.empty() ? location.Path : location.Name);
    case URL_INFO_FILE_VER_MAJOR:
    case URL_INFO_FILE_VER_MINOR:
    case URL_INFO_FILE_VER_SUBMINOR:
    case URL_INFO_FILE_SHA1_HASH:
        throw GenTLException(fmt::format("{} does not say this", url), GC_ERR_NOT_AVAILABLE);
    default:
        ThrowUnknownUrlCommand(command);
    }
}

void ThrowUnknownUrlCommand(URL_INFO_CMD command)
{
    throw GenTLException(fmt::format("URL info command {} is not implemented", command),
                         GC_ERR_NOT_IMPLEMENTED);
}

} // namespace GenTL::internal
