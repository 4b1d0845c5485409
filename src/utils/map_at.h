#pragma once

#include <stdexcept>

namespace GenTL::internal::utils
{

/// Finds the value of a key.
/// @throws std::out_of_range "unordered_map::at: key not found" (C-08). The text stands here, because the
/// map's own text differs between standard libraries.
template <typename Map>
auto &MapAt(Map &map, const typename Map::key_type &key)
{
    const auto entry = map.find(key);
    if (entry == map.end())
    {
        throw std::out_of_range("unordered_map::at: key not found");
    }
    return entry->second;
}

} // namespace GenTL::internal::utils
