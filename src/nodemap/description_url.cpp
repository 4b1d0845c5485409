#include "nodemap/description_url.h"

#include <string>

namespace GenTL::internal
{

namespace
{

uint64_t ParseHexadecimal(std::string_view text)
{
    return std::stoull(std::string(text), nullptr, 16);
}

} // namespace

std::optional<DescriptionRange> ParseDescriptionUrl(std::string_view url)
{
    const auto first = url.find(';');
    const auto last = url.rfind(';');
    if (first == std::string_view::npos)
    {
        return std::nullopt;
    }
    const auto query = url.rfind('?');
    const auto end = query != std::string_view::npos && query > last ? query : url.size();
    const auto sizeText = url.substr(last + 1, end - last - 1);
    const auto addressText = first != last ? url.substr(first + 1, last - first - 1) : sizeText;
    return DescriptionRange{ParseHexadecimal(addressText), ParseHexadecimal(sizeText)};
}

} // namespace GenTL::internal
