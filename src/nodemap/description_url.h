#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

/// The range of a port's addresses that holds its description.
struct DescriptionRange
{
    uint64_t Address = 0;
    uint64_t Size = 0;
};

/// The range in a port's URL, local:///name;address;size?query with numbers in base 16. None when the URL has
/// no ';'. In a URL with one ';', the number behind it is both the address and the size.
/// @throws std::invalid_argument, std::out_of_range when a field is not a number of 64 bits
std::optional<DescriptionRange> ParseDescriptionUrl(std::string_view url);

} // namespace GenTL::internal
