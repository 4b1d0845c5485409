#pragma once

#include "genapi/graph_features.h"
#include "utils/try.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace GenTL::internal
{

/// Whether an access to the device touches the registers that carry a feature's value. False when their
/// addresses cannot be computed.
inline bool Touches(genapi::GraphFeatures &features, std::string_view name, uint64_t address, size_t size)
{
    const auto places = utils::Try([&] { return genapi::PlacesOf(features, name); });
    const auto isTouched = [&](const genapi::AddressRange &place)
    {
        return address <= place.address ? place.address - address < size
                                        : address - place.address < place.length;
    };
    return places && std::ranges::any_of(*places, isTouched);
}

} // namespace GenTL::internal
