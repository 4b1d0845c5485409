#pragma once

#include <string_view>
#include <vector>

namespace gentlctl
{

/// The functions without which no consumer can stream.
inline const std::vector<std::string_view> &NeededFunctions()
{
    static const std::vector<std::string_view> names{
#define NEEDED(name) #name,
#include "lower/needed_functions.inc"
#undef NEEDED
    };
    return names;
}

} // namespace gentlctl
